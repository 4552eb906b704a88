#pragma once

#include "KvFileDialog.h"

#include <QString>
#include <QVector>

// Deletes a list of files on the worker thread while the dialog shows its message. A file that
// cannot be removed is logged with its permissions and the batch goes on.
class KvDeleteFileDialog : public KvFileDialog {
    Q_OBJECT
public:
    KvDeleteFileDialog(QWidget* parent, const QVector<QString>& files);
    ~KvDeleteFileDialog() override;

    // The batch; runs on the worker thread and ends by closing the dialog.
    void run() override;

private:
    // Set in the constructor on the GUI thread, only read by the worker afterwards.
    const QVector<QString> _files;
};
