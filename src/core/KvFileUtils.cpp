#include "KvFileUtils.h"

#include "KvLogCategories.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <unistd.h>

KvFileUtils::KvFileUtils(QObject* parent) : QObject(parent) {}

QString KvFileUtils::getRoot() {
    return _ensureDir(QStandardPaths::writableLocation(QStandardPaths::DataLocation));
}

QString KvFileUtils::getTempRoot() {
    // The platform's temporary folder is shared by every program and every user here ("/tmp"),
    // so the player keeps its own folder in it, named after the application and the user.
    const QString temp = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    QString own = QCoreApplication::applicationName();
    if (own.isEmpty()) {
        own = QStringLiteral("dashcam-player");
    }
    return _ensureDir(QStringLiteral("%1/%2-%3").arg(temp, own).arg(getuid()));
}

QString KvFileUtils::getCacheRoot() {
    return _subRoot(getTempRoot(), QStringLiteral("cache"));
}

QString KvFileUtils::getConfigureRoot() {
    return _subRoot(getRoot(), QStringLiteral("configure"));
}

QString KvFileUtils::getPlayListRoot() {
    return _subRoot(getRoot(), QStringLiteral("playlist"));
}

QString KvFileUtils::getDatabaseRoot() {
    return _subRoot(getRoot(), QStringLiteral("database"));
}

QString KvFileUtils::getDefaultCapturePath() {
    const QFileInfoList drives = QDir::drives();
    if (drives.size() < 2) {
        return _subRoot(getRoot(), QStringLiteral("CAPTURE"));
    }
    const QString player = _subRoot(drives.at(1).absoluteFilePath(), QStringLiteral("Player"));
    return _subRoot(player, QStringLiteral("CAPTURE"));
}

QString KvFileUtils::getDefaultFavoritePath() {
    const QFileInfoList drives = QDir::drives();
    if (drives.size() < 2) {
        // Deliberately the same folder as the still images on a single-drive system.
        return _subRoot(getRoot(), QStringLiteral("CAPTURE"));
    }
    return _subRoot(drives.at(1).absoluteFilePath(), QStringLiteral("Player"));
}

QString KvFileUtils::getCapturePath() {
    return getDefaultCapturePath();
}

QString KvFileUtils::getFavoritePath() {
    return getDefaultFavoritePath();
}

bool KvFileUtils::mkdirIfNecessary(const QString& path) {
    if (QDir(path).exists()) {
        return false;
    }
    return QDir().mkpath(path);
}

bool KvFileUtils::deleteFile(const QString& path) {
    return QFile::remove(path);
}

bool KvFileUtils::dirExists(const QString& path) {
    return QDir(path).exists();
}

bool KvFileUtils::fileExists(const QString& path) {
    return QFile::exists(path);
}

bool KvFileUtils::deleteDir(const QString& path) {
    const QFileInfo info(path);
    if (!info.isDir()) {
        if (info.isFile()) {
            QFile::remove(path);
        }
        return false;
    }
    QDir dir(path);
    const QStringList names =
        dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QString& name : names) {
        deleteDir(QStringLiteral("%1/%2").arg(path, name));
    }
    // QDir::remove removes files only, so the emptied folder itself stays.
    dir.remove(path);
    return false;
}

bool KvFileUtils::isSDCard(const QFileInfo& info) {
    qCDebug(kvCore, "%s", qUtf8Printable(info.absoluteFilePath()));
    qCDebug(kvCore, "isSymLink = %d", info.isSymLink() ? 1 : 0);
    if (!info.isDir()) {
        return false;
    }
    const QString root = info.absoluteFilePath();
    if (QDir(QStringLiteral("%1DCIM").arg(root)).exists()) {
        return true;
    }
    return QDir(QStringLiteral("%1FRONT").arg(root)).exists();
}

QString KvFileUtils::_subRoot(const QString& parent, const QString& name) {
    const QString path = QStringLiteral("%1/%2").arg(parent, name);
    if (!QDir(path).exists()) {
        QDir().mkdir(path);
    }
    return path;
}

QString KvFileUtils::_ensureDir(const QString& path) {
    // The platform's base folders may be missing on a fresh account (~/.local/share), so the
    // application's own root is created with its parents; a root that cannot be created is still
    // returned, and writes into it fail later where they are made.
    if (!path.isEmpty() && !QDir(path).exists()) {
        QDir().mkpath(path);
    }
    return path;
}
