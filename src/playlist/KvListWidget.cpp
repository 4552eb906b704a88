#include "KvListWidget.h"

#include "KvVideoInfoLoadThread.h"
#include "KvVideoItemWidget.h"

#include <QContextMenuEvent>
#include <QCursor>
#include <QScrollBar>

#include <algorithm>

namespace {
const char* const ListStyle =
    "QListView::item {border: 1px solid #dddddd; background:#dddddd;}"
    "                QListView::item:hover {background:#eeeeee;}"
    "                 QListView::item:selected {border: 1px solid #eeeeee; background:#eeeeee;}"
    "                 QListView::item:selected:!active {background:#eeeeee;}"
    "                 QListView::item:selected:active {background:#eeeeee;}";
} // namespace

KvListWidget::KvListWidget(QWidget* parent) : QListWidget(parent), _loader(nullptr) {
    setStyleSheet(QLatin1String(ListStyle));
    connect(model(), &QAbstractItemModel::rowsAboutToBeRemoved, this,
            &KvListWidget::_onRowsAboutToBeRemoved);
    connect(model(), &QAbstractItemModel::modelAboutToBeReset, this,
            &KvListWidget::_onModelAboutToBeReset);
}

KvListWidget::~KvListWidget() {
    cancelLoader();
    // The model empties itself while the base class is destroyed, after the index is gone.
    disconnect(model(), nullptr, this, nullptr);
}

KvVideoItemWidget* KvListWidget::addItemFast(const KvVideoInfo& info) {
    auto* item = new QListWidgetItem();
    item->setSizeHint(_rowSizeHint());
    auto* widget = new KvVideoItemWidget(this);
    widget->setVideoInfo(info);
    widget->updateByVideoInfo(info);
    addItem(item);
    setItemWidget(item, widget);
    _index.insert(item, info);

    if (!_loader) {
        _loader = new KvVideoInfoLoadThread(this);
        connect(_loader, &KvVideoInfoLoadThread::videoInfoLoaded, this,
                &KvListWidget::_onVideoInfoLoaded, Qt::QueuedConnection);
        connect(_loader, &QThread::finished, this, &KvListWidget::_onLoaderFinished);
    }
    _loader->addItemWidget(widget);
    _startLoader();
    return widget;
}

QWidget* KvListWidget::widgetAt(int row) {
    return itemWidget(item(row));
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
    if (!_loader) {
        return;
    }
    for (const KvVideoInfoLoadThread::Job& job : _loader->takeLoaded()) {
        // The row may have been removed while its clips were being read.
        if (!job.widget) {
            continue;
        }
        job.widget->videoInfo() = job.info;
        job.widget->updateByVideoInfo(job.info, job.thumb);
        emit onItemUpdated(job.widget.data());
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
        _index.remove(item(r));
    }
}

void KvListWidget::_onModelAboutToBeReset() {
    _index.clear();
}

QSize KvListWidget::_rowSizeHint() const {
    return QSize(width() - verticalScrollBar()->width(), KvVideoItemWidget::RowHeight);
}

void KvListWidget::_startLoader() {
    if (!_loader->isRunning() && !_loader->isStopped()) {
        // Joining the ended run first (at once) orders it before the next one.
        _loader->join();
        _loader->start();
    }
}
