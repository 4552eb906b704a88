#include "KvNovatekGPSReader.h"

#include "KvBoxFile.h"
#include "KvGpsMath.h"
#include "KvTrackLimits.h"

#include <QByteArray>

#include <cmath>
#include <cstring>

namespace {

// The block opens with its box header (type "free", or "skip" in some firmware) and "GPS ".
constexpr int kTypeOffset = 4;
constexpr int kMagicOffset = 8;
constexpr int kFourCC = 4;
// Hour, minute and second (32-bit each) start the record in every layout.
constexpr int kHour = 48;
constexpr int kMinute = 52;
constexpr int kSecond = 56;
// The fourth 32-bit value: the status letter in the float and double layouts, the year in the
// date-first layout.
constexpr int kStatusOrYear = 60;
// Bytes of a block read: the longest layout (double) ends at 124.
constexpr int kBlockReadSize = 128;
// Blocks listed by an index at most: one a second for a day.
constexpr qint64 kMaxIndexEntries = kMaxTrackFixes;
// An index entry: big-endian offset and size of a block.
constexpr int kIndexEntrySize = 8;
// The index payload: 32-bit version/flags, 32-bit count, entries.
constexpr int kIndexHeaderSize = 8;
constexpr double kMaxLatitude = 90.0;
constexpr double kMaxLongitude = 180.0;
constexpr double kMaxKnots = 1000.0;
constexpr int kFullYearBase = 2000;

quint32 le32(unsigned char const* p) {
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16) | (quint32(p[3]) << 24);
}

quint32 be32(unsigned char const* p) {
    return (quint32(p[0]) << 24) | (quint32(p[1]) << 16) | (quint32(p[2]) << 8) | quint32(p[3]);
}

float leFloat(unsigned char const* p) {
    quint32 const bits = le32(p);
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

double leDouble(unsigned char const* p) {
    quint64 const bits = quint64(le32(p)) | (quint64(le32(p + 4)) << 32);
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

// ddmm.mmmm with its hemisphere letter to signed degrees; false when it cannot be a coordinate.
bool degreesFromDdmm(double raw, char hemisphere, char positive, char negative, double max,
                     double* degrees) {
    double value = 0.0;
    if ((hemisphere != positive && hemisphere != negative) ||
        !ddmmToDegreesInRange(raw, max, &value)) {
        return false;
    }
    *degrees = hemisphere == negative ? -value : value;
    return true;
}

// The fields every layout shares, as read from the block.
struct RawRecord {
    quint32 hour = 0, minute = 0, second = 0, year = 0, month = 0, day = 0;
    char status = 0, north = 0, east = 0;
    double latitude = 0.0, longitude = 0.0, knots = 0.0;
};

bool isLetter(quint32 value, char a, char b) {
    return value == quint32(a) || value == quint32(b);
}

// Which layout the block holds, by where its letters stand; false for none.
bool readLayout(unsigned char const* b, qint64 size, RawRecord* r) {
    constexpr int kFloatEnd = 100, kDoubleEnd = 124, kDateFirstEnd = 92;
    quint32 const fourth = le32(b + kStatusOrYear);
    if (isLetter(fourth, 'A', 'V') && size >= kFloatEnd && isLetter(le32(b + 68), 'N', 'S') &&
        isLetter(le32(b + 76), 'E', 'W')) {
        r->status = char(fourth);
        r->latitude = leFloat(b + 64);
        r->north = char(b[68]);
        r->longitude = leFloat(b + 72);
        r->east = char(b[76]);
        r->knots = leFloat(b + 80);
        r->year = le32(b + 88), r->month = le32(b + 92), r->day = le32(b + 96);
        return true;
    }
    if (isLetter(fourth, 'A', 'V') && size >= kDoubleEnd && isLetter(le32(b + 72), 'N', 'S') &&
        isLetter(le32(b + 88), 'E', 'W')) {
        r->status = char(fourth);
        r->latitude = leDouble(b + 64);
        r->north = char(b[72]);
        r->longitude = leDouble(b + 80);
        r->east = char(b[88]);
        r->knots = leDouble(b + 96);
        r->year = le32(b + 112), r->month = le32(b + 116), r->day = le32(b + 120);
        return true;
    }
    if (size >= kDateFirstEnd && (b[72] == 'A' || b[72] == 'V')) {
        r->year = fourth, r->month = le32(b + 64), r->day = le32(b + 68);
        r->status = char(b[72]), r->north = char(b[73]), r->east = char(b[74]);
        r->latitude = leFloat(b + 76);
        r->longitude = leFloat(b + 80);
        r->knots = leFloat(b + 84);
        return true;
    }
    return false;
}

// Date and time in range (an all-zero date is "unknown" and kept).
bool clockInRange(RawRecord const& r) {
    bool const dateUnknown = r.year == 0 && r.month == 0 && r.day == 0;
    bool const dateOk = dateUnknown || (r.month >= 1 && r.month <= 12 && r.day >= 1 &&
                                        r.day <= 31 && r.year < kFullYearBase + 100);
    return dateOk && r.hour < 24 && r.minute < 60 && r.second <= 60;
}

} // namespace

int locationFromNovatekBlock(unsigned char const* block, qint64 size, KvLocation* location) {
    RawRecord r;
    if (block == nullptr || size < kStatusOrYear + 4 ||
        std::memcmp(block + kMagicOffset, "GPS ", kFourCC) != 0 ||
        (std::memcmp(block + kTypeOffset, "free", kFourCC) != 0 &&
         std::memcmp(block + kTypeOffset, "skip", kFourCC) != 0)) {
        return -1;
    }
    r.hour = le32(block + kHour), r.minute = le32(block + kMinute);
    r.second = le32(block + kSecond);
    if (!readLayout(block, size, &r) || !clockInRange(r)) {
        return -1;
    }
    KvLocation fix;
    bool const voidFix = r.status == 'V';
    bool positioned = degreesFromDdmm(r.latitude, r.north, 'N', 'S', kMaxLatitude, &fix.latitude) &&
                      degreesFromDdmm(r.longitude, r.east, 'E', 'W', kMaxLongitude, &fix.longitude);
    // A void fix may carry any position (often zeros or the last one); an active one must
    // carry a real one.
    if (!positioned && !voidFix) {
        return -1;
    }
    if (!positioned) {
        fix.latitude = fix.longitude = 0.0;
    }
    bool const speedOk = std::isfinite(r.knots) && r.knots >= 0.0 && r.knots <= kMaxKnots;
    fix.speed = speedOk ? r.knots * KvKmhPerKnot : 0.0;
    fix.valid = !voidFix && speedOk;
    fix.year = int(r.year % 100), fix.month = int(r.month), fix.day = int(r.day);
    fix.hour = int(r.hour), fix.minute = int(r.minute), fix.second = int(r.second);
    fix.gsensorX = fix.gsensorY = fix.gsensorZ = 0.0;
    *location = fix;
    return 0;
}

namespace {

// Appends the block at offset, if it is one; false once the track is full.
bool appendBlock(KvBoxFile& file, qint64 offset, qint64 size, QVector<KvLocation>& locations) {
    QByteArray const block = file.read(offset, std::min<qint64>(size, kBlockReadSize));
    KvLocation fix;
    if (locationFromNovatekBlock(reinterpret_cast<unsigned char const*>(block.constData()),
                                 block.size(), &fix) != 0) {
        return true;
    }
    // Several blocks of one second: the first is kept, as for subtitle fixes.
    if (!locations.isEmpty() && KvLocation::isSameSecond(locations.last(), fix)) {
        return true;
    }
    locations.append(fix);
    return locations.size() < kMaxTrackFixes;
}

// The blocks the "gps " box inside "moov" lists. An entry pointing anywhere else (past the end
// of the file, at the index itself) reads no "freeGPS " and is skipped.
void readIndexedBlocks(KvBoxFile& file, QVector<KvLocation>& locations) {
    KvBox moov;
    KvBox index;
    if (!file.findBox(0, file.size(), "moov", &moov) ||
        !file.findBox(moov.payloadOffset(), moov.end(), "gps ", &index) ||
        index.payloadSize() < kIndexHeaderSize) {
        return;
    }
    qint64 const listed = (index.payloadSize() - kIndexHeaderSize) / kIndexEntrySize;
    QByteArray const header = file.read(index.payloadOffset(), kIndexHeaderSize);
    if (header.size() < kIndexHeaderSize) {
        return;
    }
    qint64 const count = std::min<qint64>(
        {qint64(be32(reinterpret_cast<unsigned char const*>(header.constData()) + 4)), listed,
         kMaxIndexEntries});
    QByteArray const entries =
        file.read(index.payloadOffset() + kIndexHeaderSize, count * kIndexEntrySize);
    auto const* bytes = reinterpret_cast<unsigned char const*>(entries.constData());
    for (qint64 i = 0; i + 1 <= entries.size() / kIndexEntrySize; ++i) {
        unsigned char const* entry = bytes + i * kIndexEntrySize;
        if (!appendBlock(file, be32(entry), be32(entry + 4), locations)) {
            return;
        }
    }
}

void readTopLevelBlocks(KvBoxFile& file, QVector<KvLocation>& locations) {
    file.forEachBox(0, file.size(), [&](KvBox const& box) {
        if (box.isType("free") || box.isType("skip")) {
            return appendBlock(file, box.offset, box.size, locations);
        }
        return true;
    });
}

} // namespace

bool readGPSFromNovatekVideo(QVector<KvLocation>& locations, QString const& path) {
    locations.clear();
    KvBoxFile file(path);
    if (!file.isOpen()) {
        return false;
    }
    readIndexedBlocks(file, locations);
    if (locations.isEmpty()) {
        readTopLevelBlocks(file, locations);
    }
    return !locations.isEmpty();
}
