#include "KvThread.h"

namespace {
// Polling interval of join(): short enough that stopping feels immediate.
constexpr unsigned long kJoinPollMs = 1;
} // namespace

KvThread::KvThread(QObject* parent) : QThread(parent) {}

void KvThread::stop() {
    _stopped.store(true, std::memory_order_release);
}

void KvThread::join() {
    while (isRunning()) {
        QThread::msleep(kJoinPollMs);
    }
    // Returns at once for a finished thread; it pairs the end of run() with this thread under
    // QThread's own lock, so whatever run() wrote is visible to the caller.
    wait();
}

bool KvThread::isThreadRunning(const KvThread* thread) {
    return thread != nullptr && thread->isRunning();
}
