#include "MutexQueue.h"

#include <QMutexLocker>

MutexQueue::MutexQueue(void (*freeFunc)(void*))
    : _queue(new KvQueue(freeFunc)), _mutex(new QMutex()) {}

MutexQueue::~MutexQueue() {
    delete _queue;
    delete _mutex;
}

void* MutexQueue::head() {
    QMutexLocker locker(_mutex);
    return _queue->head();
}

void* MutexQueue::tail() {
    QMutexLocker locker(_mutex);
    return _queue->tail();
}

void* MutexQueue::pop() {
    QMutexLocker locker(_mutex);
    return _queue->pop();
}

void* MutexQueue::push(void* data) {
    QMutexLocker locker(_mutex);
    return _queue->push(data);
}

void* MutexQueue::clear() {
    QMutexLocker locker(_mutex);
    return _queue->clear();
}

int64_t MutexQueue::size() {
    QMutexLocker locker(_mutex);
    return _queue->size();
}

KvQueueNode* MutexQueue::headNode() {
    return _queue->headNode();
}

KvQueueNode* MutexQueue::tailNode() {
    return _queue->tailNode();
}

void MutexQueue::lock() {
    _mutex->lock();
}

void MutexQueue::unlock() {
    _mutex->unlock();
}
