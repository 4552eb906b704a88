#include "KvNmeaSentence.h"

#include "KvGpsMath.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

constexpr double kMaxLatitude = 90.0;
constexpr double kMaxLongitude = 180.0;
// Ground speeds above this (about 1,850 km/h) are damaged fields, not vehicles.
constexpr double kMaxKnots = 1000.0;
// "hhmmss" and "ddmmyy" have six digits before any fraction.
constexpr int kClockDigits = 6;
constexpr int kHexDigits = 2;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

bool endsWith(char const* begin, char const* end, char const* suffix) {
    size_t const length = std::strlen(suffix);
    return size_t(end - begin) >= length && std::memcmp(end - length, suffix, length) == 0;
}

bool equals(char const* begin, char const* end, char const* text) {
    size_t const length = std::strlen(text);
    return size_t(end - begin) == length && std::memcmp(begin, text, length) == 0;
}

// Two decimal digits at text.
int twoDigits(char const* text) {
    if (text[0] < '0' || text[0] > '9' || text[1] < '0' || text[1] > '9') {
        return -1;
    }
    return (text[0] - '0') * 10 + (text[1] - '0');
}

// Skips the "[1700000000000]" time prefix some recorders write before each sentence.
char const* skipTimePrefix(char const* begin, char const* end) {
    while (begin < end && isSpace(*begin)) {
        ++begin;
    }
    if (begin < end && *begin == '[') {
        char const* close = static_cast<char const*>(std::memchr(begin, ']', size_t(end - begin)));
        if (close != nullptr) {
            begin = close + 1;
        }
    }
    return begin;
}

} // namespace

KvNmeaSentence::KvNmeaSentence(char const* begin, char const* end) {
    begin = skipTimePrefix(begin, end);
    if (begin < end && *begin == '$') {
        ++begin;
    }
    // The type first: loggers write far more satellite sentences than fixes, and those are
    // not split or summed at all.
    char const* nameEnd = static_cast<char const*>(std::memchr(begin, ',', size_t(end - begin)));
    if (nameEnd == nullptr) {
        return;
    }
    if (nameEnd - begin == 5 && endsWith(begin, nameEnd, "RMC")) {
        _type = Rmc;
    } else if (nameEnd - begin == 5 && endsWith(begin, nameEnd, "GGA")) {
        _type = Gga;
    } else if (equals(begin, nameEnd, "GSENSOR") || equals(begin, nameEnd, "GSENSORD")) {
        _type = GSensor;
    } else {
        return;
    }
    while (end > begin && isSpace(end[-1])) {
        --end;
    }
    char const* star = static_cast<char const*>(std::memchr(begin, '*', size_t(end - begin)));
    if (star != nullptr) {
        for (char const* c = begin; c < star; ++c) {
            _computedChecksum ^= static_cast<unsigned char>(*c);
        }
        if (end - star > kHexDigits && hexValue(star[1]) >= 0 && hexValue(star[2]) >= 0) {
            _hasChecksum = true;
            _checksum = static_cast<unsigned char>(hexValue(star[1]) * 16 + hexValue(star[2]));
        }
        end = star;
    }
    _splitFields(begin, end);
}

void KvNmeaSentence::_splitFields(char const* begin, char const* end) {
    char const* field = begin;
    while (_fieldCount < kMaxFields) {
        char const* fieldEnd = field;
        while (fieldEnd < end && *fieldEnd != ',') {
            ++fieldEnd;
        }
        _fieldBegin[_fieldCount] = field;
        _fieldEnd[_fieldCount] = fieldEnd;
        ++_fieldCount;
        if (fieldEnd == end) {
            break;
        }
        field = fieldEnd + 1;
    }
}

bool KvNmeaSentence::parseNumber(char const* begin, char const* end, double* value) {
    while (begin < end && isSpace(*begin)) {
        ++begin;
    }
    while (end > begin && (isSpace(end[-1]) || end[-1] == ';')) {
        --end;
    }
    if (begin < end && *begin == '+') {
        ++begin;
    }
    if (begin == end) {
        return false;
    }
    double number = 0.0;
    std::from_chars_result const result =
        std::from_chars(begin, end, number, std::chars_format::fixed);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number)) {
        return false;
    }
    *value = number;
    return true;
}

bool KvNmeaSentence::toLocation(KvLocation* location, bool* hasTime) const {
    KvLocation fix;
    bool timeFilled = false;
    bool const read = (_type == Rmc && _readRmc(&fix, &timeFilled)) ||
                      (_type == Gga && _readGga(&fix, &timeFilled));
    if (!read) {
        return false;
    }
    fix.gsensorX = 0.0;
    fix.gsensorY = 0.0;
    fix.gsensorZ = 0.0;
    *location = fix;
    *hasTime = timeFilled;
    return true;
}

bool KvNmeaSentence::toGSensor(double* x, double* y, double* z) const {
    return _type == GSensor && _fieldCount >= 4 && _fieldNumber(1, x) && _fieldNumber(2, y) &&
           _fieldNumber(3, z);
}

// $xxRMC,hhmmss.ss,A,ddmm.mm,N,dddmm.mm,E,knots,course,ddmmyy,...
bool KvNmeaSentence::_readRmc(KvLocation* location, bool* hasTime) const {
    constexpr int kTime = 1, kStatus = 2, kLatitude = 3, kLongitude = 5, kSpeed = 7, kDate = 9;
    if (_fieldCount <= kDate || !_readTime(kTime, location, hasTime)) {
        return false;
    }
    char const status = _fieldLetter(kStatus);
    if (status != 'A' && status != 'V') {
        return false;
    }
    bool hasLatitude = false;
    bool hasLongitude = false;
    if (!_readCoordinate(kLatitude, 'N', 'S', kMaxLatitude, &location->latitude, &hasLatitude) ||
        !_readCoordinate(kLongitude, 'E', 'W', kMaxLongitude, &location->longitude,
                         &hasLongitude)) {
        return false;
    }
    double knots = 0.0;
    if (!_fieldIsEmpty(kSpeed) &&
        (!_fieldNumber(kSpeed, &knots) || knots < 0.0 || knots > kMaxKnots)) {
        return false;
    }
    location->speed = knots * KvKmhPerKnot;
    location->day = location->month = location->year = 0;
    if (!_fieldIsEmpty(kDate)) {
        char const* date = nullptr;
        char const* dateEnd = nullptr;
        _field(kDate, &date, &dateEnd);
        if (dateEnd - date != kClockDigits) {
            return false;
        }
        location->day = twoDigits(date);
        location->month = twoDigits(date + 2);
        location->year = twoDigits(date + 4);
        if (location->day < 1 || location->day > 31 || location->month < 1 ||
            location->month > 12 || location->year < 0) {
            return false;
        }
    }
    location->valid = status == 'A' && hasLatitude && hasLongitude;
    return true;
}

// $xxGGA,hhmmss.ss,ddmm.mm,N,dddmm.mm,E,quality,satellites,hdop,altitude,...
bool KvNmeaSentence::_readGga(KvLocation* location, bool* hasTime) const {
    constexpr int kTime = 1, kLatitude = 2, kLongitude = 4, kQuality = 6;
    if (_fieldCount <= kQuality || !_readTime(kTime, location, hasTime)) {
        return false;
    }
    bool hasLatitude = false;
    bool hasLongitude = false;
    if (!_readCoordinate(kLatitude, 'N', 'S', kMaxLatitude, &location->latitude, &hasLatitude) ||
        !_readCoordinate(kLongitude, 'E', 'W', kMaxLongitude, &location->longitude,
                         &hasLongitude)) {
        return false;
    }
    double quality = 0.0;
    if (!_fieldIsEmpty(kQuality) && !_fieldNumber(kQuality, &quality)) {
        return false;
    }
    location->speed = 0.0;
    location->day = location->month = location->year = 0;
    location->valid = quality > 0.0 && hasLatitude && hasLongitude;
    return true;
}

bool KvNmeaSentence::_field(int index, char const** begin, char const** end) const {
    if (index >= _fieldCount) {
        return false;
    }
    *begin = _fieldBegin[index];
    *end = _fieldEnd[index];
    while (*begin < *end && isSpace(**begin)) {
        ++*begin;
    }
    while (*end > *begin && isSpace((*end)[-1])) {
        --*end;
    }
    return true;
}

bool KvNmeaSentence::_fieldNumber(int index, double* value) const {
    return index < _fieldCount && parseNumber(_fieldBegin[index], _fieldEnd[index], value);
}

bool KvNmeaSentence::_fieldIsEmpty(int index) const {
    char const* begin = nullptr;
    char const* end = nullptr;
    return !_field(index, &begin, &end) || begin == end;
}

char KvNmeaSentence::_fieldLetter(int index) const {
    char const* begin = nullptr;
    char const* end = nullptr;
    if (!_field(index, &begin, &end) || end - begin != 1) {
        return '\0';
    }
    char const letter = *begin;
    return letter >= 'a' && letter <= 'z' ? char(letter - 'a' + 'A') : letter;
}

bool KvNmeaSentence::_readTime(int index, KvLocation* location, bool* hasTime) const {
    location->hour = location->minute = location->second = 0;
    *hasTime = false;
    char const* begin = nullptr;
    char const* end = nullptr;
    if (!_field(index, &begin, &end) || begin == end) {
        return true;
    }
    double seconds = 0.0;
    if (end - begin < kClockDigits || !parseNumber(begin, end, &seconds) || seconds < 0.0) {
        return false;
    }
    location->hour = twoDigits(begin);
    location->minute = twoDigits(begin + 2);
    location->second = twoDigits(begin + 4);
    // 60 is a leap second.
    if (location->hour < 0 || location->hour > 23 || location->minute < 0 ||
        location->minute > 59 || location->second < 0 || location->second > 60) {
        return false;
    }
    *hasTime = true;
    return true;
}

// ddmm.mmmm (or dddmm.mmmm) and its hemisphere letter in the next field. An empty number or
// letter is "no position" (0, not present); anything else must be a real coordinate.
bool KvNmeaSentence::_readCoordinate(int numberIndex, char positive, char negative,
                                     double maxDegrees, double* degrees, bool* present) const {
    *degrees = 0.0;
    *present = false;
    if (_fieldIsEmpty(numberIndex) || _fieldIsEmpty(numberIndex + 1)) {
        return true;
    }
    char const hemisphere = _fieldLetter(numberIndex + 1);
    double raw = 0.0;
    double value = 0.0;
    if ((hemisphere != positive && hemisphere != negative) || !_fieldNumber(numberIndex, &raw) ||
        !ddmmToDegreesInRange(raw, maxDegrees, &value)) {
        return false;
    }
    *degrees = hemisphere == negative ? -value : value;
    *present = true;
    return true;
}
