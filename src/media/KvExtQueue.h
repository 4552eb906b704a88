#pragma once

#include <cstdint>

// One link of a KvExtQueue.
class KvExtQueueNode {
public:
    explicit KvExtQueueNode(void* data) : data(data) {}
    KvExtQueueNode(void* data, KvExtQueueNode* prev, KvExtQueueNode* next)
        : data(data), prev(prev), next(next) {}

    void* data = nullptr;
    KvExtQueueNode* prev = nullptr;
    KvExtQueueNode* next = nullptr;
};

// Double-ended queue of untyped pointers; not thread-safe. Its linking is kept exactly as the
// player has always had it, odd as it is: pushFirst() does not point the former first node back at
// the new one, pushLast() links the new node's prev to the *first* node and leaves the former last
// node's next alone, and size() always answers 0 (count is only ever reset). Nothing in the player
// builds one; it is kept for compatibility of the media library's interface.
class KvExtQueue {
public:
    explicit KvExtQueue(void (*freeFunc)(void*) = nullptr);
    KvExtQueue(const KvExtQueue&) = delete;
    KvExtQueue& operator=(const KvExtQueue&) = delete;
    virtual ~KvExtQueue();

    virtual void* first();
    virtual void* last();
    virtual void* removeFirst();
    virtual void* removeLast();
    virtual void* pushFirst(void* data);
    virtual void* pushLast(void* data);
    virtual void* clear();
    virtual int64_t size();

    // The end nodes themselves, for looking at the links; ownership stays with the queue.
    KvExtQueueNode* firstNode() { return _first; }
    KvExtQueueNode* lastNode() { return _last; }

private:
    int64_t _count = 0;
    void (*_freeFunc)(void*) = nullptr;
    KvExtQueueNode* _first = nullptr;
    KvExtQueueNode* _last = nullptr;
};
