#pragma once

// Helpers of the GPS track tests: where the generated clips are, and building "gps0" boxes and
// other top-level boxes byte by byte (the box header is big-endian, the record fields
// little-endian).

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cstdint>
#include <cstring>

namespace kvtest {

// A clip of the generated test media (the "test_media" fixture).
inline QString mediaPathOf(QString const& name) {
    return QString::fromUtf8(KV_TEST_MEDIA_DIR) + QLatin1Char('/') + name;
}

struct GpsRecord {
    double latitude = 0.0; // raw NMEA ddmm.mmmm, signed
    double longitude = 0.0;
    uint16_t speed = 0; // km/h
    uint8_t day = 0;
    uint8_t month = 0;
    uint8_t year = 0;
    uint8_t hour = 0;
    uint8_t minute = 0;
    uint8_t second = 0;
};

inline QByteArray bigEndian32(uint32_t value) {
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i) {
        bytes[i] = char(value >> (8 * (3 - i)));
    }
    return bytes;
}

inline QByteArray littleEndianDouble(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    QByteArray bytes(8, '\0');
    for (int i = 0; i < 8; ++i) {
        bytes[i] = char(bits >> (8 * i));
    }
    return bytes;
}

// A 32-byte record; the bytes the reader skips hold 0xEE so that reading them would show.
inline QByteArray recordBytes(GpsRecord const& record) {
    QByteArray bytes;
    bytes += littleEndianDouble(record.latitude);
    bytes += littleEndianDouble(record.longitude);
    bytes += QByteArray(4, char(0xEE));
    bytes += char(record.speed & 0xFF);
    bytes += char(record.speed >> 8);
    bytes += char(record.day);
    bytes += char(record.month);
    bytes += char(record.year);
    bytes += char(record.hour);
    bytes += char(record.minute);
    bytes += char(record.second);
    bytes += QByteArray(4, char(0xEE));
    return bytes;
}

// A box whose size field is the header plus the payload.
inline QByteArray box(char const* type, QByteArray const& payload) {
    return bigEndian32(uint32_t(8 + payload.size())) + QByteArray(type, 4) + payload;
}

// A box header with whatever size field the test needs, followed by the payload.
inline QByteArray boxWithSizeField(uint32_t sizeField, char const* type,
                                   QByteArray const& payload) {
    return bigEndian32(sizeField) + QByteArray(type, 4) + payload;
}

inline QByteArray ftypBox() {
    return box("ftyp", QByteArray("isom\0\0\2\0isomiso2mp41", 20));
}

inline uint32_t readBigEndian32(QByteArray const& bytes, int offset) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = (value << 8) | uint8_t(bytes.at(offset + i));
    }
    return value;
}

// FFmpeg's MP4 muxer writes an empty "free" box (8 bytes) right after "ftyp", and an empty box
// ends the "gps0" walk on purpose, so the box of a clip made by FFmpeg is never found. Recorders
// that write the box do not write an empty one. This folds the empty box into the "mdat" box that
// follows it (the "mdat" header moves 8 bytes forward, its old header becomes unused payload), so
// every sample keeps its file offset and the clip still plays. Returns the clip unchanged when
// it has no such pair.
inline QByteArray foldEmptyBoxIntoMdat(QByteArray clip) {
    int offset = 0;
    while (offset + 16 <= clip.size()) {
        uint32_t const size = readBigEndian32(clip, offset);
        if (size == 8 && clip.mid(offset + 12, 4) == "mdat") {
            uint32_t const mdatSize = readBigEndian32(clip, offset + 8);
            if (mdatSize < 8) {
                break;
            }
            clip.replace(offset, 8, bigEndian32(mdatSize + 8) + QByteArray("mdat"));
            break;
        }
        if (size < 8) {
            break;
        }
        offset += int(size);
    }
    return clip;
}

inline bool writeFile(QString const& path, QByteArray const& bytes, bool append = false) {
    QFile file(path);
    if (!file.open(append ? QIODevice::Append : QIODevice::WriteOnly)) {
        return false;
    }
    return file.write(bytes) == bytes.size();
}

} // namespace kvtest
