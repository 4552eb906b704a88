#include "KvCNumericLocale.h"

namespace {
// One "C" locale object for the whole process, made on first use and never freed: it outlives
// every thread that may still hold it as its current locale.
locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}
} // namespace

KvCNumericLocale::KvCNumericLocale() : _previous(static_cast<locale_t>(nullptr)) {
    const locale_t c = cLocale();
    if (c != static_cast<locale_t>(nullptr)) {
        _previous = uselocale(c);
    }
}

KvCNumericLocale::~KvCNumericLocale() {
    if (_previous != static_cast<locale_t>(nullptr)) {
        uselocale(_previous);
    }
}

void kvUseCNumericLocale() {
    setlocale(LC_NUMERIC, "C");
}
