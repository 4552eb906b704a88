#pragma once

#include "KvPlaylistStore.h"
#include "KvThread.h"
#include "KvVideoInfo.h"

#include <condition_variable>
#include <deque>
#include <mutex>

// Writes playlist entry files on a thread of its own, for the rows a walk adds by the thousand.
// Each file is written as KvPlaylistStore::write does, replaced atomically and synced to the disk
// (QSaveFile), which takes milliseconds per file and far longer on a busy disk: done on the GUI
// thread it would block the window. The queue is kept short (MaxBacklog): the caller adds rows
// only while the writer keeps up (canTakeMore), so the files on disk never lag far behind the
// rows on screen, and a cancel or the end of the program waits for a handful of files at most.
//
// enqueue, flush and dropPending belong to the GUI thread; the signals arrive there queued.
class KvEntryWriter : public KvThread {
    Q_OBJECT
public:
    static constexpr int MaxBacklog = 16;

    explicit KvEntryWriter(const KvPlaylistStore& store, QObject* parent = nullptr);
    // Writes whatever is still queued, then ends the thread.
    ~KvEntryWriter() override;

    void enqueue(const KvVideoInfo& info);
    // Entries queued and not yet written, the one being written included.
    int backlog() const;
    bool canTakeMore() const { return backlog() < MaxBacklog; }
    // Waits until every queued entry is written.
    void flush();
    // Forgets the entries not yet written (the one being written is finished), then waits for it.
    void dropPending();

signals:
    // An entry file was written (or could not be); the backlog is one shorter.
    void written();

protected:
    void run() override;

private:
    const KvPlaylistStore _store;
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<KvVideoInfo> _queue; // guarded by _mutex
    int _writing = 0;               // guarded by _mutex
    bool _ending = false;           // guarded by _mutex
};
