#include "MutexQueue.h"

#include <mutex>

MutexQueue::MutexQueue(void (*freeFunc)(void*))
    : _queue(new KvQueue(freeFunc)), _mutex(new std::mutex()) {}

MutexQueue::~MutexQueue() {
    delete _queue;
    delete _mutex;
}

void* MutexQueue::head() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->head();
}

void* MutexQueue::tail() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->tail();
}

void* MutexQueue::pop() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->pop();
}

void* MutexQueue::push(void* data) {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->push(data);
}

void* MutexQueue::pushFront(void* data) {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->pushFront(data);
}

void* MutexQueue::clear() {
    std::lock_guard<std::mutex> locker(*_mutex);
    return _queue->clear();
}

int64_t MutexQueue::size() {
    std::lock_guard<std::mutex> locker(*_mutex);
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
