#include "KvAddFileDialog.h"

#include "KvCameraPairing.h"
#include "KvFolderWalk.h"
#include "KvLanguage.h"
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
    KvFolderWalk walk([this](const QString& path) {
        postMessage(path);
        emit addFileSignal(path);
    });
    walk.setFolderEntered([this](const QString& folder) { postMessage(folder); });
    walk.setCancelTest([this] { return _cancelled.load(); });
    walk.walk(dir);
}

bool KvAddFileDialog::isSpecialDirectory(const QFileInfo& info) {
    return KvCameraPairing::isSpecialDirectory(info);
}

void KvAddFileDialog::addFileSlot(const QString& path) {
    KvVideoInfo info;
    KvCameraPairing::convertFile(path, &info);
    _listWidget->addFile(info, true);
}

void KvAddFileDialog::closeEvent(QCloseEvent* event) {
    _cancelled = true;
    cancel();
    KvProgressDialog::closeEvent(event);
}
