#pragma once

#include <QThread>

#include <atomic>

// A QThread that can be asked to stop and joined by polling. The loop in run() is expected to
// test isStopped() (or _stopped) and return soon after it turns true. A thread object is used for
// one run: the flag is never cleared.
class KvThread : public QThread {
    Q_OBJECT
public:
    explicit KvThread(QObject* parent = nullptr);

    // Asks the loop to end; returns at once. Called from the owning (usually GUI) thread.
    void stop();
    // Waits, sleeping 1 ms between checks, until the thread has finished.
    void join();
    bool isStopped() const { return _stopped.load(std::memory_order_acquire); }

    static bool isThreadRunning(const KvThread* thread);

protected:
    // Written by the owning thread through stop(), read by the running thread.
    std::atomic<bool> _stopped{false};

private:
    // Set by the running thread once run() has returned, read by join(). QThread's own end-of-run
    // bookkeeping uses locks that thread checkers cannot see; this flag makes the hand-over of
    // everything run() wrote explicit (see join()).
    std::atomic<bool> _runEnded{false};
};
