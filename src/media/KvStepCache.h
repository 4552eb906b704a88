#pragma once

class KvYUV420P;
class MutexQueue;

// Single-picture steps inside the pictures a paused player core keeps decoded ahead (its picture
// queue, in time order). A step shows a copy of a cached picture; the cache itself stays whole,
// so stepping back and forth costs no decoding. The queue is locked while it is searched.
namespace KvStepCache {

// The picture showing at cursor (the one at that time, or the last one before it when the next
// starts after it): a copy of it, and in *next the time of the picture after it (-1 when it is the
// last cached one). Null when no cached picture shows at cursor.
KvYUV420P* stepForward(MutexQueue& queue, double cursor, double* next);
// The picture at cursor, or the first one after it when cursor falls between two: a copy of it,
// and in *previous the time of the picture before it (-1 when it is the first cached one). Null
// when none is found (the cursor lies outside the cache).
KvYUV420P* stepBackward(MutexQueue& queue, double cursor, double* previous);

} // namespace KvStepCache
