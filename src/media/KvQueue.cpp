#include "KvQueue.h"

KvQueue::KvQueue(void (*freeFunc)(void*)) : _freeFunc(freeFunc) {}

KvQueue::~KvQueue() {
    clear();
}

void* KvQueue::head() {
    return _head != nullptr ? _head->data : nullptr;
}

void* KvQueue::tail() {
    return _tail != nullptr ? _tail->data : nullptr;
}

void* KvQueue::pop() {
    KvQueueNode* node = _head;
    if (node == nullptr) {
        return nullptr;
    }
    void* data = node->data;
    // The tail keeps pointing at the released node when the queue empties; push() looks at the
    // head alone to decide emptiness, so it is never followed.
    _head = node->next;
    --_count;
    delete node;
    return data;
}

void* KvQueue::push(void* data) {
    auto* node = new KvQueueNode(data, nullptr);
    if (_head == nullptr) {
        _head = node;
    } else {
        _tail->next = node;
    }
    _tail = node;
    ++_count;
    return data;
}

void* KvQueue::pushFront(void* data) {
    auto* node = new KvQueueNode(data, _head);
    if (_head == nullptr) {
        _tail = node;
    }
    _head = node;
    ++_count;
    return data;
}

void* KvQueue::clear() {
    while (_head != nullptr) {
        KvQueueNode* node = _head;
        _head = node->next;
        if (_freeFunc != nullptr) {
            _freeFunc(node->data);
        }
        delete node;
    }
    _tail = nullptr;
    _count = 0;
    return nullptr;
}

int64_t KvQueue::size() {
    return _count;
}
