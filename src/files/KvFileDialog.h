#pragma once

#include "KvProgressDialog.h"

#include <atomic>

// The base of the batch file dialogs: a progress dialog saying that files are being copied,
// whose subclass's run() carries out one batch on the wait dialog's worker thread. A batch cannot
// be stopped half-way, so while it runs the window stays up: closing it or pressing Escape waits
// for the batch's own dismissal instead of hiding a dialog whose work goes on.
class KvFileDialog : public KvProgressDialog {
    Q_OBJECT
public:
    explicit KvFileDialog(QWidget* parent = nullptr);

    // True once run() has finished its batch. Safe from any thread.
    bool isBatchDone() const { return _batchDone.load(std::memory_order_acquire); }

public slots:
    void reject() override;

protected:
    // Ends a batch: marks it done, then closes the dialog from the worker.
    void _finishBatch();

private:
    // Written by the worker when its batch ends, read by the GUI thread.
    std::atomic<bool> _batchDone{false};
};
