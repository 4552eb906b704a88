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

// Which picture a step to a neighbour shows, relative to a time in seconds: the first one that
// starts after it, the last one that starts before it, or the one showing at it (the last that
// starts at or before it).
enum class Target { After, Before, At };
// Where that picture lies: among the cached pictures, before the first of them (the cache must
// be refilled from further back), or after the last (decoding has not reached it yet).
enum class Found { Here, Earlier, Later };

// Looks for the picture target selects relative to time. A picture counts as found only when
// the cache shows it is the right one: for Before and At the picture after it must be cached as
// well, since the decode thread may still be on its way there; with complete (no more pictures
// will come) the last cached one will do. In an empty cache the picture lies later for After and
// earlier otherwise. On Here, *copy is a copy of it for the view.
Found find(MutexQueue& queue, Target target, double time, bool complete, KvYUV420P** copy);
// Frees at most count pictures from the head that start before time, so that the decode thread
// can decode on past a full cache. Returns how many went.
int dropBefore(MutexQueue& queue, double time, int count);

} // namespace KvStepCache
