#include "KvStepCache.h"

#include "KvLogCategories.h"
#include "KvPictureConverter.h"
#include "KvYUV420P.h"
#include "MutexQueue.h"

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

} // namespace KvStepCache
