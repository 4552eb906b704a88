#include "KvListWidget.h"

#include "KvVideoInfoLoadThread.h"
#include "KvVideoItemWidget.h"

#include <QContextMenuEvent>
#include <QCursor>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>

namespace {
const char* const ListStyle =
    "QListView::item {border: 1px solid #dddddd; background:#dddddd;}"
    "                QListView::item:hover {background:#eeeeee;}"
    "                 QListView::item:selected {border: 1px solid #eeeeee; background:#eeeeee;}"
    "                 QListView::item:selected:!active {background:#eeeeee;}"
    "                 QListView::item:selected:active {background:#eeeeee;}";
} // namespace

KvListWidget::KvListWidget(QWidget* parent)
    : QListWidget(parent), _loader(nullptr), _commitTimer(new QTimer(this)) {
    setStyleSheet(QLatin1String(ListStyle));
    _commitTimer->setSingleShot(true);
    _commitTimer->setInterval(StagedShowMs);
    connect(_commitTimer, &QTimer::timeout, this, &KvListWidget::commitStaged);
    // Every row is as high as the next (and as wide, the list's width when it was added): the view
    // then lays out thousands of rows without asking each for its size.
    setUniformItemSizes(true);
    connect(model(), &QAbstractItemModel::rowsAboutToBeRemoved, this,
            &KvListWidget::_onRowsAboutToBeRemoved);
    connect(model(), &QAbstractItemModel::modelAboutToBeReset, this,
            &KvListWidget::_onModelAboutToBeReset);
}

KvListWidget::~KvListWidget() {
    cancelLoader();
    for (const Staged& staged : _staged) {
        delete staged.placeholder;
    }
    _staged.clear();
    // The model empties itself while the base class is destroyed, after the index is gone.
    disconnect(model(), nullptr, this, nullptr);
}

KvVideoItemWidget* KvListWidget::addItemFast(const KvVideoInfo& info) {
    commitStaged();
    auto* item = new QListWidgetItem();
    item->setSizeHint(_rowSizeHint());
    auto* widget = new KvVideoItemWidget(viewport());
    widget->setVideoInfo(info);
    widget->updateByVideoInfo(info);
    widget->hide();
    addItem(item);
    _attach(item, widget);
    _index.insert(item, info);

    _ensureLoader();
    _loader->addItemWidget(widget);
    _startLoader();
    return widget;
}

void KvListWidget::stageItem(const KvVideoInfo& info) {
    auto* widget = new KvVideoItemWidget(viewport());
    widget->hide();
    widget->setVideoInfo(info);
    widget->updateByVideoInfo(info);
    // Styled now, inside the caller's time slice, rather than by a polish request that the event
    // loop would handle for every new row at once.
    widget->ensurePolished();
    auto* placeholder = new QListWidgetItem();
    _index.insert(placeholder, info);
    _staged.append(Staged{placeholder, widget, info});
    if (!_commitTimer->isActive()) {
        _commitTimer->start();
    }
}

void KvListWidget::commitStaged() {
    _commitTimer->stop();
    if (_staged.isEmpty()) {
        return;
    }
    const QList<Staged> staged = std::move(_staged);
    _staged.clear();
    const int first = count();
    // One insertion, one rowsInserted: the view lays out once for the whole batch.
    insertItems(first, QVector<QString>(staged.size()).toList());
    const QSize hint = _rowSizeHint();
    _ensureLoader();
    for (int i = 0; i < staged.size(); ++i) {
        const Staged& row = staged.at(i);
        QListWidgetItem* item = this->item(first + i);
        item->setSizeHint(hint);
        _attach(item, row.widget);
        _index.remove(row.placeholder);
        delete row.placeholder;
        _index.insert(item, row.info);
        _loader->addItemWidget(row.widget);
    }
    _startLoader();
}

QWidget* KvListWidget::widgetAt(int row) {
    return rowWidget(item(row));
}

KvVideoItemWidget* KvListWidget::rowWidget(QListWidgetItem* item) const {
    return item ? _widgets.value(item, nullptr) : nullptr;
}

QModelIndex KvListWidget::itemIndex(QListWidgetItem* item) {
    return indexFromItem(item);
}

void KvListWidget::removeItem(const KvVideoInfo& info) {
    // Takes the matching rows as a walk from the top would, taking each match out and going on
    // with the next index: the row that moves up into a taken row's place is not looked at. The
    // list's duplicate rule allows only one matching row anyway.
    QList<int> rows;
    for (QListWidgetItem* item : _index.equalTo(info)) {
        rows.append(row(item));
    }
    std::sort(rows.begin(), rows.end());
    int taken = 0;
    int lastTaken = -2;
    for (const int original : rows) {
        if (original == lastTaken + 1) {
            continue;
        }
        // Nobody keeps a taken row, so it is freed here rather than leaked.
        delete takeItem(original - taken);
        ++taken;
        lastTaken = original;
    }
}

int KvListWidget::firstRow(const QList<QListWidgetItem*>& rows, int from) const {
    int first = -1;
    for (QListWidgetItem* item : rows) {
        const int r = row(item);
        if (r >= from && (first < 0 || r < first)) {
            first = r;
        }
    }
    return first;
}

void KvListWidget::cancelLoader() {
    _loaded.clear();
    if (!_loader) {
        return;
    }
    // Joining a loader that has already ended returns at once, and still orders its last run
    // before the delete.
    _loader->stop();
    _loader->join();
    delete _loader;
    _loader = nullptr;
}

void KvListWidget::focusInEvent(QFocusEvent* /*event*/) {
    clearFocus();
}

void KvListWidget::contextMenuEvent(QContextMenuEvent* /*event*/) {
    const QPoint local = viewport()->mapFromGlobal(QCursor::pos());
    emit onContentMenuEvent(itemAt(local));
}

void KvListWidget::_onVideoInfoLoaded() {
    // The loader may be gone (cancelled) by the time its notice arrives.
    if (_loader) {
        _loaded.append(_loader->takeLoaded());
    }
    // Clips that cannot be read (gone, or not clips at all) come back by the hundred: their rows
    // are shown a slice at a time, like the rows themselves (KvRowFeeder).
    QElapsedTimer clock;
    clock.start();
    while (!_loaded.isEmpty() && clock.elapsed() < LoadedSliceMs) {
        const KvVideoInfoLoadThread::Job job = _loaded.takeFirst();
        // The row may have been removed while its clips were being read; its widget then goes
        // later, or has gone.
        if (!job.widget || !_attached.contains(job.widget.data())) {
            continue;
        }
        job.widget->videoInfo() = job.info;
        job.widget->updateByVideoInfo(job.info, job.thumb);
        emit onItemUpdated(job.widget.data());
    }
    if (!_loaded.isEmpty() && !_loadedPosted) {
        _loadedPosted = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                _loadedPosted = false;
                _onVideoInfoLoaded();
            },
            Qt::QueuedConnection);
    }
}

void KvListWidget::_onLoaderFinished() {
    // A row queued just as the loader found its queue empty would otherwise wait for the next
    // row to be added.
    if (_loader && !_loader->isStopped() && _loader->hasQueuedItems()) {
        _startLoader();
    }
}

void KvListWidget::_onRowsAboutToBeRemoved(const QModelIndex& /*parent*/, int first, int last) {
    for (int r = first; r <= last; ++r) {
        QListWidgetItem* gone = item(r);
        _index.remove(gone);
        _release(_widgets.take(gone));
    }
    // The rows below move up once they are gone.
    _schedulePlacement();
}

void KvListWidget::_onModelAboutToBeReset() {
    _index.clear();
    // Rows on their way in go with the others.
    _commitTimer->stop();
    for (const Staged& staged : qAsConst(_staged)) {
        delete staged.placeholder;
        _release(staged.widget);
    }
    _staged.clear();
    for (KvVideoItemWidget* widget : qAsConst(_widgets)) {
        _release(widget);
    }
    _widgets.clear();
    _attached.clear();
    _placed.clear();
}

void KvListWidget::showEvent(QShowEvent* event) {
    QListWidget::showEvent(event);
    // Rows added while the list was hidden get their widgets placed now.
    _schedulePlacement();
}

void KvListWidget::updateGeometries() {
    QListWidget::updateGeometries();
    _placeRowWidgets();
}

void KvListWidget::scrollContentsBy(int dx, int dy) {
    QListWidget::scrollContentsBy(dx, dy);
    _placeRowWidgets();
}

void KvListWidget::_attach(QListWidgetItem* item, KvVideoItemWidget* widget) {
    _widgets.insert(item, widget);
    _attached.insert(widget);
    // Placed (and shown) once the view has laid the row out and it is on screen.
    _schedulePlacement();
}

void KvListWidget::_schedulePlacement() {
    if (!_placePosted) {
        _placePosted = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                _placePosted = false;
                _placeRowWidgets();
            },
            Qt::QueuedConnection);
    }
}

void KvListWidget::_release(KvVideoItemWidget* widget) {
    if (!widget) {
        return;
    }
    _placed.remove(widget);
    _attached.remove(widget);
    widget->hide();
    // As the view does with a row's widget: it may be in the middle of handling an event.
    widget->deleteLater();
}

void KvListWidget::_placeRowWidgets() {
    // Only the rows on screen have their widget shown and placed: with one widget per row,
    // placing every one on each layout or scroll step would cost the GUI thread a moment per
    // thousand rows. The widgets of the other rows stay hidden where they are.
    QSet<KvVideoItemWidget*> placed;
    const int rows = count();
    if (rows > 0 && isVisible()) {
        const QRect area = viewport()->rect();
        QModelIndex top = indexAt(area.topLeft());
        int first = top.isValid() ? top.row() : 0;
        QModelIndex bottom = indexAt(QPoint(area.left(), area.bottom()));
        int last = bottom.isValid() ? bottom.row() : rows - 1;
        QStyleOptionViewItem option = viewOptions();
        for (int r = first; r <= last && r < rows; ++r) {
            QListWidgetItem* row = item(r);
            KvVideoItemWidget* widget = _widgets.value(row, nullptr);
            if (!widget) {
                continue;
            }
            const QModelIndex index = indexFromItem(row);
            option.rect = visualRect(index);
            if (!option.rect.intersects(area)) {
                continue;
            }
            // Where the view puts a row's widget (QAbstractItemView::updateEditorGeometries).
            itemDelegate(index)->updateEditorGeometry(widget, option, index);
            widget->show();
            placed.insert(widget);
        }
    }
    for (KvVideoItemWidget* widget : qAsConst(_placed)) {
        if (!placed.contains(widget)) {
            widget->hide();
        }
    }
    _placed = placed;
}

QSize KvListWidget::_rowSizeHint() const {
    return QSize(width() - verticalScrollBar()->width(), KvVideoItemWidget::RowHeight);
}

void KvListWidget::_ensureLoader() {
    if (_loader) {
        return;
    }
    _loader = new KvVideoInfoLoadThread(this);
    connect(_loader, &KvVideoInfoLoadThread::videoInfoLoaded, this,
            &KvListWidget::_onVideoInfoLoaded, Qt::QueuedConnection);
    connect(_loader, &QThread::finished, this, &KvListWidget::_onLoaderFinished);
}

void KvListWidget::_startLoader() {
    if (!_loader->isRunning() && !_loader->isStopped()) {
        // Joining the ended run first (at once) orders it before the next one.
        _loader->join();
        _loader->start();
    }
}
