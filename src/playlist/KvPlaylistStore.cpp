#include "KvPlaylistStore.h"

#include "KvFileUtils.h"
#include "KvLogCategories.h"

#include <QDir>
#include <QFileInfo>

KvPlaylistStore::KvPlaylistStore() = default;

KvPlaylistStore::KvPlaylistStore(const QString& folder) : _folder(folder) {}

QString KvPlaylistStore::folder() const {
    return QDir(_root()).absolutePath();
}

QList<KvVideoInfo> KvPlaylistStore::load() const {
    QList<KvVideoInfo> entries;
    for (const QString& file : entryFiles()) {
        entries.append(read(file));
    }
    return entries;
}

QStringList KvPlaylistStore::entryFiles() const {
    const QString root = _root();
    const QFileInfoList files =
        QDir(root).entryInfoList(QDir::Files | QDir::NoSymLinks | QDir::Hidden, QDir::Unsorted);
    qCDebug(kvPlaylist, "%s", qUtf8Printable(root));
    QStringList paths;
    for (const QFileInfo& file : files) {
        if (file.fileName().endsWith(QLatin1String(".xml"))) {
            paths.append(file.absoluteFilePath());
        }
    }
    return paths;
}

KvVideoInfo KvPlaylistStore::read(const QString& entryFile) {
    return KvVideoInfo::readFromFile(entryFile);
}

QString KvPlaylistStore::entryFilePath(const KvVideoInfo& info) const {
    return QStringLiteral("%1/%2.xml").arg(folder(), info.indentifer());
}

QString KvPlaylistStore::removedEntryFilePath(const KvVideoInfo& info) const {
    return QStringLiteral("%1/%2.xml").arg(folder(), info.name);
}

bool KvPlaylistStore::write(const KvVideoInfo& info) const {
    const QString path = entryFilePath(info);
    qCDebug(kvPlaylist) << "path -> " << path;
    return info.writeToFile(path);
}

bool KvPlaylistStore::remove(const KvVideoInfo& info) const {
    return KvFileUtils::deleteFile(entryFilePath(info));
}

bool KvPlaylistStore::removeByName(const KvVideoInfo& info) const {
    return KvFileUtils::deleteFile(removedEntryFilePath(info));
}

void KvPlaylistStore::clear() const {
    KvFileUtils::deleteDir(_root());
}

QString KvPlaylistStore::_root() const {
    if (_folder.isEmpty()) {
        return KvFileUtils().getPlayListRoot();
    }
    KvFileUtils().mkdirIfNecessary(_folder);
    return _folder;
}
