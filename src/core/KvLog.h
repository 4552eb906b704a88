#pragma once

#include <cstdarg>
#include <cstdio>

// A printf-style log, off by default. Callers format the whole line, newline included; nothing
// is added. Messages go to the log file (when one is open) and to standard output. Any thread may
// log; concurrent messages may interleave.

// Closes the open log file, then opens path truncated. Null when it cannot be opened (file
// logging is then off; console printing goes on).
FILE* startKvLogFile(const char* path);
void stopKvLogFile();
void enableKvLog(int on);
int isKvLogEnable();
// Does nothing and returns 0 while logging is disabled; otherwise logs and returns what the
// print to standard output returned.
int KvLog(const char* format, ...);
// Always logs: unlike KvLog, it does not look at the enable flag. Callers rely on that.
int KvLogV(const char* format, va_list args);
