#include "MutexExtQueue.h"

#include <mutex>

MutexExtQueue::MutexExtQueue(void (*freeFunc)(void*))
    : _queue(new KvExtQueue(freeFunc)), _mutex(new std::mutex()) {}

MutexExtQueue::~MutexExtQueue() {
    delete _queue;
    delete _mutex;
}

void* MutexExtQueue::first() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->first();
}

void* MutexExtQueue::last() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->last();
}

void* MutexExtQueue::removeFirst() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->removeFirst();
}

void* MutexExtQueue::removeLast() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->removeLast();
}

void* MutexExtQueue::pushFirst(void* data) {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->pushFirst(data);
}

void* MutexExtQueue::pushLast(void* data) {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->pushLast(data);
}

void* MutexExtQueue::clear() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->clear();
}

int64_t MutexExtQueue::size() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->size();
}
