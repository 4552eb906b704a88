#pragma once

#include "KvEntryIndex.h"
#include "KvVideoInfo.h"
#include "KvVideoInfoLoadThread.h"

#include <QHash>
#include <QListWidget>
#include <QSet>

class KvVideoItemWidget;
class QTimer;

// The playlist's rows. Adding a row shows at once what is known without opening the clip; a
// loader thread then completes the rows one by one. Every row is in an index by its clips, which
// follows the rows however they leave the list (removeItem, takeItem, deleting an item, clear).
// The list never takes the keyboard focus, so key presses reach the main window.
//
// Built for thousands of rows (issue 19): every row is as high as the next (uniform item sizes),
// rows can be added in batches with one notification of the model, only the rows on screen have
// their widget shown and placed, and the loader's results are shown a slice at a time.
class KvListWidget : public QListWidget {
    Q_OBJECT
public:
    explicit KvListWidget(QWidget* parent = nullptr);
    ~KvListWidget() override;

    // Adds a row for the entry at the end and queues it for loading its details. Rows staged
    // before go in first.
    KvVideoItemWidget* addItemFast(const KvVideoInfo& info);
    // Rows added together: stageItem() makes a row ready (its widget filled in, its entry in the
    // index, so the duplicate rule already sees it) without touching the list, and
    // commitStaged() appends every staged row with one notification of the model. The view then
    // lays itself out once per batch instead of once per row, which for a list of thousands of
    // rows is the difference between milliseconds and seconds per batch.
    // Staged rows go in at the latest StagedShowMs after the first of them was staged, even when
    // nobody commits them. Clearing the list drops them too.
    void stageItem(const KvVideoInfo& info);
    void commitStaged();
    int stagedCount() const { return _staged.size(); }
    static constexpr int StagedShowMs = 100;
    // The row's widget (KvVideoItemWidget); null for a row that is not in the list.
    QWidget* widgetAt(int row);
    KvVideoItemWidget* rowWidget(QListWidgetItem* item) const;
    QModelIndex itemIndex(QListWidgetItem* item);
    // Takes out (and frees) the rows whose entry equals info.
    void removeItem(const KvVideoInfo& info);
    // Stops, joins and deletes the loader, if any.
    void cancelLoader();
    KvVideoInfoLoadThread* loader() const { return _loader; }

    // The rows by their clips, as they were added.
    const KvEntryIndex& entryIndex() const { return _index; }
    // The topmost of rows at or below row `from`; -1 when there is none.
    int firstRow(const QList<QListWidgetItem*>& rows, int from = 0) const;

signals:
    void onContentMenuEvent(QListWidgetItem* item);
    // A row was completed with its loaded details; emitted on the GUI thread.
    void onItemUpdated(KvVideoItemWidget* widget);

protected:
    void focusInEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    // The view's layout and scroll steps place the widgets of the rows on screen.
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void showEvent(QShowEvent* event) override;

private slots:
    void _onVideoInfoLoaded();
    void _onLoaderFinished();
    void _onRowsAboutToBeRemoved(const QModelIndex& parent, int first, int last);
    void _onModelAboutToBeReset();

private:
    QSize _rowSizeHint() const;
    void _startLoader();
    // Gives the row its widget, shown once the row is on screen.
    void _attach(QListWidgetItem* item, KvVideoItemWidget* widget);
    // Hides a removed row's widget and deletes it later.
    void _release(KvVideoItemWidget* widget);
    // Shows and places the widgets of the rows on screen, hides the others shown before.
    void _placeRowWidgets();
    // _placeRowWidgets in the next turn of the event loop, once.
    void _schedulePlacement();

    void _ensureLoader();

    // The most one turn of the event loop spends showing loaded rows.
    static constexpr int LoadedSliceMs = 8;

    KvVideoInfoLoadThread* _loader; // child of the list; null until the first row
    // Rows the loader has finished and the list has not shown yet, oldest first.
    QList<KvVideoInfoLoadThread::Job> _loaded;
    bool _loadedPosted = false; // a call to show more of them is on its way
    KvEntryIndex _index;
    // A row made ready and not yet in the list. Until it goes in, a placeholder item (never in
    // the list) stands for it in the index.
    struct Staged {
        QListWidgetItem* placeholder;
        KvVideoItemWidget* widget; // child of the viewport, hidden until it gets its row
        KvVideoInfo info;
    };
    QList<Staged> _staged;
    QTimer* _commitTimer; // child; commits the staged rows StagedShowMs after the first
    // Every row's widget. The rows do not use the view's own item widgets (setItemWidget): the
    // view places all of those on every layout, which with thousands of rows blocks the GUI
    // thread for a second at a time; the list places only the rows on screen (_placeRowWidgets).
    QHash<QListWidgetItem*, KvVideoItemWidget*> _widgets;
    QSet<KvVideoItemWidget*> _attached; // the widgets of the rows in the list
    QSet<KvVideoItemWidget*> _placed;   // the widgets shown now
    bool _placePosted = false;
};
