#include "KvWaitThread.h"

#include "KvWaitDialog.h"

namespace {
constexpr unsigned long kJoinPollMs = 1;
} // namespace

KvWaitThread::KvWaitThread(KvWaitDialog* dialog, QObject* parent)
    : QThread(parent), _dialog(dialog) {}

void KvWaitThread::cancel() {
    _cancelled.store(true, std::memory_order_release);
}

void KvWaitThread::join() {
    while (isRunning()) {
        QThread::msleep(kJoinPollMs);
    }
    wait();
}

void KvWaitThread::run() {
    if (_dialog != nullptr) {
        _dialog->run();
    }
}
