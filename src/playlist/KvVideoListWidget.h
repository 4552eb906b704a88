#pragma once

#include "KvPlaylistStore.h"
#include "KvVideoInfo.h"

#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QWidget>

class KvAlertDialog;
class KvEntryWriter;
class KvListWidget;
class KvRowFeeder;
class QAction;
class QFontMetrics;
class QListWidgetItem;
class QMenu;

// The playlist panel. It turns clip files into entries, pairing each front-camera clip with its
// rear partner (KvCameraPairing), walks folder trees for clips (KvFolderWalk), keeps one XML file
// per entry in the playlist folder so the list survives restarts (KvPlaylistStore), offers the
// list's context menu, and finds the previous and next entry through the rows' index
// (KvListWidget::entryIndex). GUI thread.
class KvVideoListWidget : public QWidget {
    Q_OBJECT
public:
    explicit KvVideoListWidget(QWidget* parent = nullptr);

    // Fills the list from the playlist folder: the entry files are listed at once and read and
    // added a few at a time, one slice per turn of the event loop (KvRowFeeder), so a window with
    // thousands of saved entries shows at once and its rows follow; their details follow the
    // rows (the loader).
    void loadPlayList();
    // Rows added between beginBatch() and the matching endBatch() go into the list together at
    // the end (KvListWidget::stageItem): the duplicate rule and the entry files work as for
    // single adds, only the rows show at the end. Batches nest. With showNow false the rows may
    // wait for the next batch, KvListWidget::StagedShowMs at most, so that a run of short batches
    // (one per turn of the event loop) lays out and repaints the list a few times a second
    // rather than on every turn.
    // With saveInBackground, the entry files of the batch's rows are written on a thread of
    // their own (KvEntryWriter) instead of before each row shows; a caller adding rows by the
    // thousand adds them only while canSaveMore(), and savesPending() tells when all are saved.
    void beginBatch(bool saveInBackground = false);
    void endBatch(bool showNow = true);
    bool canSaveMore() const;
    int savesPending() const;
    // Shows at once the rows a batch left waiting (endBatch with showNow false).
    void showWaitingRows();
    // True while saved entries are still waiting to be added.
    bool isLoadingPlayList() const;
    // Adds every saved entry still waiting, now.
    void finishLoadingPlayList();

    // The pairing rules, as KvCameraPairing gives them.
    static bool isSupportsFile(const QString& path);
    static bool isFrontVideo(const QString& path);
    static bool isRearVideo(const QString& path);
    static QString findOtherVideo(const QString& path);
    static int convertFile(const QString& path, KvVideoInfo* info);
    static bool isScannedFile(const QString& name);
    static bool isSpecialDirectory(const QFileInfo& info);

    void addFile(const QString& path, bool save);
    void addFile(const QUrl& url, bool save);
    void addFile(const KvVideoInfo& info, bool save);
    void addFiles(const QList<KvVideoInfo>& infos, bool save);
    void addFiles(const QStringList& paths, bool save);
    void addFiles(const QList<QUrl>& urls, bool save);
    // The clips directly inside one folder; sub-folders are not entered.
    void addDir(const QString& path, bool save);
    void addDir(const QDir& dir, bool save);
    void addDrive(const QDir& dir, bool save);
    // A whole folder tree, on the calling thread, staying on the folder's file system
    // (KvFolderWalk); the rows show when the walk ends. cancel is looked at before every entry,
    // at any depth (a callback of the caller's may set it). The scan dialog (KvAddFileDialog)
    // walks on a worker thread instead and keeps the window responsive.
    void addDirDepth(const QDir& dir, bool save, bool* cancel);

    void reloadLanguage();

    void setCurrentItem(const QString& path);
    void setCurrentItem(const KvVideoInfo& info);
    KvVideoInfo& getCurrentItem();
    // The entry above / below the first row equal to info; empty at either end, when not found,
    // or with fewer than two rows. No wrap-around.
    KvVideoInfo findPrevVideoInfo(const KvVideoInfo& info);
    KvVideoInfo findNextVideoInfo(const KvVideoInfo& info);

    KvListWidget* listWidget() const { return _list; }
    QMenu* popMenu() const { return _popMenu; }
    QAction* openInExploreAction() const { return _openInExploreAction; }
    QAction* removeAction() const { return _removeAction; }
    QAction* removeInvalidFilesAction() const { return _removeInvalidFilesAction; }
    QAction* clearPlaylistAction() const { return _clearPlaylistAction; }
    QAction* copyToFolderAction() const { return _copyToFolderAction; }
    QAction* exportTrackAction() const { return _exportTrackAction; }
    QAction* deleteFilesAction() const { return _deleteFilesAction; }
    // The alert that shows the last batch's summary while it is up, or null.
    KvAlertDialog* summaryAlert() const;
    // The entry file an entry is saved as: named by its identifier (KvPlaylistStore).
    static QString entryFilePath(const KvVideoInfo& info);
    // The summary's line that says where "copy_to_folder" put the copies: the translated
    // "copy_location" with the folder, elided in its middle to fit width pixels if it must be.
    static QString copyLocationText(const QString& folder, const QFontMetrics& metrics, int width);

signals:
    void onAddVideoInfo(const KvVideoInfo& info);
    void onDoubleClickVideoInfo(KvVideoInfo& info);
    void onDeleteVideoInfo(const KvVideoInfo& info);
    // The user confirmed deleting these entries' clips; emitted directly, before any file is
    // deleted, so that a listener playing one of them can stop it first.
    void onBeforeDeleteFiles(const QList<KvVideoInfo>& entries);
    // A copy or delete batch ended; summary is the line shown to the user.
    void onFileBatchFinished(const QString& summary);
    // The user asked to export these entries' GPS tracks (the context row, or the selection).
    void onExportTrackRequested(const QList<KvVideoInfo>& entries);
    // The last saved entry of loadPlayList() is in the list.
    void playListLoaded();
    // An entry file written in the background is on the disk (savesPending is one less).
    void entrySaved();

public slots:
    void onDoubleClickListWidgetItem(const QModelIndex& index);
    void onListWidgetContentMenuEvent(QListWidgetItem* item);
    void onPopMenuTriggered(QAction* action);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    bool _isSpecialDirectory(const QFileInfo& info);
    KvVideoInfo _entryAt(int row) const;
    // The first row, at or below row `from`, whose entry equals info; -1 when there is none.
    int _findRow(const KvVideoInfo& info, int from) const;
    // Makes the row current, copying its entry; nothing happens for -1.
    void _makeCurrent(int row);
    void _buildPopMenu(QListWidgetItem* item);
    void _openInExplore();
    void _removeContextEntry();
    void _removeInvalidFiles();
    void _clearPlaylist();
    // The entries a copy or delete acts on: the selected rows when the context row is one of
    // them, otherwise the context row alone.
    QList<KvVideoInfo> _contextEntries() const;
    void _copyContextEntries();
    void _deleteContextEntries();
    bool _confirmDelete(int clips, qint64 bytes);
    void _removeDeletedEntries(const QList<KvVideoInfo>& entries);
    void _showBatchSummary(const QString& summary);
    // Every clip of the entries, each path once.
    static QVector<QString> _clipPaths(const QList<KvVideoInfo>& entries);

    KvListWidget* _list;
    KvRowFeeder* _playListFeeder; // child; the saved entry files still to read and add
    KvPlaylistStore _store;       // the user's playlist folder
    int _batchDepth = 0;
    bool _saveInBackground = false; // for the batch open now
    KvEntryWriter* _writer;         // child
    KvVideoInfo _current;
    QListWidgetItem* _contextItem;
    QMenu* _popMenu;
    QAction* _openInExploreAction;
    QAction* _removeAction;
    QAction* _removeInvalidFilesAction;
    QAction* _clearPlaylistAction;
    QAction* _copyToFolderAction;
    QAction* _deleteFilesAction;
    QAction* _exportTrackAction;
    QPointer<KvAlertDialog> _summaryAlert; // child; deletes itself when it closes
};
