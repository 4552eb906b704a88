#pragma once

#include <locale.h>

// Makes the C library read and write numbers with a decimal point on the calling thread for as
// long as it lives, whatever the user's locale says.
//
// On Linux the QApplication constructor installs the user's locale in the C library, and then
// sscanf, snprintf and strtod with "%lf" follow a German or French desktop's decimal comma: a GPS
// line "45.5" stops parsing and a script call "addAddress(47.628422,122.165017);" gets four
// arguments. main() puts LC_NUMERIC back to "C" right after the application object is made; the
// places that turn numbers into text or back hold one of these as well, so a library caller or a
// test that never ran main() gets the same bytes. uselocale() changes only the calling thread, so
// worker threads are not disturbed.
class KvCNumericLocale {
public:
    KvCNumericLocale();
    ~KvCNumericLocale();

    KvCNumericLocale(const KvCNumericLocale&) = delete;
    KvCNumericLocale& operator=(const KvCNumericLocale&) = delete;

private:
    locale_t _previous;
};

// Resets the process's LC_NUMERIC category to "C" and leaves every other category (texts,
// sorting, character classes) as the user chose. Call right after creating the application
// object; Qt's documentation gives this remedy for its constructor's setlocale(LC_ALL, "").
void kvUseCNumericLocale();
