#pragma once

#include "KvExtQueue.h"

#include <mutex>

// A KvExtQueue whose eight operations each run under one non-recursive mutex. It keeps the
// double-ended queue's linking and its size() of 0.
// Like MutexQueue it uses a std::mutex, which ThreadSanitizer understands.
class MutexExtQueue {
public:
    explicit MutexExtQueue(void (*freeFunc)(void*));
    MutexExtQueue(const MutexExtQueue&) = delete;
    MutexExtQueue& operator=(const MutexExtQueue&) = delete;
    virtual ~MutexExtQueue();

    virtual void* first();
    virtual void* last();
    virtual void* removeFirst();
    virtual void* removeLast();
    virtual void* pushFirst(void* data);
    virtual void* pushLast(void* data);
    virtual void* clear();
    virtual int64_t size();

private:
    KvExtQueue* _queue; // owned; guarded by _mutex
    std::mutex* _mutex; // owned
};
