#include "KvVolume.h"

#include "KvFileUtils.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStorageInfo>

#include <algorithm>

namespace {
// Where desktops and people mount removable media.
const char* const RemovableMountPrefixes[] = {"/media/", "/run/media/", "/mnt/"};
// File systems that memory cards, USB sticks and camera storage come formatted with.
const char* const CardFileSystems[] = {"vfat", "msdos", "fat",     "fat32",   "exfat",
                                       "ntfs", "ntfs3", "fuseblk", "hfsplus", "udf"};
// Mounts of the system itself: a FAT boot partition is not a card.
const char* const SystemMountPrefixes[] = {"/boot", "/efi", "/snap/", "/proc", "/sys", "/dev"};
// Read-only images the system mounts (snaps, live media), never recordings.
const char* const ImageFileSystems[] = {"squashfs", "erofs", "cramfs"};

bool isUnder(const QString& path, const QString& prefix) {
    if (prefix.endsWith(QLatin1Char('/'))) {
        return path.startsWith(prefix);
    }
    return path == prefix || path.startsWith(prefix + QLatin1Char('/'));
}

QString withSeparator(const QString& path) {
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}
} // namespace

KvVolume::KvVolume(const QString& rootPath, const QString& name, const QByteArray& fileSystemType,
                   qint64 bytesTotal, bool readOnly)
    : rootPath(rootPath), name(name), fileSystemType(fileSystemType), bytesTotal(bytesTotal),
      readOnly(readOnly) {}

KvVolume KvVolume::fromStorage(const QStorageInfo& storage) {
    return KvVolume(storage.rootPath(), storage.name(), storage.fileSystemType(),
                    storage.bytesTotal(), storage.isReadOnly());
}

QList<KvVolume> KvVolume::mountedVolumes() {
    QList<KvVolume> volumes;
    for (const QStorageInfo& storage : QStorageInfo::mountedVolumes()) {
        if (storage.isValid() && storage.isReady()) {
            volumes.append(fromStorage(storage));
        }
    }
    return volumes;
}

bool KvVolume::isOffered(const KvVolume& volume) {
    const QString root = QDir::cleanPath(volume.rootPath);
    if (root.isEmpty() || root == QLatin1String("/")) {
        return false;
    }
    const QByteArray type = volume.fileSystemType.toLower();
    for (const char* image : ImageFileSystems) {
        if (volume.readOnly && type == image) {
            return false;
        }
    }
    for (const char* prefix : SystemMountPrefixes) {
        if (isUnder(root, QLatin1String(prefix))) {
            return false;
        }
    }
    for (const char* prefix : RemovableMountPrefixes) {
        if (isUnder(root, QLatin1String(prefix))) {
            return true;
        }
    }
    return std::any_of(std::begin(CardFileSystems), std::end(CardFileSystems),
                       [&type](const char* fs) { return type == fs; });
}

bool KvVolume::isCard() const {
    // The card test joins "DCIM" to the path without a separator, so it is given one.
    return KvFileUtils::isSDCard(QFileInfo(itemPath()));
}

QString KvVolume::itemPath() const {
    return withSeparator(QDir::fromNativeSeparators(rootPath));
}

QString KvVolume::toolTip() const {
    const QString shown = name.isEmpty() ? QDir::toNativeSeparators(rootPath) : name;
    if (bytesTotal <= 0) {
        return shown;
    }
    return QStringLiteral("%1 (%2)").arg(shown, QLocale().formattedDataSize(bytesTotal));
}

QList<KvVolume> KvVolume::pickerVolumes(const QStringList& drives, const QList<KvVolume>& mounted) {
    QList<KvVolume> offered;
    QStringList seen;
    auto add = [&offered, &seen](const KvVolume& volume) {
        const QString path = volume.itemPath();
        if (!volume.rootPath.isEmpty() && !seen.contains(path)) {
            seen.append(path);
            offered.append(volume);
        }
    };
    for (const QString& drive : drives) {
        // A drive root is described by the mounted volume at that path, when there is one.
        auto it = std::find_if(mounted.begin(), mounted.end(), [&drive](const KvVolume& v) {
            return v.itemPath() == withSeparator(drive);
        });
        add(it != mounted.end()
                ? KvVolume(drive, it->name, it->fileSystemType, it->bytesTotal, it->readOnly)
                : KvVolume(drive, QString(), QByteArray(), 0));
    }
    for (const KvVolume& volume : mounted) {
        if (isOffered(volume)) {
            add(volume);
        }
    }
    std::stable_partition(offered.begin(), offered.end(),
                          [](const KvVolume& volume) { return volume.isCard(); });
    return offered;
}
