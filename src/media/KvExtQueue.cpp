#include "KvExtQueue.h"

KvExtQueue::KvExtQueue(void (*freeFunc)(void*)) : _freeFunc(freeFunc) {}

KvExtQueue::~KvExtQueue() {
    clear();
}

void* KvExtQueue::first() {
    return _first != nullptr ? _first->data : nullptr;
}

void* KvExtQueue::last() {
    return _last != nullptr ? _last->data : nullptr;
}

void* KvExtQueue::removeFirst() {
    KvExtQueueNode* node = _first;
    if (node == nullptr) {
        return nullptr;
    }
    void* data = node->data;
    _first = node->next;
    if (_first == nullptr) {
        _last = nullptr;
    }
    delete node;
    return data;
}

void* KvExtQueue::removeLast() {
    KvExtQueueNode* node = _last;
    if (node == nullptr) {
        return nullptr;
    }
    void* data = node->data;
    _last = node->prev;
    if (_last == nullptr) {
        _first = nullptr;
    }
    delete node;
    return data;
}

void* KvExtQueue::pushFirst(void* data) {
    const bool wasEmpty = _first == nullptr;
    _first = new KvExtQueueNode(data, nullptr, _first);
    if (wasEmpty) {
        _last = _first;
    }
    return data;
}

void* KvExtQueue::pushLast(void* data) {
    const bool wasEmpty = _last == nullptr;
    // prev deliberately names the first node, not the former last one.
    _last = new KvExtQueueNode(data, _first, nullptr);
    if (wasEmpty) {
        _first = _last;
    }
    return data;
}

void* KvExtQueue::clear() {
    while (_first != nullptr) {
        KvExtQueueNode* node = _first;
        _first = node->next;
        if (_freeFunc != nullptr) {
            _freeFunc(node->data);
        }
        delete node;
    }
    _last = nullptr;
    _count = 0;
    return nullptr;
}

int64_t KvExtQueue::size() {
    return _count;
}
