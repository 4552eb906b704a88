#pragma once

#include <QStyledItemDelegate>

// A delegate with the playlist's fixed row height. The list does not install it; rows get their
// height from their size hints.
class KvVideoItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    explicit KvVideoItemDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
