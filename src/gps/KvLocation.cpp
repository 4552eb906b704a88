#include "KvLocation.h"

#include "KvCNumericLocale.h"
#include "KvGpsMath.h"

#include <QByteArray>
#include <QLatin1String>
#include <QStringList>

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

// An RMC sentence has at least this many comma-separated parts; anything shorter is not one.
constexpr int kMinSentenceParts = 13;
// Fields of the RMC sentence by position (p[0] is the sentence name).
constexpr int kTimePart = 1;
constexpr int kStatusPart = 2;
constexpr int kLatitudePart = 3;
constexpr int kLatitudeHemispherePart = 4;
constexpr int kLongitudePart = 5;
constexpr int kLongitudeHemispherePart = 6;
constexpr int kSpeedPart = 7;
constexpr int kDatePart = 9;
// The "$GSENSOR" line follows the sentence as "$GSENSOR,  x,  y,  z;": once the two spaces have
// become commas, the axes sit two, four and six parts after the name, with empty parts between.
constexpr int kGsensorXOffset = 2;
constexpr int kGsensorYOffset = 4;
constexpr int kGsensorZOffset = 6;

// The compact line some cameras write instead of a sentence:
// status,ddmmyy,hhmmss[.sss],lat,N|S,lon,E|W,km/h,x,y,z;
constexpr char kFallbackFormat[] = "%c,%02d%02d%02d,%lf,%lf,%c,%lf,%c,%lf,%lf,%lf,%lf;";
constexpr int kFallbackConversions = 13;

bool equalsIgnoreCase(QString const& part, char letter) {
    return part.compare(QLatin1String(&letter, 1), Qt::CaseInsensitive) == 0;
}

// ddmm.mmmm with its hemisphere; an empty hemisphere gives exactly 0.0 whatever the number.
double coordinateFromParts(QString const& number, QString const& hemisphere, char negative) {
    if (hemisphere.isEmpty()) {
        return 0.0;
    }
    double const degrees = KvLocation::convertGPSDDMM(number.toDouble());
    return equalsIgnoreCase(hemisphere, negative) ? -degrees : degrees;
}

void readSentenceTime(QString const& part, KvLocation* location) {
    if (part.isEmpty()) {
        location->hour = 0;
        location->minute = 0;
        location->second = 0;
        return;
    }
    int32_t const t = truncateToInt32(part.toDouble());
    location->hour = (t / 10000) % 100;
    location->minute = (t / 100) % 100;
    location->second = t % 100;
}

void readSentenceDate(QString const& part, KvLocation* location) {
    if (part.isEmpty()) {
        location->day = 0;
        location->month = 0;
        location->year = 0;
        return;
    }
    int32_t const d = part.toInt(nullptr, 10);
    location->day = (d / 10000) % 100;
    location->month = (d / 100) % 100;
    location->year = d % 100;
}

void readGsensorLine(QStringList const& parts, KvLocation* location) {
    int const g = parts.indexOf(QStringLiteral("$GSENSOR"));
    if (g <= 0 || g + kGsensorZOffset >= parts.size()) {
        location->gsensorX = 0.0;
        location->gsensorY = 0.0;
        location->gsensorZ = 0.0;
        return;
    }
    QString const& x = parts.at(g + kGsensorXOffset);
    // Cameras that leave X empty write no usable Y either, so the Y field is judged by X.
    location->gsensorX = x.isEmpty() ? 0.0 : x.toDouble();
    location->gsensorY = x.isEmpty() ? 0.0 : parts.at(g + kGsensorYOffset).toDouble();
    // The Z field carries the line's terminator (";").
    QString z = parts.at(g + kGsensorZOffset);
    z.chop(1);
    location->gsensorZ = z.isEmpty() ? 0.0 : z.toDouble();
}

// The "$GPRMC" sentence, read positionally. Any status letter yields a record; only a text with
// too few parts is rejected, and then `location` is not touched.
int locationFromGPRMC(QString const& text, KvLocation* location) {
    QString joined = text;
    // Cameras pad values with two spaces; a space pair becomes a separator, left to right
    // without overlap, so three spaces leave ", " and four leave ",,".
    joined.replace(QStringLiteral("  "), QStringLiteral(","));
    // A "$GSENSOR" line after CR LF continues the same list of parts.
    joined.replace(QStringLiteral("\r\n"), QStringLiteral(","));
    QStringList const parts = joined.split(QLatin1Char(','), Qt::KeepEmptyParts);
    if (parts.size() < kMinSentenceParts) {
        return -1;
    }

    readSentenceTime(parts.at(kTimePart), location);
    location->valid = equalsIgnoreCase(parts.at(kStatusPart), 'A');
    location->latitude =
        coordinateFromParts(parts.at(kLatitudePart), parts.at(kLatitudeHemispherePart), 'S');
    location->longitude =
        coordinateFromParts(parts.at(kLongitudePart), parts.at(kLongitudeHemispherePart), 'W');
    QString const& speed = parts.at(kSpeedPart);
    location->speed = speed.isEmpty() ? 0.0 : speed.toDouble() * KvKmhPerKnot;
    readSentenceDate(parts.at(kDatePart), location);
    readGsensorLine(parts, location);
    return 0;
}

bool isLetter(char c, char upper) {
    return c == upper || c == upper + ('a' - 'A');
}

// The compact fallback line. A line that reads completely but whose status is not "A" has
// already overwritten validity, date and time when it is rejected, while position, speed and
// axes keep their previous values; callers skip a rejected text, and this long-standing order
// is kept as it is.
int locationFromFallbackLine(char const* text, KvLocation* location) {
    char status = 0;
    int day = 0;
    int month = 0;
    int year = 0;
    double time = 0.0;
    double latitude = 0.0;
    char latitudeHemisphere = 0;
    double longitude = 0.0;
    char longitudeHemisphere = 0;
    double speed = 0.0;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    // The line's numbers always use a decimal point, whatever the desktop's locale.
    KvCNumericLocale const numericLocale;
    int const read =
        std::sscanf(text, kFallbackFormat, &status, &day, &month, &year, &time, &latitude,
                    &latitudeHemisphere, &longitude, &longitudeHemisphere, &speed, &x, &y, &z);
    if (read < kFallbackConversions) {
        return -1;
    }

    location->valid = isLetter(status, 'A');
    location->day = day;
    location->month = month;
    location->year = year;
    int32_t const t = truncateToInt32(time);
    // Unlike the sentence, the hour keeps every leading digit: "1234567" is hour 123.
    location->hour = t / 10000;
    location->minute = (t / 100) % 100;
    location->second = t % 100;
    if (!location->valid) {
        return -1;
    }

    location->latitude = KvLocation::convertGPSDDMM(latitude);
    if (isLetter(latitudeHemisphere, 'S')) {
        location->latitude = -location->latitude;
    }
    location->longitude = KvLocation::convertGPSDDMM(longitude);
    if (isLetter(longitudeHemisphere, 'W')) {
        location->longitude = -location->longitude;
    }
    // The fallback line already carries km/h.
    location->speed = speed;
    location->gsensorX = x;
    location->gsensorY = y;
    location->gsensorZ = z;
    return 0;
}

} // namespace

KvLocation::KvLocation() : QObject(nullptr) {}

KvLocation::KvLocation(KvLocation const& other) : QObject(nullptr) {
    _copyFields(other);
}

KvLocation& KvLocation::operator=(KvLocation const& other) {
    if (this != &other) {
        _copyFields(other);
    }
    return *this;
}

KvLocation::~KvLocation() = default;

void KvLocation::_copyFields(KvLocation const& other) {
    valid = other.valid;
    latitude = other.latitude;
    longitude = other.longitude;
    speed = other.speed;
    gsensorX = other.gsensorX;
    gsensorY = other.gsensorY;
    gsensorZ = other.gsensorZ;
    day = other.day;
    month = other.month;
    year = other.year;
    hour = other.hour;
    minute = other.minute;
    second = other.second;
}

double KvLocation::getGsensor() const {
    return std::sqrt((gsensorX * gsensorX + gsensorY * gsensorY) + gsensorZ * gsensorZ);
}

void KvLocation::clear() {
    valid = false;
}

int KvLocation::locationFromText(char const* text, KvLocation* location) {
    if (text == nullptr) {
        return -1;
    }
    // Subtitle decoders put their own fields before the sentence (an ASS dialogue line, for
    // example); the sentence starts at "$GPRMC".
    char const* sentence = std::strstr(text, "$GPRMC");
    QString const sentenceText = sentence != nullptr ? QString::fromLatin1(sentence) : QString();
    if (locationFromGPRMC(sentenceText, location) == 0) {
        return 0;
    }
    return locationFromFallbackLine(text, location);
}

int KvLocation::locationFromText(QString const& text, KvLocation* location) {
    if (text.isEmpty()) {
        return -1;
    }
    if (locationFromGPRMC(text, location) == 0) {
        return 0;
    }
    QByteArray const utf8 = text.toUtf8();
    return locationFromFallbackLine(utf8.constData(), location);
}

double KvLocation::convertGPSDDMM(double value) {
    return ddmmToDegrees(value);
}

bool KvLocation::isSameSecond(KvLocation const& a, KvLocation const& b) {
    return a.day == b.day && a.month == b.month && a.year == b.year && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second;
}
