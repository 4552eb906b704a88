// Fuzzes the Thinkware cue parser with arbitrary cue texts. Besides the sanitizers, the result
// is 0 or -1, a rejected cue leaves the record untouched, and a read fix passes
// kvfuzz::checkFix.
#include "FuzzTrackCheck.h"
#include "KvThinkwareGPSReader.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    KvLocation fix;
    fix.latitude = 1.25;
    fix.day = 7;
    int const result =
        locationFromThinkwareCue(reinterpret_cast<char const*>(data), qint64(size), &fix);
    if (result == 0) {
        kvfuzz::checkFix(fix);
    } else if (result != -1 || fix.latitude != 1.25 || fix.day != 7) {
        std::abort();
    }
    return 0;
}
