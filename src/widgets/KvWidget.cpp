#include "KvWidget.h"

#include <QPainter>

KvWidget::KvWidget(QWidget* parent) : QWidget(parent) {}

void KvWidget::setBackgroundColor(const QColor& color) {
    _backgroundColor = color;
    update();
}

void KvWidget::setBackgroundColor(int rgb, int alpha) {
    setBackgroundColor(_colorFromInt(rgb, alpha));
}

void KvWidget::setBorderWidth(int width) {
    _borderWidth = width;
    update();
}

void KvWidget::setBorderRadius(int radius) {
    _borderRadius = radius;
    update();
}

void KvWidget::setBorderColor(const QColor& color) {
    _borderColor = color;
    update();
}

void KvWidget::setBorder(int width, int radius, int rgb, int alpha) {
    setBorder(width, radius, _colorFromInt(rgb, alpha));
}

void KvWidget::setBorder(int width, int radius, const QColor& color) {
    _borderWidth = width;
    _borderRadius = radius;
    _borderColor = color;
    update();
}

QColor KvWidget::_colorFromInt(int rgb, int alpha) {
    // QColor rejects an alpha outside 0..255 with a warning and keeps it opaque; clamp instead.
    return QColor((rgb >> 16) & 0xff, (rgb >> 8) & 0xff, rgb & 0xff, qBound(0, alpha, 255));
}

void KvWidget::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    const QRectF shape(0, 0, width(), height());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::transparent);
    painter.setBrush(QBrush(_backgroundColor));
    painter.drawRoundedRect(shape, _borderRadius, _borderRadius, Qt::AbsoluteSize);

    if (_borderWidth > 0) {
        painter.setPen(QPen(_borderColor, _borderWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(shape, _borderRadius, _borderRadius, Qt::AbsoluteSize);
    }
}
