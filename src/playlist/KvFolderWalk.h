#pragma once

#include <QDir>
#include <QSet>
#include <QString>

#include <functional>

// The one walk of a folder tree in search of clips, used by the card scan on the wait dialog's
// worker thread and by the list's depth add on the GUI thread. Depth first, no depth limit, the
// entries of each folder in the order the file system gives them (unsorted), read one at a time.
// Special folders are not entered, and a folder reached a second time through a symbolic link is
// not walked again. Only the case-sensitive scan extensions count as clips
// (KvCameraPairing::isScannedFile).
//
// The walk stays on the file system of the folder it starts in: a folder on another device (a
// mount point such as /proc, /sys, /dev, /run, a network share or another drive, reached directly
// or through a symbolic link) is never entered, nor even looked at when the mount table names it.
// A folder it cannot read is skipped without a word to the user. Both on purpose: a walk that
// starts at "/" must not wander into the kernel's file systems or every other disk.
//
// Everything runs on the calling thread, callbacks included; one walk at a time per object.
class KvFolderWalk {
public:
    // The absolute path of a folder or of a clip.
    using PathFound = std::function<void(const QString& path)>;
    // True once the walk should stop.
    using CancelTest = std::function<bool()>;

    // Why a folder was not entered.
    enum class Skip {
        OtherFileSystem, // another mount, or a link into one
        Unreadable,      // no permission to list it (or to pass through it)
    };
    using FolderSkipped = std::function<void(const QString& path, Skip why)>;

    explicit KvFolderWalk(PathFound clipFound);

    // Told the absolute path of each folder as the walk enters it, before its entries.
    void setFolderEntered(PathFound folderEntered);
    // Told each folder the walk leaves out for being on another file system or unreadable
    // (special folders and links back up the tree are not reported). For logs and tests; the
    // user is never asked or told.
    void setFolderSkipped(FolderSkipped folderSkipped);
    // Asked on entering each folder and again before every entry the walk looks at, so a
    // cancelled walk stops before the next entry at any depth. Without it the walk runs to the
    // end.
    void setCancelTest(CancelTest cancelled);

    void walk(const QDir& root);

    // The device (file system) a path lies on, following symbolic links; false when the path
    // cannot be examined.
    static bool deviceOf(const QString& path, quint64* device);
    // The mount points the system lists (/proc/self/mountinfo on Linux), as absolute paths;
    // empty where there is no such table. Reading it touches none of the mounted file systems.
    static QSet<QString> mountPoints();

private:
    // False once the walk is cancelled, so the folders above stop without asking again.
    bool _walk(const QDir& dir);
    bool _isCancelled() const;
    void _skipped(const QString& path, Skip why) const;

    PathFound _clipFound;
    PathFound _folderEntered;
    FolderSkipped _folderSkipped;
    CancelTest _cancelled;
    // Canonical paths of the folders entered in the current walk.
    QSet<QString> _visited;
    // The current walk's file system, and the mount points other than the root's own.
    quint64 _device = 0;
    bool _deviceKnown = false;
    QSet<QString> _otherMounts;
};
