#include "KvWaitDialog.h"

#include "KvLogCategories.h"
#include "KvWaitThread.h"

KvWaitDialog::KvWaitDialog(QWidget* parent) : QDialog(parent) {
    // Automatic connection: dismiss() is called on the worker, so the close is queued to the GUI
    // thread, where the dialog lives.
    connect(this, &KvWaitDialog::_close, this, &KvWaitDialog::onClose);
}

KvWaitDialog::~KvWaitDialog() {
    // Destroying a QThread that still runs aborts the process, and the worker calls back into this
    // dialog; so a worker that is still busy is cancelled and joined before it goes. A subclass
    // whose run() uses the subclass's own members calls cancel() in its own destructor, before
    // those members are gone.
    _destroyThread();
}

void KvWaitDialog::run() {
    qCDebug(kvWidgets, "KvWaitDialog run");
}

void KvWaitDialog::start() {
    _destroyThread();
    auto* thread = new KvWaitThread(this);
    _thread.store(thread, std::memory_order_release);
    thread->start(QThread::InheritPriority);
}

void KvWaitDialog::cancel() {
    _destroyThread();
}

bool KvWaitDialog::isCancelled() const {
    const KvWaitThread* thread = _thread.load(std::memory_order_acquire);
    return thread == nullptr || thread->isCancelled();
}

void KvWaitDialog::dismiss() {
    emit _close();
}

void KvWaitDialog::onClose() {
    accept();
}

void KvWaitDialog::_destroyThread() {
    KvWaitThread* thread = _thread.load(std::memory_order_acquire);
    if (thread == nullptr) {
        return;
    }
    thread->cancel();
    thread->join();
    _thread.store(nullptr, std::memory_order_release);
    delete thread;
}
