#include "KvLog.h"

#include "KvCNumericLocale.h"

#include <atomic>
#include <mutex>

namespace {
// Size of the buffer a message is formatted into for the file copy; a longer message reaches the
// file cut to one byte less.
constexpr size_t LogBufferSize = 4096;

std::atomic<int> logEnabled{0};
// The open log file. Guarded by logFileMutex so that a message never writes to a file that
// another thread is closing.
FILE* logFile = nullptr;
std::mutex logFileMutex;
} // namespace

FILE* startKvLogFile(const char* path) {
    std::lock_guard<std::mutex> lock(logFileMutex);
    if (logFile) {
        fclose(logFile);
        logFile = nullptr;
    }
    if (path) {
        logFile = fopen(path, "w");
    }
    return logFile;
}

void stopKvLogFile() {
    std::lock_guard<std::mutex> lock(logFileMutex);
    if (logFile) {
        fclose(logFile);
        logFile = nullptr;
    }
}

void enableKvLog(int on) {
    logEnabled = on;
}

int isKvLogEnable() {
    return logEnabled;
}

int KvLog(const char* format, ...) {
    if (logEnabled == 0) {
        return 0;
    }
    va_list args;
    va_start(args, format);
    const int printed = KvLogV(format, args);
    va_end(args);
    return printed;
}

int KvLogV(const char* format, va_list args) {
    // The list is used twice, file copy and console copy, so the file copy formats from a copy.
    va_list fileArgs;
    va_copy(fileArgs, args);
    // A logged "%lf" reads the same on every desktop, comma-decimal ones included.
    KvCNumericLocale const numericLocale;
    {
        std::lock_guard<std::mutex> lock(logFileMutex);
        if (logFile) {
            char buffer[LogBufferSize];
            vsnprintf(buffer, sizeof buffer, format, fileArgs);
            fputs(buffer, logFile);
        }
    }
    va_end(fileArgs);
    return vprintf(format, args);
}
