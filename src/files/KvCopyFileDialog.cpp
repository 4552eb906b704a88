#include "KvCopyFileDialog.h"

#include "KvLogCategories.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {
// Read and write for owner, user, group and others, so that copies taken off a card can be
// edited and deleted by anyone, whatever the card's file system reported.
constexpr QFile::Permissions CopyPermissions = QFile::Permissions(0x6666);
} // namespace

KvCopyFileDialog::KvCopyFileDialog(QWidget* parent, const QVector<QString>& src,
                                   const QVector<QString>& dst)
    : KvFileDialog(parent), _src(src), _dst(dst) {}

KvCopyFileDialog::~KvCopyFileDialog() {
    // The worker reads the lists: it is joined before they go.
    cancel();
}

void KvCopyFileDialog::run() {
    qCDebug(kvFiles, "KvCopyFileDialog run");
    const int n = std::min(_src.size(), _dst.size());
    for (int i = 0; i < n; ++i) {
        const QString& from = _src.at(i);
        const QString& to = _dst.at(i);
        if (!QFile::exists(from) || QFile::exists(to)) {
            continue;
        }
        const QString folder = QFileInfo(to).absolutePath();
        if (!QDir(folder).exists()) {
            // One level only: a destination whose parent is missing too is not copied.
            QDir().mkdir(folder);
        }
        // QFile::copy writes into a temporary file beside the destination and renames it at the
        // end, so a copy that fails (full disk, source gone) leaves no file of the destination's
        // name behind.
        QFile::copy(from, to);
        QFile::setPermissions(to, CopyPermissions);
    }
    _finishBatch();
}
