// Fuzzes the "gps0" box reader on a file made of the fuzzer's bytes.
//
// Besides the sanitizers, it checks the reader against a walk over the same bytes in memory: the
// number of records, their date and time bytes, the g-sensor axes left at zero, the validity
// rule, and that the result says whether anything was stored. The file lives in memory
// (memfd), reached by its /proc/self/fd path, so the fuzzer does not wear the disk.
#include "FuzzMemoryFile.h"
#include "KvGPSReader.h"
#include "KvLogCategories.h"

#include <QVector>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr int64_t kHeaderSize = 8;
constexpr int64_t kRecordSize = 32;

kvfuzz::MemoryFile* memoryFile = nullptr;

uint32_t bigEndian32(uint8_t const* bytes) {
    return (uint32_t(bytes[0]) << 24) | (uint32_t(bytes[1]) << 16) | (uint32_t(bytes[2]) << 8) |
           uint32_t(bytes[3]);
}

// Where the records of the first "gps0" box start and how many whole ones the file holds, as
// the box walk finds them; -1 records when the walk ends without the box.
struct ExpectedBox {
    int64_t payload = 0;
    int64_t records = -1;
};

ExpectedBox walk(uint8_t const* data, int64_t size) {
    ExpectedBox expected;
    int64_t offset = 0;
    for (;;) {
        if (offset + kHeaderSize > size) {
            return expected;
        }
        int32_t const boxSize = static_cast<int32_t>(bigEndian32(data + offset));
        if (boxSize <= kHeaderSize) {
            return expected;
        }
        if (std::memcmp(data + offset + 4, "gps0", 4) == 0) {
            expected.payload = offset + kHeaderSize;
            int64_t const available =
                std::min<int64_t>(boxSize - kHeaderSize, size - expected.payload);
            expected.records = available / kRecordSize;
            return expected;
        }
        offset += boxSize;
        if (offset > std::numeric_limits<int32_t>::max()) {
            return expected;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The readers' debug lines would flood the fuzzer's output; warnings stay.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    memoryFile = new kvfuzz::MemoryFile("fuzz-gps0");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    QVector<KvLocation> locations(3);
    bool const found = readGPSFromAITVideo(locations, memoryFile->write(data, size));
    if (found != !locations.isEmpty()) {
        std::abort();
    }
    ExpectedBox const expected = walk(data, static_cast<int64_t>(size));
    if (locations.size() != std::max<int64_t>(0, expected.records)) {
        std::abort();
    }
    for (int i = 0; i < locations.size(); ++i) {
        KvLocation const& location = locations.at(i);
        uint8_t const* record = data + expected.payload + i * kRecordSize;
        if (location.day != record[22] || location.month != record[23] ||
            location.year != record[24] || location.hour != record[25] ||
            location.minute != record[26] || location.second != record[27] ||
            location.speed != double(record[20] | (record[21] << 8))) {
            std::abort();
        }
        if (location.gsensorX != 0.0 || location.gsensorY != 0.0 || location.gsensorZ != 0.0) {
            std::abort();
        }
        bool const outOfRange = location.latitude > 90.0 || location.latitude < -90.0 ||
                                location.longitude > 180.0 || location.longitude < -180.0;
        if (location.valid == outOfRange) {
            std::abort();
        }
    }
    return 0;
}
