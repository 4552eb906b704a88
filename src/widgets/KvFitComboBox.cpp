#include "KvFitComboBox.h"

#include <QEvent>
#include <QStyleOptionComboBox>
#include <QStylePainter>

KvFitComboBox::KvFitComboBox(QWidget* parent) : QComboBox(parent) {}

KvTextFit KvFitComboBox::shownText() const {
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const int room =
        style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this)
            .width();
    return KvTextFit::fit(currentText(), font(), room);
}

void KvFitComboBox::paintEvent(QPaintEvent* event) {
    const KvTextFit shown = shownText();
    if (isEditable() || !shown.reduced()) {
        QComboBox::paintEvent(event);
        return;
    }
    // As the box paints itself: the frame and arrow, then the entry, fitted.
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    option.currentText = shown.text();
    option.fontMetrics = QFontMetrics(shown.font());
    painter.setFont(shown.font());
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

bool KvFitComboBox::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && !isEditable() &&
        shownText().showWholeTextTip(this, event, currentText())) {
        return true;
    }
    return QComboBox::event(event);
}
