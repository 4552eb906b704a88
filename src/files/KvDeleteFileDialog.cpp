#include "KvDeleteFileDialog.h"

#include "KvLanguage.h"
#include "KvLogCategories.h"

#include <QFile>

KvDeleteFileDialog::KvDeleteFileDialog(QWidget* parent, const QVector<QString>& files)
    : KvFileDialog(parent), _files(files) {
    setMessage(KvLanguage::kvtr("deleting_file"));
}

KvDeleteFileDialog::~KvDeleteFileDialog() {
    // The worker reads the list: it is joined before it goes.
    cancel();
}

void KvDeleteFileDialog::run() {
    for (const QString& path : _files) {
        if (!QFile::remove(path)) {
            qCDebug(kvFiles, "remove %s failed\npermissions = %x", qUtf8Printable(path),
                    static_cast<unsigned>(QFile::permissions(path)));
        }
    }
    _finishBatch();
}
