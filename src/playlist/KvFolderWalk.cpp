#include "KvFolderWalk.h"

#include "KvCameraPairing.h"
#include "KvLogCategories.h"

#include <QFileInfo>

#include <utility>

KvFolderWalk::KvFolderWalk(PathFound clipFound) : _clipFound(std::move(clipFound)) {}

void KvFolderWalk::setFolderEntered(PathFound folderEntered) {
    _folderEntered = std::move(folderEntered);
}

void KvFolderWalk::setCancelTest(CancelTest cancelled) {
    _cancelled = std::move(cancelled);
}

void KvFolderWalk::walk(const QDir& root) {
    _visited.clear();
    _walk(root);
    _visited.clear();
}

void KvFolderWalk::_walk(const QDir& dir) {
    if (_isCancelled()) {
        return;
    }
    // A symbolic link back up the tree would otherwise make the walk endless. A missing or
    // unreadable folder has no canonical path and is not entered.
    const QString canonical = dir.canonicalPath();
    if (canonical.isEmpty() || _visited.contains(canonical)) {
        return;
    }
    _visited.insert(canonical);
    if (_folderEntered) {
        _folderEntered(dir.absolutePath());
    }
    const QFileInfoList entries =
        dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System, QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        if (_isCancelled()) {
            return;
        }
        if (entry.isDir()) {
            if (!KvCameraPairing::isSpecialDirectory(entry)) {
                _walk(QDir(entry.absoluteFilePath()));
            }
        } else if (KvCameraPairing::isScannedFile(entry.fileName())) {
            const QString path = entry.absoluteFilePath();
            qCDebug(kvPlaylist) << "add file -> " << path;
            _clipFound(path);
        }
    }
}

bool KvFolderWalk::_isCancelled() const {
    return _cancelled && _cancelled();
}
