#include "KvWaitThread.h"

#include "KvWaitDialog.h"

namespace {
constexpr unsigned long kJoinPollMs = 1;
} // namespace

KvWaitThread::KvWaitThread(KvWaitDialog* dialog, QObject* parent)
    : QThread(parent), _dialog(dialog) {
    // Direct connection: runs on the worker, right after run() has returned.
    connect(
        this, &QThread::finished, this,
        [this] { _runEnded.store(true, std::memory_order_release); }, Qt::DirectConnection);
}

void KvWaitThread::cancel() {
    _cancelled.store(true, std::memory_order_release);
}

void KvWaitThread::join() {
    while (isRunning()) {
        QThread::msleep(kJoinPollMs);
    }
    wait();
    if (isFinished()) {
        // Pairs with the store after run(), in a way ThreadSanitizer sees (QThread's own
        // futex-based locks are invisible to it).
        (void)_runEnded.load(std::memory_order_acquire);
    }
}

void KvWaitThread::run() {
    if (_dialog != nullptr) {
        _dialog->run();
    }
}
