#include "KvSlider.h"

#include <QMouseEvent>
#include <QSignalBlocker>
#include <QWheelEvent>

#include <cstdlib>

namespace {

// A press closer than this (in value units) to the current value is taken as grabbing the
// handle, and starts a drag instead of a jump.
constexpr qint64 kJumpThreshold = 10;

const char* const kStyleSheet =
    "QSlider{background:rgba(0,0,0,0.0);border:0px;}"
    "QSlider::add-page:Horizontal{"
    "background:qlineargradient(spread:pad,x1:0,y1:0,x2:1,y2:0,stop:0 #888888,stop:1 #888888);"
    "height:2px;border-radius:1px;}"
    "QSlider::sub-page:Horizontal{"
    "background:qlineargradient(spread:pad,x1:0,y1:0,x2:1,y2:0,stop:0 #f18d02,stop:1 #f18d02);"
    "height:2px;border-radius:1px;}"
    "QSlider::groove:Horizontal{background:transparent;height:3px;}"
    "QSlider::handle:Horizontal,QSlider::handle:horizontal:hover{"
    "background-image:url(:resources/slider_normal.png);"
    "width:11px;margin-top:-5px;margin-bottom:-3px;border-radius:2px;}";

} // namespace

KvSlider::KvSlider(QWidget* parent) : QSlider(parent) {
    installEventFilter(this);
    setStyleSheet(kStyleSheet);
}

float KvSlider::getProgress(int value) const {
    const qint64 range = qint64(maximum()) - minimum();
    if (range == 0) {
        return 0.0f;
    }
    return static_cast<float>(qint64(value) - minimum()) / static_cast<float>(range);
}

float KvSlider::getCurrentProgress() const {
    return getProgress(value());
}

void KvSlider::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void KvSlider::mousePressEvent(QMouseEvent* event) {
    _pressed = true;
    QSlider::mousePressEvent(event);
}

void KvSlider::mouseMoveEvent(QMouseEvent* event) {
    QSlider::mouseMoveEvent(event);
}

void KvSlider::mouseReleaseEvent(QMouseEvent* event) {
    _pressed = false;
    // The slider reports every release itself, exactly once, also the release of a jump press
    // that QSlider never saw. QSlider's own release handling still runs, silenced, so that it
    // ends its drag: otherwise it believes the handle is still down and never announces the
    // next press (tst_kvslider's everyPressAndReleaseIsAnnouncedOnce).
    {
        const QSignalBlocker silenced(this);
        QSlider::mouseReleaseEvent(event);
    }
    emit sliderReleased();
}

bool KvSlider::eventFilter(QObject* watched, QEvent* event) {
    if (watched == this && event->type() == QEvent::MouseButtonPress) {
        if (_jumpTo(static_cast<QMouseEvent*>(event))) {
            return true;
        }
    }
    return QSlider::eventFilter(watched, event);
}

bool KvSlider::_jumpTo(const QMouseEvent* event) {
    const qint64 span = width();
    if (span <= 0) {
        return false; // nothing to map a position onto
    }
    // 64-bit so that a wide range times a position cannot overflow.
    const qint64 x = qRound(event->localPos().x());
    const qint64 target = minimum() + ((qint64(maximum()) - minimum()) * x) / span;
    if (std::llabs(target - value()) <= kJumpThreshold) {
        return false; // on or near the handle: let the press start a drag
    }
    setValue(static_cast<int>(qBound<qint64>(minimum(), target, maximum())));
    // No drag starts, but the user pressed the slider all the same: listeners that hold their
    // updates while the slider is pressed hear of it, as they hear of its release.
    emit sliderPressed();
    return true;
}
