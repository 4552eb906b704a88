#pragma once

#include <QDialog>

#include <atomic>

class KvWaitThread;

// A modal dialog whose work runs on a worker thread. A subclass overrides run(); the caller calls
// start() and then exec(). run() polls isCancelled() and ends with dismiss(), which closes the
// dialog on the GUI thread through a queued signal.
class KvWaitDialog : public QDialog {
    Q_OBJECT
public:
    explicit KvWaitDialog(QWidget* parent = nullptr);
    ~KvWaitDialog() override;

    // The work; runs on the worker thread.
    virtual void run();

    // Cancels and joins any previous worker, then starts a new one. GUI thread.
    void start();
    // Cancels, joins and destroys the worker. GUI thread.
    void cancel();
    // True when there is no worker or the worker was cancelled. Safe from the worker.
    bool isCancelled() const;
    // Closes the dialog; called by run() from the worker when the work is done.
    void dismiss();

signals:
    void _close();

public slots:
    void onClose();

private:
    void _destroyThread();

    // Owned; created and destroyed on the GUI thread. The worker reads the pointer through
    // isCancelled() while it runs, and the GUI thread replaces it only after the worker has been
    // joined, so an atomic pointer is enough.
    std::atomic<KvWaitThread*> _thread{nullptr};
};
