#include "KvEntryWriter.h"

#include "KvLogCategories.h"

KvEntryWriter::KvEntryWriter(const KvPlaylistStore& store, QObject* parent)
    : KvThread(parent), _store(store) {}

KvEntryWriter::~KvEntryWriter() {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _ending = true;
    }
    _changed.notify_all();
    // The queue is written to the end first: those rows are on screen and were meant to stay.
    join();
}

void KvEntryWriter::enqueue(const KvVideoInfo& info) {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _queue.push_back(info);
    }
    _changed.notify_all();
    if (!isRunning()) {
        start(QThread::LowPriority);
    }
}

int KvEntryWriter::backlog() const {
    std::lock_guard<std::mutex> lock(_mutex);
    return static_cast<int>(_queue.size()) + _writing;
}

void KvEntryWriter::flush() {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return _queue.empty() && _writing == 0; });
}

void KvEntryWriter::dropPending() {
    std::unique_lock<std::mutex> lock(_mutex);
    _queue.clear();
    _changed.wait(lock, [this] { return _writing == 0; });
}

void KvEntryWriter::run() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return !_queue.empty() || _ending; });
        if (_queue.empty()) {
            return; // ending, and nothing left
        }
        const KvVideoInfo info = std::move(_queue.front());
        _queue.pop_front();
        _writing = 1;
        lock.unlock();
        // A failed write is not reported, as for a single add: the row is there this session.
        _store.write(info);
        lock.lock();
        _writing = 0;
        _changed.notify_all();
        lock.unlock();
        emit written();
        lock.lock();
    }
}
