// Appends a top-level "gps0" box, as recorders built on AIT camera chips write it, to a clip made
// by the test-clip script. Byte orders are the box's own: the 8-byte box header is big-endian,
// every field inside the 32-byte records little-endian.
//
//   kv_make_gps0 <clip>
//
// The five records are one fix per second from 2026-03-15 10:15:00 UTC, starting at raw
// latitude 3110.1234 (N) and raw longitude 12130.5678 (E) in the NMEA ddmm.mmmm form, each fix
// 0.0100 minutes further north and east, at 40, 41, 42, 43 and 44 km/h.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

constexpr int kRecordCount = 5;
constexpr int kRecordSize = 32;
constexpr int kHeaderSize = 8;
constexpr double kFirstLatitude = 3110.1234;
constexpr double kFirstLongitude = 12130.5678;
constexpr double kStepMinutes = 0.01;
constexpr int kFirstSpeed = 40;

void putLittle(std::vector<unsigned char>& out, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
}

void putBig(std::vector<unsigned char>& out, uint32_t value) {
    for (int i = 3; i >= 0; --i) {
        out.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
}

void putDouble(std::vector<unsigned char>& out, double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    putLittle(out, bits, 8);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kv_make_gps0 <clip>\n");
        return 2;
    }
    std::vector<unsigned char> box;
    putBig(box, kHeaderSize + kRecordCount * kRecordSize);
    box.insert(box.end(), {'g', 'p', 's', '0'});
    for (int i = 0; i < kRecordCount; ++i) {
        putDouble(box, kFirstLatitude + i * kStepMinutes);
        putDouble(box, kFirstLongitude + i * kStepMinutes);
        putLittle(box, 0, 4);                         // not read by the player
        putLittle(box, kFirstSpeed + i, 2);           // km/h
        box.insert(box.end(), {15, 3, 26, 10, 15});   // day, month, year, hour, minute
        box.push_back(static_cast<unsigned char>(i)); // second
        putLittle(box, 0, 4);                         // not read by the player
    }
    FILE* file = std::fopen(argv[1], "ab");
    if (file == nullptr) {
        std::perror(argv[1]);
        return 1;
    }
    const bool written = std::fwrite(box.data(), 1, box.size(), file) == box.size();
    return std::fclose(file) == 0 && written ? 0 : 1;
}
