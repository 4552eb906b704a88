#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

class QStorageInfo;

// One mounted volume as the file picker sees it: where it is mounted, what it is called, how big
// it is and what kind of file system it holds. A plain value, so that the choice of volumes to
// offer can be made on a list handed in (tests build one without mounting anything).
class KvVolume {
public:
    KvVolume() = default;
    KvVolume(const QString& rootPath, const QString& name, const QByteArray& fileSystemType,
             qint64 bytesTotal, bool readOnly = false);
    static KvVolume fromStorage(const QStorageInfo& storage);

    // Every volume the system has mounted now, ready and valid ones only.
    static QList<KvVolume> mountedVolumes();
    // What the drive list offers: the drive roots, then every volume that may hold recordings
    // (removable or card-like mounts, see isOffered), without duplicates, volumes that look like a
    // camera card first; otherwise in the order given.
    static QList<KvVolume> pickerVolumes(const QStringList& drives, const QList<KvVolume>& mounted);
    // A volume worth offering: mounted under /media, /run/media or /mnt, or holding a file system
    // memory cards and USB sticks use (FAT, exFAT, NTFS, ...); never a read-only system image.
    static bool isOffered(const KvVolume& volume);
    // Looks like a dash-camera card: its root holds "DCIM" or "FRONT".
    bool isCard() const;
    // The path the list shows and hands on: the root with its trailing separator, as a drive
    // root has one.
    QString itemPath() const;
    // The volume's name and size, for the list item's tooltip.
    QString toolTip() const;

    QString rootPath;
    QString name;
    QByteArray fileSystemType;
    qint64 bytesTotal = 0;
    bool readOnly = false;
};
