// Fuzzes the NMEA sidecar reader with arbitrary text. Besides the sanitizers, every track must
// pass kvfuzz::checkTrack.
#include "FuzzTrackCheck.h"
#include "KvLogCategories.h"
#include "KvSidecarGPSReader.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The readers' debug lines would flood the fuzzer's output; warnings stay.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    QVector<KvLocation> locations(3);
    bool const found =
        readGPSFromNmeaText(locations, reinterpret_cast<char const*>(data), qint64(size));
    kvfuzz::checkTrack(found, locations);
    return 0;
}
