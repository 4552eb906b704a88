#include "KvStepCache.h"

#include "KvLogCategories.h"
#include "KvPictureConverter.h"
#include "KvYUV420P.h"
#include "MutexQueue.h"

#include "KvPlayerTiming.h"

namespace KvStepCache {

KvYUV420P* stepForward(MutexQueue& queue, double cursor, double* next) {
    KvYUV420P* copy = nullptr;
    *next = -1.0;
    queue.lock();
    for (KvQueueNode* node = queue.headNode(); node != nullptr; node = node->next) {
        const auto* picture = static_cast<const KvYUV420P*>(node->data);
        const auto* following =
            node->next != nullptr ? static_cast<const KvYUV420P*>(node->next->data) : nullptr;
        if (picture->time == cursor ||
            (picture->time <= cursor && following != nullptr && following->time > cursor)) {
            copy = KvPictureConverter::copy(picture);
            *next = following != nullptr ? following->time : -1.0;
            break;
        }
    }
    queue.unlock();
    return copy;
}

KvYUV420P* stepBackward(MutexQueue& queue, double cursor, double* previousTime) {
    KvYUV420P* copy = nullptr;
    *previousTime = -1.0;
    qCDebug(kvMedia, "frameTime = %lf", cursor);
    queue.lock();
    const KvYUV420P* previous = nullptr;
    for (KvQueueNode* node = queue.headNode(); node != nullptr; node = node->next) {
        const auto* picture = static_cast<const KvYUV420P*>(node->data);
        qCDebug(kvMedia, "now time = %lf", picture->time);
        const bool exact = picture->time == cursor;
        const bool straddles =
            previous != nullptr && picture->time >= cursor && cursor > previous->time;
        if (exact || straddles) {
            copy = KvPictureConverter::copy(picture);
            *previousTime = previous != nullptr ? previous->time : -1.0;
            if (exact) {
                qCDebug(kvMedia, "last frame time = %lf", *previousTime);
            } else {
                qCDebug(kvMedia, "center frame time = %lf", *previousTime);
            }
            break;
        }
        previous = picture;
    }
    queue.unlock();
    if (copy == nullptr) {
        qCDebug(kvMedia, "not find");
    }
    return copy;
}

namespace {

const KvYUV420P* pictureOf(const KvQueueNode* node) {
    return node != nullptr ? static_cast<const KvYUV420P*>(node->data) : nullptr;
}

// The node of the picture target selects; null when no cached picture qualifies.
const KvQueueNode* select(const KvQueueNode* head, Target target, double time) {
    using KvPlayerTiming::kTimeEpsilon;
    const KvQueueNode* chosen = nullptr;
    for (const KvQueueNode* node = head; node != nullptr; node = node->next) {
        const double start = pictureOf(node)->time;
        if (target == Target::After) {
            if (start > time + kTimeEpsilon) {
                return node;
            }
        } else if (target == Target::Before ? start < time - kTimeEpsilon
                                            : start <= time + kTimeEpsilon) {
            chosen = node;
        } else {
            break; // the cache is in time order: nothing later qualifies
        }
    }
    return chosen;
}

} // namespace

Found find(MutexQueue& queue, Target target, double time, bool complete, KvYUV420P** copy) {
    *copy = nullptr;
    std::lock_guard<MutexQueue> guard(queue);
    const KvQueueNode* node = select(queue.headNode(), target, time);
    if (node == nullptr) {
        // Nothing after time is decoded yet, or nothing at or before it is cached any more.
        return target == Target::After ? Found::Later : Found::Earlier;
    }
    if (target != Target::After && node->next == nullptr && !complete) {
        return Found::Later;
    }
    *copy = KvPictureConverter::copy(pictureOf(node));
    return Found::Here;
}

int dropBefore(MutexQueue& queue, double time, int count) {
    int dropped = 0;
    for (; dropped < count; ++dropped) {
        queue.lock();
        const KvYUV420P* head = pictureOf(queue.headNode());
        const bool old = head != nullptr && head->time < time - KvPlayerTiming::kTimeEpsilon;
        queue.unlock();
        // Only the GUI thread takes pictures out while the player is paused: the head checked
        // is the head popped.
        if (!old) {
            break;
        }
        KvYUVDataFree(static_cast<KvYUV420P*>(queue.pop()));
    }
    return dropped;
}

} // namespace KvStepCache
