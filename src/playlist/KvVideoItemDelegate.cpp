#include "KvVideoItemDelegate.h"

#include "KvVideoItemWidget.h"

#include <QWidget>

KvVideoItemDelegate::KvVideoItemDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

void KvVideoItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    QStyledItemDelegate::paint(painter, option, index);
}

QSize KvVideoItemDelegate::sizeHint(const QStyleOptionViewItem& option,
                                    const QModelIndex& /*index*/) const {
    const int width = option.widget ? option.widget->width() : 0;
    return QSize(width, KvVideoItemWidget::RowHeight);
}
