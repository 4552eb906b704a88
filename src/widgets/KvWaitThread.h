#pragma once

#include <QThread>

#include <atomic>

class KvWaitDialog;

// The worker of a KvWaitDialog: runs the dialog's run() off the GUI thread. Created, cancelled,
// joined and destroyed by the dialog on the GUI thread.
class KvWaitThread : public QThread {
    Q_OBJECT
public:
    explicit KvWaitThread(KvWaitDialog* dialog, QObject* parent = nullptr);

    void cancel();
    bool isCancelled() const { return _cancelled.load(std::memory_order_acquire); }
    // Waits, sleeping 1 ms between checks, until the worker has finished.
    void join();

protected:
    void run() override;

private:
    KvWaitDialog* _dialog; // not owned; outlives the worker
    // Set by the GUI thread, polled by the work running on this thread.
    std::atomic<bool> _cancelled{false};
    // Set by the worker once run() has returned, read by join(): the visible hand-over of what
    // the work wrote to the GUI thread that then destroys the worker.
    std::atomic<bool> _runEnded{false};
};
