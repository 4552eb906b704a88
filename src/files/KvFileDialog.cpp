#include "KvFileDialog.h"

#include "KvLanguage.h"

KvFileDialog::KvFileDialog(QWidget* parent) : KvProgressDialog(parent) {
    setMessage(KvLanguage::kvtr("copying_file"));
}

void KvFileDialog::reject() {
    // A started batch that is still running cannot be stopped; its dismissal closes the window.
    if (!isCancelled() && !isBatchDone()) {
        return;
    }
    KvProgressDialog::reject();
}

void KvFileDialog::_finishBatch() {
    _batchDone.store(true, std::memory_order_release);
    dismiss();
}
