// Fuzzes the GPX sidecar reader with arbitrary documents. Besides the sanitizers, every track
// must pass kvfuzz::checkTrack (a point's hour may not be 24: times are turned into UTC).
#include "FuzzTrackCheck.h"
#include "KvGpxReader.h"
#include "KvLogCategories.h"

#include <QByteArray>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The readers' debug lines would flood the fuzzer's output; warnings stay.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    QVector<KvLocation> locations(3);
    bool const found = readGPSFromGpxText(
        locations, QByteArray::fromRawData(reinterpret_cast<char const*>(data), int(size)));
    kvfuzz::checkTrack(found, locations);
    for (KvLocation const& fix : locations) {
        if (fix.hour > 23) {
            std::abort();
        }
    }
    return 0;
}
