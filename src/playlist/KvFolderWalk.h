#pragma once

#include <QDir>
#include <QSet>
#include <QString>

#include <functional>

// The one walk of a folder tree in search of clips, used by the card scan on the wait dialog's
// worker thread and by the list's depth add on the GUI thread. Depth first, no depth limit, the
// entries of each folder in the order the file system gives them (unsorted). Special folders are
// not entered, and a folder reached a second time through a symbolic link is not walked again.
// Only the case-sensitive scan extensions count as clips (KvCameraPairing::isScannedFile).
//
// Everything runs on the calling thread, callbacks included; one walk at a time per object.
class KvFolderWalk {
public:
    // The absolute path of a folder or of a clip.
    using PathFound = std::function<void(const QString& path)>;
    // True once the walk should stop.
    using CancelTest = std::function<bool()>;

    explicit KvFolderWalk(PathFound clipFound);

    // Told the absolute path of each folder as the walk enters it, before its entries.
    void setFolderEntered(PathFound folderEntered);
    // Asked on entering each folder and again before every entry the walk looks at, so a
    // cancelled walk stops before the next entry. Without it the walk runs to the end.
    void setCancelTest(CancelTest cancelled);

    void walk(const QDir& root);

private:
    void _walk(const QDir& dir);
    bool _isCancelled() const;

    PathFound _clipFound;
    PathFound _folderEntered;
    CancelTest _cancelled;
    // Canonical paths of the folders entered in the current walk.
    QSet<QString> _visited;
};
