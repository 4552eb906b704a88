#include "KvThread.h"

namespace {
// Polling interval of join(): short enough that stopping feels immediate.
constexpr unsigned long kJoinPollMs = 1;
} // namespace

KvThread::KvThread(QObject* parent) : QThread(parent) {
    // Direct connection: runs on the worker, right after run() has returned.
    connect(
        this, &QThread::finished, this,
        [this] { _runEnded.store(true, std::memory_order_release); }, Qt::DirectConnection);
}

void KvThread::stop() {
    _stopped.store(true, std::memory_order_release);
}

void KvThread::join() {
    while (isRunning()) {
        QThread::msleep(kJoinPollMs);
    }
    // Returns at once for a finished thread.
    wait();
    if (isFinished()) {
        // Pairs with the store after run(): whatever run() wrote is now visible to the caller, in
        // a way ThreadSanitizer sees too (QThread's futex-based locks are invisible to it).
        (void)_runEnded.load(std::memory_order_acquire);
    }
}

bool KvThread::isThreadRunning(const KvThread* thread) {
    return thread != nullptr && thread->isRunning();
}
