#include "Kv70maiGPSReader.h"

#include "KvBoxFile.h"
#include "KvGpsMath.h"
#include "KvTrackLimits.h"

#include <QByteArray>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qint64 kRecordSize = 36;
constexpr int kStatus = 0;
constexpr int kSecondIndex = 8;
constexpr int kSpeed = 12;
constexpr int kNorthSouth = 16;
constexpr int kLatitude = 17;
constexpr int kEastWest = 21;
constexpr int kLongitude = 22;
// Coordinates are ddmm.mmm written as integers times this.
constexpr double kCoordinateScale = 1000.0;
constexpr double kMaxLatitude = 90.0;
constexpr double kMaxLongitude = 180.0;
constexpr double kMetresPerHourPerKmh = 1000.0;
// Speeds above 1,000 km/h are damaged fields.
constexpr qint32 kMaxMetresPerHour = 1000 * 1000;
// A clip longer than a day is not a clip: its second field is damaged.
constexpr quint32 kMaxSecondIndex = 24 * 60 * 60 - 1;

quint32 le32(unsigned char const* p) {
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16) | (quint32(p[3]) << 24);
}

bool coordinate(quint32 raw, char hemisphere, char positive, char negative, double max,
                double* degrees) {
    double value = 0.0;
    if ((hemisphere != positive && hemisphere != negative) ||
        !ddmmToDegreesInRange(raw / kCoordinateScale, max, &value)) {
        return false;
    }
    *degrees = hemisphere == negative ? -value : value;
    return true;
}

void setTime(KvLocation* fix, QDateTime const& clipStart, quint32 second) {
    if (clipStart.isValid()) {
        QDateTime const time = clipStart.addSecs(second);
        fix->year = time.date().year() % 100;
        fix->month = time.date().month();
        fix->day = time.date().day();
        fix->hour = time.time().hour();
        fix->minute = time.time().minute();
        fix->second = time.time().second();
        return;
    }
    fix->year = fix->month = fix->day = 0;
    fix->hour = int(second / 3600);
    fix->minute = int(second / 60 % 60);
    fix->second = int(second % 60);
}

// One record as a fix; false when it is skipped.
bool readRecord(unsigned char const* r, QDateTime const& clipStart, KvLocation* fix) {
    quint32 const status = le32(r + kStatus);
    quint32 const second = le32(r + kSecondIndex);
    qint32 const metresPerHour = qint32(le32(r + kSpeed));
    char const northSouth = char(r[kNorthSouth]);
    char const eastWest = char(r[kEastWest]);
    // The box is allocated for the longest clip and its unused records are left zero.
    bool const unused =
        std::all_of(r, r + kRecordSize, [](unsigned char byte) { return byte == 0; });
    if (unused || second > kMaxSecondIndex) {
        return false;
    }
    fix->gsensorX = fix->gsensorY = fix->gsensorZ = 0.0;
    setTime(fix, clipStart, second);
    if (status == 0 && northSouth == 0 && eastWest == 0) {
        fix->valid = false;
        fix->latitude = fix->longitude = fix->speed = 0.0;
        return true;
    }
    if (metresPerHour < 0 || metresPerHour > kMaxMetresPerHour ||
        !coordinate(le32(r + kLatitude), northSouth, 'N', 'S', kMaxLatitude, &fix->latitude) ||
        !coordinate(le32(r + kLongitude), eastWest, 'E', 'W', kMaxLongitude, &fix->longitude)) {
        return false;
    }
    fix->speed = metresPerHour / kMetresPerHourPerKmh;
    fix->valid = status != 0;
    return true;
}

} // namespace

void read70maiRecords(QVector<KvLocation>& locations, unsigned char const* payload, qint64 size,
                      QDateTime const& clipStart) {
    for (qint64 offset = 0; offset + kRecordSize <= size && locations.size() < kMaxTrackFixes;
         offset += kRecordSize) {
        KvLocation fix;
        if (readRecord(payload + offset, clipStart, &fix)) {
            locations.append(fix);
        }
    }
}

QDateTime clipStartFromFileName(QString const& path) {
    static QRegularExpression const stamp(
        QStringLiteral("(\\d{4})(\\d{2})(\\d{2})[-_]?(\\d{2})(\\d{2})(\\d{2})"));
    QRegularExpressionMatch const match = stamp.match(QFileInfo(path).fileName());
    if (!match.hasMatch()) {
        return QDateTime();
    }
    QDate const date(match.captured(1).toInt(), match.captured(2).toInt(),
                     match.captured(3).toInt());
    QTime const time(match.captured(4).toInt(), match.captured(5).toInt(),
                     match.captured(6).toInt());
    return QDateTime(date, time, Qt::UTC);
}

bool readGPSFrom70maiVideo(QVector<KvLocation>& locations, QString const& path) {
    locations.clear();
    KvBoxFile file(path);
    KvBox box;
    if (!file.isOpen() || !file.findBox(0, file.size(), "GPS ", &box)) {
        return false;
    }
    // Only what the file holds is read (a clip cut short keeps its first records), and no
    // more records than a track may have.
    QByteArray const payload = file.read(
        box.payloadOffset(), std::min<qint64>(box.payloadSize(), kMaxTrackFixes * kRecordSize));
    read70maiRecords(locations, reinterpret_cast<unsigned char const*>(payload.constData()),
                     payload.size(), clipStartFromFileName(path));
    return !locations.isEmpty();
}
