#pragma once

#include "KvVideoInfo.h"

#include <QList>
#include <QString>
#include <QStringList>

// The playlist's entry files: one XML file per entry in the playlist folder, so the list
// survives restarts. The store holds no entries itself; it names, reads, writes and deletes the
// files. A plain value used on the GUI thread.
class KvPlaylistStore {
public:
    // The user's playlist folder (KvFileUtils::getPlayListRoot), asked for afresh on every use,
    // so a folder removed behind the player's back is created again before the next write.
    KvPlaylistStore();
    // Another folder, created on demand in the same way (tests, tools).
    explicit KvPlaylistStore(const QString& folder);

    // The folder's absolute path; creates the folder when it is missing.
    QString folder() const;
    // Every "*.xml" file of the folder (case-sensitive suffix, hidden files too, no symbolic
    // links) read as an entry, in the order the file system lists them, not the order they were
    // added. A file that cannot be read gives an entry without clips; it is kept, not filtered.
    QList<KvVideoInfo> load() const;
    // The same files, not yet read, in the same order: what load() reads, for a caller that
    // reads them a few at a time (the list at start-up, KvRowFeeder).
    QStringList entryFiles() const;
    // One entry file as load() reads it.
    static KvVideoInfo read(const QString& entryFile);
    // The file an entry is saved as: named by its identifier.
    QString entryFilePath(const KvVideoInfo& info) const;
    // The file the "remove" actions delete: named by the entry's name, not its identifier. For
    // an entry with clips the two differ, so its saved file stays and the entry returns at the
    // next start unless the playlist is cleared; tst_videolistwidget's
    // removeDeletesFileNamedByName pins this.
    QString removedEntryFilePath(const KvVideoInfo& info) const;
    // Writes the entry's file (entryFilePath); false when it cannot be written.
    bool write(const KvVideoInfo& info) const;
    // Deletes the entry's saved file (entryFilePath), for an entry whose clips are gone.
    bool remove(const KvVideoInfo& info) const;
    // Deletes the file the "remove" actions name (removedEntryFilePath).
    bool removeByName(const KvVideoInfo& info) const;
    // Deletes every file in the folder and leaves the folder itself in place.
    void clear() const;

private:
    // The folder as configured, created when missing.
    QString _root() const;

    QString _folder; // empty: the user's playlist folder
};
