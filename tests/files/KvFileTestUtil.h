#pragma once

// Helpers for tests that copy and delete real files: content hashes, files of a given size, and
// a guard that makes a read-only folder read-only for the test even when it runs as root.

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QString>

#include <algorithm>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KvFileTestUtil {

// The SHA-256 of a file's content; empty when it cannot be read.
inline QByteArray hashOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QByteArray();
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(&file);
    return hash.result();
}

// Writes bytes of pseudo-random content (seeded, so reruns write the same files).
inline bool writeFile(const QString& path, qint64 bytes, quint32 seed) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    QRandomGenerator random(seed);
    constexpr qint64 kBlock = 1 << 16;
    QByteArray block(kBlock, Qt::Uninitialized);
    for (qint64 left = bytes; left > 0; left -= kBlock) {
        random.fillRange(reinterpret_cast<quint32*>(block.data()), kBlock / 4);
        const qint64 n = std::min(left, kBlock);
        if (file.write(block.constData(), n) != n) {
            return false;
        }
    }
    return true;
}

// Makes the file-permission checks apply to this process although it may run as root: lowers
// the capabilities that override them (CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER) from
// the calling thread's effective set, for as long as the guard lives. Threads started meanwhile
// (the dialogs' workers) inherit the lowered set. Create it on the GUI thread before starting a
// batch. For a user without those capabilities it changes nothing.
class PermissionChecksOn {
public:
    PermissionChecksOn() {
        _header.version = _LINUX_CAPABILITY_VERSION_3;
        _header.pid = 0;
        if (syscall(SYS_capget, &_header, _saved) != 0) {
            return;
        }
        __user_cap_data_struct lowered[2] = {_saved[0], _saved[1]};
        lowered[0].effective &=
            ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH) | (1u << CAP_FOWNER));
        _active = syscall(SYS_capset, &_header, lowered) == 0;
    }
    ~PermissionChecksOn() {
        if (_active) {
            syscall(SYS_capset, &_header, _saved);
        }
    }
    PermissionChecksOn(const PermissionChecksOn&) = delete;
    PermissionChecksOn& operator=(const PermissionChecksOn&) = delete;

private:
    __user_cap_header_struct _header{};
    __user_cap_data_struct _saved[2]{};
    bool _active = false;
};

// A folder's permissions set to read and search only, restored when the guard goes.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& path) : _path(path), _old(QFile::permissions(path)) {
        QFile::setPermissions(_path, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup |
                                         QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
    }
    ~ReadOnlyFolder() { QFile::setPermissions(_path, _old); }
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

private:
    QString _path;
    QFile::Permissions _old;
};

// Files named like a temporary copy that QFile::copy may leave in a folder.
inline QStringList leftovers(const QString& folder) {
    return QDir(folder).entryList({QStringLiteral("qt_temp.*")}, QDir::Files | QDir::Hidden);
}

} // namespace KvFileTestUtil
