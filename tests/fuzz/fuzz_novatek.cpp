// Fuzzes the Novatek "freeGPS " reader on a file made of the fuzzer's bytes (the "moov"/"gps "
// index and the walk over top-level "free"/"skip" boxes), and the block parser on the bytes
// themselves. Besides the sanitizers, every track must pass kvfuzz::checkTrack.
#include "FuzzMemoryFile.h"
#include "FuzzTrackCheck.h"
#include "KvLogCategories.h"
#include "KvNovatekGPSReader.h"

namespace {
kvfuzz::MemoryFile* memoryFile = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The readers' debug lines would flood the fuzzer's output; warnings stay.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    memoryFile = new kvfuzz::MemoryFile("fuzz-novatek");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    QVector<KvLocation> locations(3);
    bool const found = readGPSFromNovatekVideo(locations, memoryFile->write(data, size));
    kvfuzz::checkTrack(found, locations);
    KvLocation fix;
    if (locationFromNovatekBlock(data, qint64(size), &fix) == 0) {
        kvfuzz::checkFix(fix);
    }
    return 0;
}
