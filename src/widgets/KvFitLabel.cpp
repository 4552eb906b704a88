#include "KvFitLabel.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <QTextDocument>

KvFitLabel::KvFitLabel(QWidget* parent) : QLabel(parent) {}

bool KvFitLabel::_isFittable() const {
    if (!pixmap(Qt::ReturnByValue).isNull() || wordWrap()) {
        return false;
    }
    return textFormat() == Qt::PlainText ||
           (textFormat() == Qt::AutoText && !Qt::mightBeRichText(text()));
}

QRect KvFitLabel::_textRect() const {
    QRect rect = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    // QLabel's own rule: a framed label without an indent of its own is indented by half an x.
    int room = indent();
    if (room < 0 && frameWidth() > 0) {
        room = fontMetrics().horizontalAdvance(QLatin1Char('x')) / 2 - margin();
    }
    if (room > 0) {
        const Qt::Alignment align = QStyle::visualAlignment(layoutDirection(), alignment());
        if (align & Qt::AlignLeft) {
            rect.setLeft(rect.left() + room);
        }
        if (align & Qt::AlignRight) {
            rect.setRight(rect.right() - room);
        }
    }
    return rect;
}

KvTextFit KvFitLabel::shownText() const {
    if (!_isFittable()) {
        return KvTextFit::fit(text(), font(), QWIDGETSIZE_MAX);
    }
    return KvTextFit::fit(text(), font(), _textRect().width());
}

void KvFitLabel::paintEvent(QPaintEvent* event) {
    const KvTextFit shown = shownText();
    if (!shown.reduced()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    painter.setFont(shown.font());
    QStyleOption option;
    option.initFrom(this);
    const int flags = int(QStyle::visualAlignment(layoutDirection(), alignment()));
    style()->drawItemText(&painter, _textRect(), flags, option.palette, isEnabled(), shown.text(),
                          foregroundRole());
}

bool KvFitLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && shownText().showWholeTextTip(this, event, text())) {
        return true;
    }
    return QLabel::event(event);
}
