#include "KvRowFeeder.h"

#include <QElapsedTimer>
#include <QMetaObject>

#include <utility>

KvRowFeeder::KvRowFeeder(Sink sink, QObject* parent) : QObject(parent), _sink(std::move(sink)) {}

void KvRowFeeder::setBatchHooks(Hook begin, EndHook end) {
    _begin = std::move(begin);
    _end = std::move(end);
}

void KvRowFeeder::setReadyTest(std::function<bool()> ready) {
    _ready = std::move(ready);
}

void KvRowFeeder::wake() {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _paused = false;
    }
    if (!isIdle()) {
        _schedule();
    }
}

void KvRowFeeder::push(const QString& item) {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _queue.push_back(item);
    }
    _schedule();
}

void KvRowFeeder::push(const QStringList& items) {
    if (items.isEmpty()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _queue.insert(_queue.end(), items.begin(), items.end());
    }
    _schedule();
}

void KvRowFeeder::clear() {
    std::lock_guard<std::mutex> lock(_mutex);
    _queue.clear();
    _paused = false;
}

void KvRowFeeder::drainAll() {
    if (isIdle()) {
        return;
    }
    if (_begin) {
        _begin();
    }
    QString item;
    while (_take(&item)) {
        _sink(item);
    }
    if (_end) {
        _end(false);
    }
}

bool KvRowFeeder::isIdle() const {
    std::lock_guard<std::mutex> lock(_mutex);
    return _queue.empty();
}

int KvRowFeeder::waiting() const {
    std::lock_guard<std::mutex> lock(_mutex);
    return static_cast<int>(_queue.size());
}

void KvRowFeeder::_schedule() {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        // While paused, only wake() goes on.
        if (_scheduled || _paused) {
            return;
        }
        _scheduled = true;
    }
    // A posted call runs in a later pass over the posted events than the one that posts it, so
    // the slices of a long queue take turns with everything else the event loop has to do. A
    // posted call to an object that is gone is dropped.
    QMetaObject::invokeMethod(this, &KvRowFeeder::_slice, Qt::QueuedConnection);
}

void KvRowFeeder::_slice() {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _scheduled = false;
    }
    QElapsedTimer clock;
    clock.start();
    if (_begin) {
        _begin();
    }
    QString item;
    int handed = 0;
    const auto ready = [this] { return !_ready || _ready(); };
    while (handed < MaxPerSlice && clock.elapsed() < SliceMs && ready() && _take(&item)) {
        _sink(item);
        ++handed;
    }
    const bool more = !isIdle();
    if (_end) {
        _end(more);
    }
    if (!more) {
        emit drained();
    } else if (ready()) {
        _schedule();
    } else {
        std::lock_guard<std::mutex> lock(_mutex);
        _paused = true;
    }
}

bool KvRowFeeder::_take(QString* item) {
    std::lock_guard<std::mutex> lock(_mutex);
    if (_queue.empty()) {
        return false;
    }
    *item = std::move(_queue.front());
    _queue.pop_front();
    return true;
}
