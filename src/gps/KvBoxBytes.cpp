#include "KvBoxBytes.h"

#include <cstdint>
#include <cstring>

short hex2short(unsigned char* bytes) {
    return static_cast<short>((bytes[0] << 8) | bytes[1]);
}

int hex2int(unsigned char* bytes) {
    const uint32_t value = (static_cast<uint32_t>(bytes[0]) << 24) |
                           (static_cast<uint32_t>(bytes[1]) << 16) |
                           (static_cast<uint32_t>(bytes[2]) << 8) | static_cast<uint32_t>(bytes[3]);
    return static_cast<int>(value);
}

long hex2long(unsigned char* bytes) {
    return static_cast<long>(static_cast<uint32_t>(hex2int(bytes)));
}

double hex2double(unsigned char* bytes) {
    double value = 0;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}
