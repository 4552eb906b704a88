#include "KvFFPlayerThread.h"

#include "KvFFPlayer.h"

#include <QThread>

namespace {

// Every wait of the player is a short sleep of this length.
constexpr unsigned long kPollMs = 1;

// The worker running on this thread, if any.
thread_local const KvThread* tl_worker = nullptr;

} // namespace

bool kvWorkerStopped() {
    return tl_worker != nullptr && tl_worker->isStopped();
}

void kvSleepPoll() {
    QThread::msleep(kPollMs);
}

void KvFFPlayerThread::run() {
    tl_worker = this;
    _work();
    tl_worker = nullptr;
    _finished.store(true, std::memory_order_release);
}

void KvFFPlayerThread::stopAndDelete(KvFFPlayerThread* thread) {
    if (thread == nullptr) {
        return;
    }
    thread->stop();
    thread->join();
    // Pairs with the release at the end of run(): everything the worker did happens before the
    // object goes away.
    while (thread->isFinished() && !thread->_finished.load(std::memory_order_acquire)) {
        QThread::msleep(kPollMs);
    }
    delete thread;
}

void KvDecodeThread::_work() {
    player->_doDecode();
}

void KvVideoThread::_work() {
    player->_doPlayVideo();
}

void KvAudioThread::_work() {
    player->_doPlayAudio();
}
