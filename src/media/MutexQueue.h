#pragma once

#include "KvQueue.h"

#include <mutex>

// A KvQueue shared between threads: every forwarded operation runs under one non-recursive mutex.
// The mutex is a std::mutex rather than a QMutex: QMutex waits inside QtCore on futexes that
// ThreadSanitizer cannot see, so every hand-over through the queue would be reported as a race;
// pthread mutexes are understood by it, and the behaviour (not recursive) is the same.
// headNode()/tailNode() do not lock; a caller that walks the nodes takes lock() first, walks with
// `next` (never a forwarded operation, which would deadlock) and calls unlock() after.
class MutexQueue {
public:
    explicit MutexQueue(void (*freeFunc)(void*));
    MutexQueue(const MutexQueue&) = delete;
    MutexQueue& operator=(const MutexQueue&) = delete;
    virtual ~MutexQueue();

    virtual void* head();
    virtual void* tail();
    virtual void* pop();
    virtual void* push(void* data);
    void* pushFront(void* data);
    virtual void* clear();
    virtual int64_t size();

    KvQueueNode* headNode();
    KvQueueNode* tailNode();
    void lock();
    void unlock();

private:
    KvQueue* _queue;    // owned; guarded by _mutex
    std::mutex* _mutex; // owned
};
