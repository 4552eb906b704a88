#pragma once

#include <cstdint>

// One link of a KvQueue; it owns nothing, the queue decides what happens to `data`.
class KvQueueNode {
public:
    KvQueueNode() = default;
    KvQueueNode(void* data, KvQueueNode* next) : data(data), next(next) {}

    void* data = nullptr;
    KvQueueNode* next = nullptr;
};

// Single-ended FIFO of untyped pointers; not thread-safe (MutexQueue adds the lock). Items still
// queued at clear() or destruction are released with freeFunc when one is set; pop() hands the
// item and its ownership to the caller.
class KvQueue {
public:
    explicit KvQueue(void (*freeFunc)(void*) = nullptr);
    KvQueue(const KvQueue&) = delete;
    KvQueue& operator=(const KvQueue&) = delete;
    virtual ~KvQueue();

    virtual void* head();
    virtual void* tail();
    virtual void* pop();
    virtual void* push(void* data);
    // Puts an item back before the head (a consumer that took one too many).
    void* pushFront(void* data);
    virtual void* clear();
    virtual int64_t size();

    KvQueueNode* headNode() { return _head; }
    // Meaningful only while the queue is non-empty: pop() leaves the last tail in place.
    KvQueueNode* tailNode() { return _tail; }

private:
    int64_t _count = 0;
    void (*_freeFunc)(void*) = nullptr;
    KvQueueNode* _head = nullptr;
    KvQueueNode* _tail = nullptr;
};
