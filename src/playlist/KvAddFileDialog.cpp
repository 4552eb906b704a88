#include "KvAddFileDialog.h"

#include "KvLanguage.h"
#include "KvLogCategories.h"
#include "KvVideoListWidget.h"

#include <QCloseEvent>

KvAddFileDialog::KvAddFileDialog(KvVideoListWidget* listWidget, const QString& dirPath)
    : KvProgressDialog(nullptr), _listWidget(listWidget), _dirPath(dirPath) {
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);
    setWindowTitle(KvLanguage::kvtr("adding_files"));
    connect(this, &KvAddFileDialog::addFileSignal, this, &KvAddFileDialog::addFileSlot);
}

void KvAddFileDialog::run() {
    _cancelled = false;
    addDirectory(QDir(_dirPath));
    dismiss();
}

void KvAddFileDialog::addDirectory(const QDir& dir) {
    QSet<QString> visited;
    _addDirectory(dir, visited);
}

void KvAddFileDialog::_addDirectory(const QDir& dir, QSet<QString>& visited) {
    if (_cancelled) {
        return;
    }
    // A symbolic link back up the tree would otherwise make the walk endless.
    const QString canonical = dir.canonicalPath();
    if (canonical.isEmpty() || visited.contains(canonical)) {
        return;
    }
    visited.insert(canonical);
    postMessage(dir.absolutePath());
    const QFileInfoList entries =
        dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System, QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        if (_cancelled) {
            return;
        }
        if (entry.isDir()) {
            if (!isSpecialDirectory(entry)) {
                _addDirectory(QDir(entry.absoluteFilePath()), visited);
            }
        } else if (KvVideoListWidget::isScannedFile(entry.fileName())) {
            const QString path = entry.absoluteFilePath();
            postMessage(path);
            qCDebug(kvPlaylist) << "add file -> " << path;
            emit addFileSignal(path);
        }
    }
}

bool KvAddFileDialog::isSpecialDirectory(const QFileInfo& info) {
    return KvVideoListWidget::isSpecialDirectory(info);
}

void KvAddFileDialog::addFileSlot(const QString& path) {
    KvVideoInfo info;
    KvVideoListWidget::convertFile(path, &info);
    _listWidget->addFile(info, true);
}

void KvAddFileDialog::closeEvent(QCloseEvent* event) {
    _cancelled = true;
    cancel();
    KvProgressDialog::closeEvent(event);
}
