#pragma once

#include "KvFileDialog.h"

#include <QString>
#include <QVector>

// Copies src[i] to dst[i] on the worker thread while the dialog shows its message. Existing
// destinations are never overwritten, missing sources are skipped, and failures are silent: the
// caller compares the file system before and after when it wants to tell the user.
class KvCopyFileDialog : public KvFileDialog {
    Q_OBJECT
public:
    KvCopyFileDialog(QWidget* parent, const QVector<QString>& src, const QVector<QString>& dst);
    ~KvCopyFileDialog() override;

    // The batch; runs on the worker thread and ends by closing the dialog.
    void run() override;

private:
    // Set in the constructor on the GUI thread, only read by the worker afterwards.
    const QVector<QString> _src;
    const QVector<QString> _dst;
};
