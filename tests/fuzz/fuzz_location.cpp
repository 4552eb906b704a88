// Fuzzes both KvLocation::locationFromText overloads with arbitrary subtitle texts.
//
// Besides the sanitizers, it checks what must hold for any text: the result is 0 or -1, a
// rejected text leaves the record untouched unless a void fallback line overwrote validity, date
// and time, and for ASCII text starting with "$GPRMC" both overloads agree field for field.
#include "KvLocation.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

KvLocation sentinel() {
    KvLocation location;
    location.valid = true;
    location.latitude = 1.25;
    location.longitude = 2.5;
    location.speed = 3.75;
    location.gsensorX = 4.5;
    location.gsensorY = 5.25;
    location.gsensorZ = 6.75;
    location.day = 7;
    location.month = 8;
    location.year = 9;
    location.hour = 10;
    location.minute = 11;
    location.second = 12;
    return location;
}

// Bitwise, so that NaN equals NaN.
bool sameDouble(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool samePositionSpeedAxes(KvLocation const& a, KvLocation const& b) {
    return sameDouble(a.latitude, b.latitude) && sameDouble(a.longitude, b.longitude) &&
           sameDouble(a.speed, b.speed) && sameDouble(a.gsensorX, b.gsensorX) &&
           sameDouble(a.gsensorY, b.gsensorY) && sameDouble(a.gsensorZ, b.gsensorZ);
}

bool sameFields(KvLocation const& a, KvLocation const& b) {
    return a.valid == b.valid && samePositionSpeedAxes(a, b) && a.day == b.day &&
           a.month == b.month && a.year == b.year && a.hour == b.hour && a.minute == b.minute &&
           a.second == b.second;
}

// A rejected text either left the record alone or is a void fallback line, which leaves
// position, speed and axes alone and marks the record invalid.
void checkRejected(KvLocation const& location) {
    KvLocation const original = sentinel();
    if (sameFields(location, original)) {
        return;
    }
    if (location.valid || !samePositionSpeedAxes(location, original)) {
        std::abort();
    }
}

int parseChecked(char const* text, KvLocation* location) {
    int const result = KvLocation::locationFromText(text, location);
    if (result != 0 && result != -1) {
        std::abort();
    }
    if (result == -1) {
        checkRejected(*location);
    }
    return result;
}

int parseChecked(QString const& text, KvLocation* location) {
    int const result = KvLocation::locationFromText(text, location);
    if (result != 0 && result != -1) {
        std::abort();
    }
    if (result == -1) {
        checkRejected(*location);
    }
    return result;
}

bool isPlainAscii(char const* data, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        unsigned char const c = static_cast<unsigned char>(data[i]);
        if (c == 0 || c >= 0x80) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    char const* bytes = reinterpret_cast<char const*>(data);
    int const length = static_cast<int>(size);
    // The char* overload reads up to the first NUL, as a subtitle decoder's text ends.
    std::string const text(bytes, size);

    KvLocation fromBytes = sentinel();
    int const bytesResult = parseChecked(text.c_str(), &fromBytes);

    KvLocation fromLatin1 = sentinel();
    int const latin1Result = parseChecked(QString::fromLatin1(bytes, length), &fromLatin1);

    KvLocation fromUtf8 = sentinel();
    parseChecked(QString::fromUtf8(bytes, length), &fromUtf8);

    // Any UTF-16, lone surrogates included; copied because the input need not be aligned.
    std::u16string utf16(size / 2, u'\0');
    std::memcpy(&utf16[0], data, utf16.size() * sizeof(char16_t));
    KvLocation fromUtf16 = sentinel();
    parseChecked(QString::fromUtf16(utf16.data(), static_cast<int>(utf16.size())), &fromUtf16);

    // Starting at "$GPRMC", the char* overload hands the sentence parser the same text as the
    // QString one, and the fallback sees the same bytes.
    if (size >= 6 && std::memcmp(bytes, "$GPRMC", 6) == 0 && isPlainAscii(bytes, size)) {
        if (bytesResult != latin1Result || !sameFields(fromBytes, fromLatin1)) {
            std::abort();
        }
    }

    // The companions must cope with whatever a parser produced.
    if (fromBytes.getGsensor() < 0.0 || !KvLocation::isSameSecond(fromUtf8, fromUtf8)) {
        std::abort();
    }
    return 0;
}
