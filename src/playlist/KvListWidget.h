#pragma once

#include "KvEntryIndex.h"
#include "KvVideoInfo.h"

#include <QListWidget>

class KvVideoInfoLoadThread;
class KvVideoItemWidget;

// The playlist's rows. Adding a row shows at once what is known without opening the clip; a
// loader thread then completes the rows one by one. Every row is in an index by its clips, which
// follows the rows however they leave the list (removeItem, takeItem, deleting an item, clear).
// The list never takes the keyboard focus, so key presses reach the main window.
class KvListWidget : public QListWidget {
    Q_OBJECT
public:
    explicit KvListWidget(QWidget* parent = nullptr);
    ~KvListWidget() override;

    // Adds a row for the entry at the end and queues it for loading its details.
    KvVideoItemWidget* addItemFast(const KvVideoInfo& info);
    QWidget* widgetAt(int row);
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

private slots:
    void _onVideoInfoLoaded();
    void _onLoaderFinished();
    void _onRowsAboutToBeRemoved(const QModelIndex& parent, int first, int last);
    void _onModelAboutToBeReset();

private:
    QSize _rowSizeHint() const;
    void _startLoader();

    KvVideoInfoLoadThread* _loader; // child of the list; null until the first row
    KvEntryIndex _index;
};
