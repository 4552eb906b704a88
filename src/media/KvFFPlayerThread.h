#pragma once

#include "KvThread.h"

#include <atomic>

class KvFFPlayer;

// A worker of one player core. run() does the player's work and then releases _finished, which
// joinAndDelete() acquires before destroying the object: QThread ends a thread and wakes its
// waiters through locks that ThreadSanitizer cannot see.
class KvFFPlayerThread : public KvThread {
public:
    explicit KvFFPlayerThread(KvFFPlayer* player) : player(player) {}
    // Stops, joins and destroys the thread; harmless for null.
    static void stopAndDelete(KvFFPlayerThread* thread);

protected:
    void run() final;
    virtual void _work() = 0;

    KvFFPlayer* player;

private:
    std::atomic<bool> _finished{false};
};

class KvDecodeThread : public KvFFPlayerThread {
public:
    using KvFFPlayerThread::KvFFPlayerThread;

protected:
    void _work() override;
};

class KvVideoThread : public KvFFPlayerThread {
public:
    using KvFFPlayerThread::KvFFPlayerThread;

protected:
    void _work() override;
};

class KvAudioThread : public KvFFPlayerThread {
public:
    using KvFFPlayerThread::KvFFPlayerThread;

protected:
    void _work() override;
};

// Whether the player worker running on the calling thread has been asked to stop (false on any
// other thread), so that the player's loops can see their own stop flag.
bool kvWorkerStopped();
// The player's short wait, one poll interval.
void kvSleepPoll();
