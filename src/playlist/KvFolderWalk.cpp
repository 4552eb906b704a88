#include "KvFolderWalk.h"

#include "KvCameraPairing.h"
#include "KvLogCategories.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <utility>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace {
// The walk lists every kind of entry, "." and ".." included (they are special folders).
constexpr QDir::Filters WalkFilters = QDir::AllEntries | QDir::Hidden | QDir::System;

// A mount table writes a space, a tab, a new line and a back-slash in a path as "\040", "\011",
// "\012" and "\134".
QString unescapeMountPath(const QByteArray& field) {
    QByteArray path;
    path.reserve(field.size());
    for (int i = 0; i < field.size(); ++i) {
        if (field.at(i) == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int code = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                path.append(static_cast<char>(code));
                i += 3;
                continue;
            }
        }
        path.append(field.at(i));
    }
    return QFile::decodeName(path);
}

// The mount points of a table whose lines hold the mount point in the given field (0-based).
QSet<QString> readMountTable(const QString& table, int field) {
    QSet<QString> points;
    QFile file(table);
    if (!file.open(QIODevice::ReadOnly)) {
        return points;
    }
    // The kernel's tables report a size of 0: read to the end rather than asking atEnd().
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QList<QByteArray> fields = line.trimmed().split(' ');
        if (fields.size() > field) {
            points.insert(unescapeMountPath(fields.at(field)));
        }
    }
    return points;
}

// The mount point, among points, that holds path: the longest one it lies in.
QString mountHolding(const QSet<QString>& points, const QString& path) {
    QString best;
    for (const QString& point : points) {
        const bool holds = path == point || point == QLatin1String("/") ||
                           path.startsWith(point + QLatin1Char('/'));
        if (holds && point.size() > best.size()) {
            best = point;
        }
    }
    return best;
}
} // namespace

KvFolderWalk::KvFolderWalk(PathFound clipFound) : _clipFound(std::move(clipFound)) {}

void KvFolderWalk::setFolderEntered(PathFound folderEntered) {
    _folderEntered = std::move(folderEntered);
}

void KvFolderWalk::setFolderSkipped(FolderSkipped folderSkipped) {
    _folderSkipped = std::move(folderSkipped);
}

void KvFolderWalk::setCancelTest(CancelTest cancelled) {
    _cancelled = std::move(cancelled);
}

void KvFolderWalk::walk(const QDir& root) {
    _visited.clear();
    _otherMounts.clear();
    const QString canonical = root.canonicalPath();
    _deviceKnown = !canonical.isEmpty() && deviceOf(canonical, &_device);
    if (!canonical.isEmpty()) {
        // Every mount point but the one the walk starts on: those below the root are other file
        // systems, and those elsewhere can only be reached through a link, which leaves it too.
        _otherMounts = mountPoints();
        _otherMounts.remove(mountHolding(_otherMounts, canonical));
    }
    _walk(root);
    _visited.clear();
    _otherMounts.clear();
}

bool KvFolderWalk::deviceOf(const QString& path, quint64* device) {
#ifdef Q_OS_UNIX
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
        return false;
    }
    *device = static_cast<quint64>(status.st_dev);
    return true;
#else
    const QStorageInfo storage(path);
    if (!storage.isValid()) {
        return false;
    }
    *device = qHash(storage.rootPath());
    return true;
#endif
}

QSet<QString> KvFolderWalk::mountPoints() {
    // mountinfo: "id parent major:minor root mount-point options ..."; mounts: "device
    // mount-point type options ...".
    QSet<QString> points = readMountTable(QStringLiteral("/proc/self/mountinfo"), 4);
    if (points.isEmpty()) {
        points = readMountTable(QStringLiteral("/proc/mounts"), 1);
    }
    return points;
}

bool KvFolderWalk::_walk(const QDir& dir) {
    if (_isCancelled()) {
        return false;
    }
    // A symbolic link back up the tree would otherwise make the walk endless. A missing folder
    // has no canonical path and is not entered.
    const QString canonical = dir.canonicalPath();
    if (canonical.isEmpty() || _visited.contains(canonical)) {
        return true;
    }
    const bool isRoot = _visited.isEmpty();
    if (!isRoot) {
        quint64 device = 0;
        if (_otherMounts.contains(canonical) ||
            (_deviceKnown && deviceOf(canonical, &device) && device != _device)) {
            _skipped(dir.absolutePath(), Skip::OtherFileSystem);
            return true;
        }
    }
    const QFileInfo info(canonical);
    if (!info.isReadable() || !info.isExecutable()) {
        _skipped(dir.absolutePath(), Skip::Unreadable);
        return true;
    }
    _visited.insert(canonical);
    if (_folderEntered) {
        _folderEntered(dir.absolutePath());
    }
    // Read one entry at a time rather than the whole listing first, so that a cancel is seen
    // before the next entry even in a folder of a hundred thousand.
    QDirIterator entries(dir.absolutePath(), WalkFilters);
    while (entries.hasNext()) {
        if (_isCancelled()) {
            return false;
        }
        entries.next();
        const QFileInfo entry = entries.fileInfo();
        const QString path = entry.absoluteFilePath();
        if (_otherMounts.contains(path)) {
            // A mount point below the walk: left alone without even asking for its details, which
            // for a network share that has gone away could take minutes.
            _skipped(path, Skip::OtherFileSystem);
        } else if (entry.isDir()) {
            if (!KvCameraPairing::isSpecialDirectory(entry) && !_walk(QDir(path))) {
                return false;
            }
        } else if (KvCameraPairing::isScannedFile(entry.fileName())) {
            qCDebug(kvPlaylist) << "add file -> " << path;
            _clipFound(path);
        }
    }
    return true;
}

bool KvFolderWalk::_isCancelled() const {
    return _cancelled && _cancelled();
}

void KvFolderWalk::_skipped(const QString& path, Skip why) const {
    qCDebug(kvPlaylist) << "walk skips" << path
                        << (why == Skip::OtherFileSystem ? "(another file system)"
                                                         : "(unreadable)");
    if (_folderSkipped) {
        _folderSkipped(path, why);
    }
}
