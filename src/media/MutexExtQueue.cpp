#include "MutexExtQueue.h"

#include <QMutexLocker>

MutexExtQueue::MutexExtQueue(void (*freeFunc)(void*))
    : _queue(new KvExtQueue(freeFunc)), _mutex(new QMutex()) {}

MutexExtQueue::~MutexExtQueue() {
    delete _queue;
    delete _mutex;
}

void* MutexExtQueue::first() {
    QMutexLocker locker(_mutex);
    return _queue->first();
}

void* MutexExtQueue::last() {
    QMutexLocker locker(_mutex);
    return _queue->last();
}

void* MutexExtQueue::removeFirst() {
    QMutexLocker locker(_mutex);
    return _queue->removeFirst();
}

void* MutexExtQueue::removeLast() {
    QMutexLocker locker(_mutex);
    return _queue->removeLast();
}

void* MutexExtQueue::pushFirst(void* data) {
    QMutexLocker locker(_mutex);
    return _queue->pushFirst(data);
}

void* MutexExtQueue::pushLast(void* data) {
    QMutexLocker locker(_mutex);
    return _queue->pushLast(data);
}

void* MutexExtQueue::clear() {
    QMutexLocker locker(_mutex);
    return _queue->clear();
}

int64_t MutexExtQueue::size() {
    QMutexLocker locker(_mutex);
    return _queue->size();
}
