// Fuzzes what the subtitle reader does with a decoded rectangle's text: the camera's text taken
// out of the ASS dialogue event (breaks turned back into CR LF), then parsed.
//
// Besides the sanitizers, it checks that the text never grows (each "\N" becomes CR LF, two
// bytes for two), that a text with fewer than eight ASS fields goes through whole with its breaks
// converted, that a plain text goes through untouched, and that the parser's result is 0 or -1.
#include "KvGPSReader.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    // Decoders hand over NUL-terminated texts.
    std::string const ass(reinterpret_cast<char const*>(data), size);
    QByteArray const text = subtitleTextFromAss(ass.c_str(), nullptr);
    QByteArray const whole(ass.c_str());
    if (text.isNull() || text.size() > whole.size()) {
        std::abort();
    }
    if (whole.count(',') < 8 && text != QByteArray(whole).replace("\\N", "\r\n")) {
        std::abort();
    }
    KvLocation location;
    int const result = KvLocation::locationFromText(text.constData(), &location);
    if (result != 0 && result != -1) {
        std::abort();
    }
    // Plain text without ASS goes through untouched.
    if (subtitleTextFromAss(nullptr, ass.c_str()) != whole) {
        std::abort();
    }
    return 0;
}
