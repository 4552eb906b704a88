#include "KvTextFit.h"

#include <QEvent>
#include <QFontMetrics>
#include <QHelpEvent>
#include <QToolTip>
#include <QVector>
#include <QWidget>

#include <algorithm>
#include <cmath>

namespace {

// A font given in points shrinks in steps of this many points; one in pixels by whole pixels.
constexpr double PointStep = 0.5;

int advance(const QString& text, const QFont& font) {
    return QFontMetrics(font).horizontalAdvance(text);
}

// The sizes below font's, largest first, down to MinimumScale of it and never below.
QVector<QFont> smallerFonts(const QFont& font) {
    QVector<QFont> fonts;
    if (font.pixelSize() > 0) {
        const int smallest = int(std::ceil(font.pixelSize() * KvTextFit::MinimumScale));
        for (int size = font.pixelSize() - 1; size >= smallest && size > 0; --size) {
            QFont smaller(font);
            smaller.setPixelSize(size);
            fonts.append(smaller);
        }
        return fonts;
    }
    const double size = font.pointSizeF();
    if (!(size > 0.0)) {
        return fonts;
    }
    const double smallest = size * KvTextFit::MinimumScale;
    for (double step = size - PointStep; step > smallest; step -= PointStep) {
        QFont smaller(font);
        smaller.setPointSizeF(step);
        fonts.append(smaller);
    }
    QFont last(font);
    last.setPointSizeF(smallest);
    fonts.append(last);
    return fonts;
}

// text cut at its end with an ellipsis so that it measures at most width in font. Qt's elision
// works in fractions of a pixel; the whole-pixel measure can come out one wider, so narrow on.
QString elide(const QString& text, const QFont& font, int width) {
    const QFontMetrics metrics(font);
    for (int room = width; room >= 0; --room) {
        const QString cut = metrics.elidedText(text, Qt::ElideRight, room);
        if (metrics.horizontalAdvance(cut) <= width) {
            return cut;
        }
    }
    return QString();
}

} // namespace

KvTextFit KvTextFit::fit(const QString& text, const QFont& font, int width) {
    if (text.isEmpty() || advance(text, font) <= width) {
        return KvTextFit(text, font, false, false);
    }
    const QVector<QFont> fonts = smallerFonts(font);
    for (const QFont& smaller : fonts) {
        if (advance(text, smaller) <= width) {
            return KvTextFit(text, smaller, true, false);
        }
    }
    const QFont smallest = fonts.isEmpty() ? font : fonts.last();
    return KvTextFit(elide(text, smallest, std::max(0, width)), smallest, !fonts.isEmpty(), true);
}

bool KvTextFit::showWholeTextTip(QWidget* widget, QEvent* event, const QString& wholeText) const {
    if (event->type() != QEvent::ToolTip || !reduced() || !widget->toolTip().isEmpty()) {
        return false;
    }
    const auto* help = static_cast<QHelpEvent*>(event);
    QToolTip::showText(help->globalPos(), wholeText, widget, widget->rect());
    return true;
}
