// Fuzzes the 70mai "GPS " box reader on a file made of the fuzzer's bytes. The file name holds
// a start stamp, so the times are computed from it. Besides the sanitizers, every track must
// pass kvfuzz::checkTrack and hold no more records than the box payload in the file.
#include "FuzzMemoryFile.h"
#include "FuzzTrackCheck.h"
#include "Kv70maiGPSReader.h"
#include "KvLogCategories.h"

namespace {
kvfuzz::MemoryFile* memoryFile = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The readers' debug lines would flood the fuzzer's output; warnings stay.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    memoryFile = new kvfuzz::MemoryFile("NO20191130-235956-000122");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    QVector<KvLocation> locations(3);
    bool const found = readGPSFrom70maiVideo(locations, memoryFile->write(data, size));
    kvfuzz::checkTrack(found, locations);
    if (qint64(locations.size()) * 36 > qint64(size)) {
        std::abort();
    }
    // The record parser alone, timed from a stamp just before midnight.
    QVector<KvLocation> records;
    read70maiRecords(records, data, qint64(size),
                     QDateTime(QDate(2019, 11, 30), QTime(23, 59, 56), Qt::UTC));
    kvfuzz::checkTrack(!records.isEmpty(), records);
    return 0;
}
