#include "KvRecordingOpener.h"

#include "KvAddFileDialog.h"
#include "KvFilePickerDialog.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvLogCategories.h"
#include "KvVideoInfo.h"
#include "KvVideoListWidget.h"

#include <QDir>
#include <QFileInfo>

KvRecordingOpener::KvRecordingOpener(KvVideoListWidget* list) : _list(list) {}

bool KvRecordingOpener::pickAndAdd(QWidget* parent, KvVideoInfo* toPlay) {
    KvFilePickerDialog picker(parent);
    if (picker.showModes() != 1) {
        return false;
    }
    const int type = picker.getType();
    const QString path = picker.getSelectedPath();
    qCDebug(kvApp) << "type = " << type << ", path = " << path;
    return addPicked(type, path, toPlay);
}

bool KvRecordingOpener::addPicked(int type, const QString& path, KvVideoInfo* toPlay) {
    switch (type) {
    case PickedFile:
        _list->addFile(path, true);
        if (KvVideoListWidget::convertFile(path, toPlay) >= 0) {
            _list->setCurrentItem(path);
            return true;
        }
        break;
    case PickedDirectory: {
        const int rowsBefore = _list->listWidget()->count();
        _list->addDir(path, true);
        // A folder holds its clips directly; but when the user picked a card's root folder
        // (its clips lie in DCIM/...), finding nothing there would look broken: scan it as the
        // card it is.
        if (_list->listWidget()->count() == rowsBefore &&
            KvFileUtils::isSDCard(QFileInfo(QDir(path).absolutePath() + QLatin1Char('/')))) {
            _scanFolder(path);
        }
        break;
    }
    case PickedDrive:
        _scanFolder(path);
        break;
    default:
        break;
    }
    return false;
}

void KvRecordingOpener::addDropped(const QList<QUrl>& urls) {
    _list->addFiles(urls, true);
    // A dropped folder (a card, or a copy of one) adds the recordings inside it.
    for (const QUrl& url : urls) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) {
            _scanFolder(url.toLocalFile());
        }
    }
}

void KvRecordingOpener::_scanFolder(const QString& path) {
    KvAddFileDialog dialog(_list, path);
    dialog.start();
    dialog.exec();
}
