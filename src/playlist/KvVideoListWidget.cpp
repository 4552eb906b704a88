#include "KvVideoListWidget.h"

#include "KvAlertDialog.h"
#include "KvCameraPairing.h"
#include "KvEntryWriter.h"
#include "KvFileBatch.h"
#include "KvFolderWalk.h"
#include "KvLanguage.h"
#include "KvListWidget.h"
#include "KvPlaylistStore.h"
#include "KvRowFeeder.h"
#include "KvVideoItemWidget.h"

#include <QAction>
#include <QCursor>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFontMetrics>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QResizeEvent>

#include <algorithm>

namespace {
const char* const PopMenuStyle =
    "QMenu{background-color: #989898;border: 0px solid white;color:white;}\n"
    " QMenu::item{background-color: transparent;padding:4px 20px;margin:0px 0px;"
    "border-bottom:1px solid #DBDBDB;}\n"
    "QMenu::item:selected { background-color: #2dabf9;}";

// How long the summary of a copy or delete stays up.
constexpr int SummaryShownMs = 6000;
// The width a line of the summary may take in its alert (KvAlertDialog: 320 pixels wide).
constexpr int SummaryTextWidth = 300;
} // namespace

KvVideoListWidget::KvVideoListWidget(QWidget* parent)
    : QWidget(parent), _list(new KvListWidget(this)),
      _playListFeeder(new KvRowFeeder(
          [this](const QString& file) { addFile(KvPlaylistStore::read(file), false); }, this)),
      _contextItem(nullptr), _popMenu(nullptr),
      _openInExploreAction(new QAction(KvLanguage::kvtr("open_in_explore"), this)),
      _removeAction(new QAction(KvLanguage::kvtr("remove"), this)),
      _removeInvalidFilesAction(new QAction(KvLanguage::kvtr("remove_invalid_files"), this)),
      _clearPlaylistAction(new QAction(KvLanguage::kvtr("clear_playlist"), this)),
      _copyToFolderAction(new QAction(KvLanguage::kvtr("copy_to_folder"), this)),
      _deleteFilesAction(new QAction(KvLanguage::kvtr("delete_files"), this)),
      _exportTrackAction(new QAction(KvLanguage::kvtr("export_gps_track"), this)) {
    // Several recordings can be selected with Ctrl or Shift to copy or delete them at once.
    _list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    _list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    connect(_list, &QAbstractItemView::doubleClicked, this,
            &KvVideoListWidget::onDoubleClickListWidgetItem);
    connect(_list, &KvListWidget::onContentMenuEvent, this,
            &KvVideoListWidget::onListWidgetContentMenuEvent);
    _writer = new KvEntryWriter(_store, this);
    connect(_writer, &KvEntryWriter::written, this, &KvVideoListWidget::entrySaved,
            Qt::QueuedConnection);
    _playListFeeder->setBatchHooks([this] { beginBatch(); },
                                   [this](bool more) { endBatch(!more); });
    connect(_playListFeeder, &KvRowFeeder::drained, this, &KvVideoListWidget::playListLoaded);
    loadPlayList();
}

void KvVideoListWidget::loadPlayList() {
    // An unreadable file gives an entry without clips; it is shown as a row on purpose. A row the
    // user adds meanwhile comes before the saved entries still waiting; a saved entry equal to it
    // is then left out as any duplicate is.
    _playListFeeder->clear();
    _playListFeeder->push(_store.entryFiles());
}

bool KvVideoListWidget::isLoadingPlayList() const {
    return !_playListFeeder->isIdle();
}

void KvVideoListWidget::finishLoadingPlayList() {
    _playListFeeder->drainAll();
}

bool KvVideoListWidget::isSupportsFile(const QString& path) {
    return KvCameraPairing::isSupportsFile(path);
}

bool KvVideoListWidget::isScannedFile(const QString& name) {
    return KvCameraPairing::isScannedFile(name);
}

bool KvVideoListWidget::isFrontVideo(const QString& path) {
    return KvCameraPairing::isFrontVideo(path);
}

bool KvVideoListWidget::isRearVideo(const QString& path) {
    return KvCameraPairing::isRearVideo(path);
}

QString KvVideoListWidget::findOtherVideo(const QString& path) {
    return KvCameraPairing::findOtherVideo(path);
}

int KvVideoListWidget::convertFile(const QString& path, KvVideoInfo* info) {
    return KvCameraPairing::convertFile(path, info);
}

bool KvVideoListWidget::isSpecialDirectory(const QFileInfo& info) {
    return KvCameraPairing::isSpecialDirectory(info);
}

bool KvVideoListWidget::_isSpecialDirectory(const QFileInfo& info) {
    return KvCameraPairing::isSpecialDirectory(info);
}

void KvVideoListWidget::addFile(const QString& path, bool save) {
    KvVideoInfo info;
    KvCameraPairing::convertFile(path, &info);
    addFile(info, save);
}

void KvVideoListWidget::addFile(const QUrl& url, bool save) {
    addFile(url.path(QUrl::FullyDecoded), save);
}

void KvVideoListWidget::addFile(const KvVideoInfo& info, bool save) {
    for (const KvVideo& video : info.videos) {
        if (!KvCameraPairing::isSupportsFile(video.path)) {
            return;
        }
    }
    if (!_list->entryIndex().sameRecording(info).isEmpty()) {
        return;
    }
    if (_batchDepth > 0) {
        _list->stageItem(info);
    } else {
        _list->addItemFast(info);
    }
    if (save) {
        // A failed write is not reported: the row is there for this session either way.
        if (_batchDepth > 0 && _saveInBackground) {
            _writer->enqueue(info);
        } else {
            _store.write(info);
        }
    }
}

void KvVideoListWidget::beginBatch(bool saveInBackground) {
    if (_batchDepth++ == 0) {
        _saveInBackground = saveInBackground;
    }
}

bool KvVideoListWidget::canSaveMore() const {
    return _writer->canTakeMore();
}

int KvVideoListWidget::savesPending() const {
    return _writer->backlog();
}

void KvVideoListWidget::showWaitingRows() {
    if (_batchDepth == 0) {
        _list->commitStaged();
    }
}

void KvVideoListWidget::endBatch(bool showNow) {
    if (_batchDepth > 0 && --_batchDepth == 0 && showNow) {
        _list->commitStaged();
    }
}

void KvVideoListWidget::addFiles(const QList<KvVideoInfo>& infos, bool save) {
    beginBatch();
    for (const KvVideoInfo& info : infos) {
        addFile(info, save);
    }
    endBatch();
}

void KvVideoListWidget::addFiles(const QStringList& paths, bool save) {
    beginBatch();
    for (const QString& path : paths) {
        addFile(path, save);
    }
    endBatch();
}

void KvVideoListWidget::addFiles(const QList<QUrl>& urls, bool save) {
    beginBatch();
    for (const QUrl& url : urls) {
        addFile(url, save);
    }
    endBatch();
}

void KvVideoListWidget::addDir(const QString& path, bool save) {
    addDir(QDir(path), save);
}

void KvVideoListWidget::addDir(const QDir& dir, bool save) {
    if (!dir.exists()) {
        return;
    }
    const QFileInfoList entries =
        dir.entryInfoList(QDir::Files | QDir::NoSymLinks | QDir::Hidden, QDir::Unsorted);
    beginBatch();
    for (const QFileInfo& entry : entries) {
        if (KvCameraPairing::isScannedFile(entry.fileName())) {
            addFile(entry.absoluteFilePath(), save);
        }
    }
    endBatch();
}

void KvVideoListWidget::addDrive(const QDir& dir, bool save) {
    addDirDepth(dir, save, nullptr);
}

void KvVideoListWidget::addDirDepth(const QDir& dir, bool save, bool* cancel) {
    KvFolderWalk walk([this, save](const QString& path) { addFile(path, save); });
    // The flag is looked at before every entry at any depth, so closing the progress dialog
    // stops even a walk deep inside a large tree at once.
    walk.setCancelTest([cancel] { return cancel && *cancel; });
    beginBatch();
    walk.walk(dir);
    endBatch();
}

void KvVideoListWidget::reloadLanguage() {
    _openInExploreAction->setText(KvLanguage::kvtr("open_in_explore"));
    _removeAction->setText(KvLanguage::kvtr("remove"));
    _removeInvalidFilesAction->setText(KvLanguage::kvtr("remove_invalid_files"));
    _clearPlaylistAction->setText(KvLanguage::kvtr("clear_playlist"));
    _copyToFolderAction->setText(KvLanguage::kvtr("copy_to_folder"));
    _deleteFilesAction->setText(KvLanguage::kvtr("delete_files"));
    _exportTrackAction->setText(KvLanguage::kvtr("export_gps_track"));
}

void KvVideoListWidget::setCurrentItem(const QString& path) {
    _makeCurrent(_list->firstRow(_list->entryIndex().withFirstClip(path)));
}

void KvVideoListWidget::setCurrentItem(const KvVideoInfo& info) {
    _makeCurrent(_findRow(info, 0));
}

KvVideoInfo& KvVideoListWidget::getCurrentItem() {
    return _current;
}

KvVideoInfo KvVideoListWidget::findPrevVideoInfo(const KvVideoInfo& info) {
    if (_list->count() < 2) {
        return KvVideoInfo();
    }
    // Looked for from the second row on: the first row has nothing above it.
    const int row = _findRow(info, 1);
    return row >= 1 ? _entryAt(row - 1) : KvVideoInfo();
}

KvVideoInfo KvVideoListWidget::findNextVideoInfo(const KvVideoInfo& info) {
    if (_list->count() < 2) {
        return KvVideoInfo();
    }
    const int row = _findRow(info, 0);
    if (row < 0 || row + 1 >= _list->count()) {
        return KvVideoInfo();
    }
    return _entryAt(row + 1);
}

QString KvVideoListWidget::entryFilePath(const KvVideoInfo& info) {
    return KvPlaylistStore().entryFilePath(info);
}

void KvVideoListWidget::onDoubleClickListWidgetItem(const QModelIndex& index) {
    auto* widget = qobject_cast<KvVideoItemWidget*>(_list->widgetAt(index.row()));
    if (widget) {
        emit onDoubleClickVideoInfo(widget->videoInfo());
    }
}

void KvVideoListWidget::onListWidgetContentMenuEvent(QListWidgetItem* item) {
    _buildPopMenu(item);
    _popMenu->exec(QCursor::pos());
}

void KvVideoListWidget::_buildPopMenu(QListWidgetItem* item) {
    delete _popMenu;
    _popMenu = new QMenu(this);
    _popMenu->setStyleSheet(QLatin1String(PopMenuStyle));
    if (item) {
        _popMenu->addAction(_openInExploreAction);
        _popMenu->addAction(_removeAction);
    }
    _popMenu->addAction(_removeInvalidFilesAction);
    _popMenu->addAction(_clearPlaylistAction);
    if (item) {
        _popMenu->addAction(_copyToFolderAction);
        _popMenu->addAction(_deleteFilesAction);
        _popMenu->addAction(_exportTrackAction);
    }
    _contextItem = item;
    connect(_popMenu, &QMenu::triggered, this, &KvVideoListWidget::onPopMenuTriggered);
}

void KvVideoListWidget::onPopMenuTriggered(QAction* action) {
    if (action == _openInExploreAction) {
        _openInExplore();
    } else if (action == _removeAction) {
        _removeContextEntry();
    } else if (action == _removeInvalidFilesAction) {
        _removeInvalidFiles();
    } else if (action == _clearPlaylistAction) {
        _clearPlaylist();
    } else if (action == _copyToFolderAction) {
        _copyContextEntries();
    } else if (action == _deleteFilesAction) {
        _deleteContextEntries();
    } else if (action == _exportTrackAction) {
        // Reading tracks and choosing a file is the window's business; the list only says which.
        const QList<KvVideoInfo> entries = _contextEntries();
        if (!entries.isEmpty()) {
            emit onExportTrackRequested(entries);
        }
    }
}

void KvVideoListWidget::_openInExplore() {
    if (!_contextItem) {
        return;
    }
    auto* widget = _list->rowWidget(_contextItem);
    if (!widget || widget->videoInfo().videos.isEmpty()) {
        return;
    }
    const QString clip = widget->videoInfo().videos.first().path;
    QDesktopServices::openUrl(
        QUrl(QStringLiteral("file:///%1").arg(QFileInfo(clip).absolutePath())));
}

void KvVideoListWidget::_removeContextEntry() {
    if (!_contextItem) {
        return;
    }
    // Entry files still being written in the background are on the disk before any goes.
    _writer->flush();
    auto* widget = _list->rowWidget(_contextItem);
    if (!widget) {
        return;
    }
    const KvVideoInfo info = widget->videoInfo();
    _store.removeByName(info);
    _contextItem = nullptr;
    _list->removeItem(info);
}

void KvVideoListWidget::_removeInvalidFiles() {
    // The saved entries still waiting are looked at too.
    finishLoadingPlayList();
    showWaitingRows();
    _writer->flush();
    QList<KvVideoInfo> kept;
    for (int row = 0; row < _list->count(); ++row) {
        const KvVideoInfo info = _entryAt(row);
        if (info.isValid()) {
            kept.append(info);
        } else {
            _store.removeByName(info);
        }
    }
    // The loader may be working on a row that is about to go.
    _list->cancelLoader();
    _contextItem = nullptr;
    _list->clear();
    addFiles(kept, false);
}

void KvVideoListWidget::_clearPlaylist() {
    _playListFeeder->clear();
    // Nothing written in the background may bring an entry back.
    _writer->dropPending();
    _store.clear();
    _list->cancelLoader();
    _contextItem = nullptr;
    _list->clear();
}

QList<KvVideoInfo> KvVideoListWidget::_contextEntries() const {
    QList<KvVideoInfo> entries;
    if (!_contextItem) {
        return entries;
    }
    if (_contextItem->isSelected()) {
        for (int row = 0; row < _list->count(); ++row) {
            if (_list->item(row)->isSelected()) {
                entries.append(_entryAt(row));
            }
        }
    } else {
        entries.append(_entryAt(_list->row(_contextItem)));
    }
    return entries;
}

QVector<QString> KvVideoListWidget::_clipPaths(const QList<KvVideoInfo>& entries) {
    QVector<QString> paths;
    for (const KvVideoInfo& info : entries) {
        for (const KvVideo& video : info.videos) {
            if (!video.path.isEmpty() && !paths.contains(video.path)) {
                paths.append(video.path);
            }
        }
    }
    return paths;
}

void KvVideoListWidget::_copyContextEntries() {
    const QVector<QString> src = _clipPaths(_contextEntries());
    if (src.isEmpty()) {
        return;
    }
    QFileDialog chooser(this, KvLanguage::kvtr("copy_to_folder"));
    chooser.setFileMode(QFileDialog::Directory);
    chooser.setOption(QFileDialog::ShowDirsOnly, true);
    if (chooser.exec() != QDialog::Accepted || chooser.selectedFiles().isEmpty()) {
        return;
    }
    const QString folder = QDir(chooser.selectedFiles().first()).absolutePath();
    // The copies keep their card's layout (DCIM/F, DCIM/R, ...) and their times, so the folder
    // opens and pairs as the card does. The copy dialog itself copies to whatever destinations it
    // is given.
    const QVector<QString> dst = KvFileBatch::cardLayoutDestinations(src, folder);
    KvFileBatch::makeDestinationFolders(dst);
    KvFileBatch batch = KvFileBatch::runCopy(this, src, dst);
    batch.keepModificationTimes();
    _showBatchSummary(batch.summary() + QLatin1Char('\n') +
                      copyLocationText(folder, fontMetrics(), SummaryTextWidth));
}

QString KvVideoListWidget::copyLocationText(const QString& folder, const QFontMetrics& metrics,
                                            int width) {
    const QString path = QDir::toNativeSeparators(folder);
    QString text = KvLanguage::kvtr(QStringLiteral("copy_location"));
    if (!text.contains(QLatin1String("%1"))) {
        // No language installed: the key and the folder.
        text = QStringLiteral("%1: %2").arg(text, path);
        return text;
    }
    // The folder elided in its middle, if it must be, so that its beginning and its own name
    // show: the name whole when it fits on its own.
    const int room = std::max(width - metrics.horizontalAdvance(text.arg(QString())), 0);
    if (metrics.horizontalAdvance(path) <= room) {
        return text.arg(path);
    }
    const QString separator = QDir::toNativeSeparators(QStringLiteral("/"));
    const int cut = path.lastIndexOf(separator);
    const QString name = path.mid(cut);
    const int nameWidth = metrics.horizontalAdvance(name);
    const QString head = path.left(cut);
    // The beginning keeps at least a quarter of the room, or the whole path is elided evenly.
    if (cut > 0 && nameWidth <= room * 3 / 4) {
        return text.arg(metrics.elidedText(head, Qt::ElideRight, room - nameWidth) + name);
    }
    return text.arg(metrics.elidedText(path, Qt::ElideMiddle, room));
}

void KvVideoListWidget::_deleteContextEntries() {
    const QList<KvVideoInfo> entries = _contextEntries();
    const QVector<QString> files = _clipPaths(entries);
    if (files.isEmpty()) {
        return;
    }
    int clips = 0;
    qint64 bytes = 0;
    for (const QString& path : files) {
        const QFileInfo info(path);
        if (info.isFile()) {
            ++clips;
            bytes += info.size();
        }
    }
    if (!_confirmDelete(clips, bytes)) {
        return;
    }
    // Whoever plays one of these recordings stops it before its files go.
    emit onBeforeDeleteFiles(entries);
    _writer->flush();
    KvFileBatch batch = KvFileBatch::runDelete(this, files);
    _removeDeletedEntries(entries);
    _showBatchSummary(batch.summary());
}

bool KvVideoListWidget::_confirmDelete(int clips, qint64 bytes) {
    QMessageBox box(this);
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(KvLanguage::kvtr("delete_files"));
    box.setText(
        KvLanguage::kvtr("delete_confirm").arg(clips).arg(QLocale().formattedDataSize(bytes)));
    QPushButton* deleteButton = box.addButton(KvLanguage::kvtr("delete"), QMessageBox::AcceptRole);
    QPushButton* cancelButton = box.addButton(KvLanguage::kvtr("cancel"), QMessageBox::RejectRole);
    // Nothing is deleted by pressing Return without reading.
    box.setDefaultButton(cancelButton);
    box.setEscapeButton(cancelButton);
    box.exec();
    return box.clickedButton() == deleteButton;
}

void KvVideoListWidget::_removeDeletedEntries(const QList<KvVideoInfo>& entries) {
    for (const KvVideoInfo& info : entries) {
        const bool anyLeft =
            std::any_of(info.videos.begin(), info.videos.end(),
                        [](const KvVideo& v) { return QFileInfo::exists(v.path); });
        if (anyLeft || info.videos.isEmpty()) {
            continue;
        }
        // Its recording is gone: the entry's file goes too, so it does not return at the next
        // start.
        _store.remove(info);
        _contextItem = nullptr;
        _list->removeItem(info);
    }
}

KvAlertDialog* KvVideoListWidget::summaryAlert() const {
    return _summaryAlert.data();
}

void KvVideoListWidget::_showBatchSummary(const QString& summary) {
    emit onFileBatchFinished(summary);
    KvAlertDialog::replaceShown(_summaryAlert, this, summary, SummaryShownMs);
}

void KvVideoListWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    _list->setGeometry(0, 0, width(), height());
}

KvVideoInfo KvVideoListWidget::_entryAt(int row) const {
    auto* widget = qobject_cast<KvVideoItemWidget*>(_list->widgetAt(row));
    return widget ? widget->videoInfo() : KvVideoInfo();
}

int KvVideoListWidget::_findRow(const KvVideoInfo& info, int from) const {
    return _list->firstRow(_list->entryIndex().equalTo(info), from);
}

void KvVideoListWidget::_makeCurrent(int row) {
    if (row < 0) {
        return;
    }
    _current = _entryAt(row);
    _list->setCurrentRow(row);
}
