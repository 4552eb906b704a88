#include "KvAddFileDialog.h"

#include "KvCameraPairing.h"
#include "KvFolderWalk.h"
#include "KvLanguage.h"
#include "KvRowFeeder.h"
#include "KvVideoListWidget.h"

#include <QCloseEvent>
#include <QThread>

KvAddFileDialog::KvAddFileDialog(KvVideoListWidget* listWidget, const QString& dirPath)
    : KvProgressDialog(nullptr), _listWidget(listWidget), _dirPath(dirPath),
      _feeder(new KvRowFeeder(
          [this](const QString& path) {
              // A clip the walk was handing over just as the dialog closed comes too late.
              if (!_cancelled) {
                  _addNow(path);
              }
          },
          this)) {
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);
    setWindowTitle(KvLanguage::kvtr("adding_files"));
    // Direct: the slot decides by its thread whether the clip is added now or queued for a slice.
    connect(this, &KvAddFileDialog::addFileSignal, this, &KvAddFileDialog::addFileSlot,
            Qt::DirectConnection);
    // The rows of one slice go into the list together. Their entry files are written in the
    // background, and rows are added only while the writing keeps up, so that the files on the
    // disk stay close behind the rows on screen.
    _feeder->setBatchHooks([this] { _listWidget->beginBatch(true); },
                           [this](bool more) { _listWidget->endBatch(!more); });
    _feeder->setReadyTest([this] { return _listWidget->canSaveMore(); });
    connect(_feeder, &KvRowFeeder::drained, this, &KvAddFileDialog::_finishIfDone);
    connect(_listWidget, &KvVideoListWidget::entrySaved, this, [this] {
        _feeder->wake();
        _finishIfDone();
    });
}

KvAddFileDialog::~KvAddFileDialog() {
    _cancelled = true;
    // The worker calls back into this dialog and its feeder: it ends before they go.
    cancel();
}

void KvAddFileDialog::run() {
    _messageClock.invalidate();
    addDirectory(QDir(_dirPath));
    // The dialog closes on the GUI thread once the rows found are in the list as well.
    QMetaObject::invokeMethod(this, &KvAddFileDialog::_onWalkEnded, Qt::QueuedConnection);
}

void KvAddFileDialog::addDirectory(const QDir& dir) {
    KvFolderWalk walk([this](const QString& path) {
        _showProgress(path);
        emit addFileSignal(path);
    });
    walk.setFolderEntered([this](const QString& folder) { _showProgress(folder); });
    walk.setCancelTest([this] { return _isWalkCancelled(); });
    walk.walk(dir);
}

bool KvAddFileDialog::isSpecialDirectory(const QFileInfo& info) {
    return KvCameraPairing::isSpecialDirectory(info);
}

int KvAddFileDialog::waitingClips() const {
    return _feeder->waiting();
}

void KvAddFileDialog::addFileSlot(const QString& path) {
    if (QThread::currentThread() == thread()) {
        // Clips queued earlier come first.
        _feeder->drainAll();
        _addNow(path);
    } else if (!_cancelled) {
        _feeder->push(path);
    }
}

void KvAddFileDialog::reject() {
    // Escape, the close button and the caller's reject() all end up here.
    _stopAdding();
    KvProgressDialog::reject();
}

void KvAddFileDialog::closeEvent(QCloseEvent* event) {
    _stopAdding();
    // Joins the worker, which sees the flag before its next entry.
    cancel();
    KvProgressDialog::closeEvent(event);
}

void KvAddFileDialog::_stopAdding() {
    _cancelled = true;
    // The clips found and not yet added are dropped; the rows added (and saved) so far show now,
    // so that nothing changes in the list after the close.
    _feeder->clear();
    _listWidget->showWaitingRows();
}

bool KvAddFileDialog::_isWalkCancelled() const {
    if (_cancelled.load()) {
        return true;
    }
    // The wait dialog's own cancel (start() again, or the dialog going away) stops the worker
    // too. Off the worker there is no such flag to look at.
    return QThread::currentThread() != thread() && isCancelled();
}

void KvAddFileDialog::_showProgress(const QString& path) {
    if (_messageClock.isValid() && _messageClock.elapsed() < MessageEveryMs) {
        return;
    }
    _messageClock.start();
    postMessage(path);
}

void KvAddFileDialog::_addNow(const QString& path) {
    KvVideoInfo info;
    KvCameraPairing::convertFile(path, &info);
    _listWidget->addFile(info, true);
}

void KvAddFileDialog::_onWalkEnded() {
    _walkEnded = true;
    _finishIfDone();
}

void KvAddFileDialog::_finishIfDone() {
    if (_walkEnded && !_cancelled && _feeder->isIdle() && _listWidget->savesPending() == 0) {
        dismiss();
    }
}
