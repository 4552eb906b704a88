#pragma once

#include <QChar>
#include <QString>

// Path-string splitting for the playlist and the clip readers. Both '/' and '\' count as
// separators where the operation says so; the dot searches deliberately ignore separators, so a
// dot in a folder name counts ('/a/b.c/d' has the "extension" 'c/d').
class KvStringUtil {
public:
    // Everything before the last "."; the path itself when it has no ".".
    static QString getSingleFileName(const QString& path);
    // Everything after the last "/" ('\' is not a separator here); the path itself without "/".
    static QString getFileName(const QString& path);
    // When the path holds a "." anywhere: everything before the last separator; otherwise, or
    // without a separator, the path itself.
    static QString getDir(const QString& path);
    // The parent: everything before the last separator; the path itself without one.
    static QString pathDup(const QString& path);
    // Everything after the last "." when that dot is not the last character; otherwise "".
    static QString getPathExt(const QString& path);
    // Whether the character at index (which must be valid) is '/' or '\'.
    static bool isFileSeparator(const QString& path, int index);
    static bool isFileSeparator(QChar c);
    static bool startWithIgnoreCase(const QString& text, const QString& prefix);

private:
    static int _lastSeparator(const QString& path);
};
