#pragma once

#include "KvVideoInfo.h"

#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QUrl>
#include <QWidget>

class KvAlertDialog;
class KvListWidget;
class QAction;
class QListWidgetItem;
class QMenu;

// The playlist panel. It turns clip files into entries, pairing each front-camera clip with its
// rear partner, keeps one XML file per entry in the playlist folder so the list survives
// restarts, offers the list's context menu, and finds the previous and next entry. GUI thread.
class KvVideoListWidget : public QWidget {
    Q_OBJECT
public:
    explicit KvVideoListWidget(QWidget* parent = nullptr);

    void loadPlayList();

    // The pairing rules. A front clip lies in a folder whose path ends with "F", a rear clip in
    // one ending with "R"; the partner lies in the sibling folder named exactly "R" or "F".
    static bool isSupportsFile(const QString& path);
    static bool isFrontVideo(const QString& path);
    static bool isRearVideo(const QString& path);
    static QString findOtherVideo(const QString& path);
    // Builds the entry of the clip at path, front clip first, named after the clip given.
    // Always 0: callers treat a negative result as "not a recording".
    static int convertFile(const QString& path, KvVideoInfo* info);
    // The scanners' narrower, case-sensitive test: ".mp4", ".MP4", ".avi", ".AVI", ".mov" or
    // ".MOV" exactly (so CLIP.Mp4 is supported but never found by a scan, on purpose).
    static bool isScannedFile(const QString& name);
    // Folders a scan never enters: names ending with "." or starting with "$".
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
    // A whole folder tree, on the calling thread. cancel is looked at only on entry to the top
    // folder.
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
    // The entry file an entry is saved as: named by its identifier.
    static QString entryFilePath(const KvVideoInfo& info);

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

public slots:
    void onDoubleClickListWidgetItem(const QModelIndex& index);
    void onListWidgetContentMenuEvent(QListWidgetItem* item);
    void onPopMenuTriggered(QAction* action);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    bool _isSpecialDirectory(const QFileInfo& info);
    void _addDirDepth(const QDir& dir, bool save, QSet<QString>& visited);
    KvVideoInfo _entryAt(int row) const;
    int _findRow(const KvVideoInfo& info) const;
    int _findDuplicateRow(const KvVideoInfo& info) const;
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
    // Where a removed entry's file is deleted: named by the entry's name, not its identifier.
    static QString _removedEntryFilePath(const KvVideoInfo& info);

    KvListWidget* _list;
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
