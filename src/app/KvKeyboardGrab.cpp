#include "KvKeyboardGrab.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <QWindow>

KvKeyboardGrab::KvKeyboardGrab(QWidget* window) : QObject(window), _window(window) {
    // Space and Escape work wherever the focus is: the window takes every key event.
    _window->grabKeyboard();
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::focusWindowChanged, this, &KvKeyboardGrab::_scheduleUpdate);
}

bool KvKeyboardGrab::isHeld() const {
    return QWidget::keyboardGrabber() == _window;
}

bool KvKeyboardGrab::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if ((type != QEvent::Show && type != QEvent::Hide) || !watched->isWidgetType()) {
        return false;
    }
    auto* widget = static_cast<QWidget*>(watched);
    // Tool tips never take the keyboard; the window's own showing changes nothing by itself.
    if (!widget->isWindow() || widget == _window || widget->windowType() == Qt::ToolTip) {
        return false;
    }
    if (type == QEvent::Show && (widget->isModal() || widget->windowType() == Qt::Popup)) {
        // Now, before the dialog or popup takes its own grab: releasing later would end that.
        _release();
    }
    _scheduleUpdate();
    return false;
}

void KvKeyboardGrab::_scheduleUpdate() {
    if (_updatePending) {
        return;
    }
    _updatePending = true;
    QTimer::singleShot(0, this, [this] {
        _updatePending = false;
        _update();
    });
}

void KvKeyboardGrab::_update() {
    if (!_windowInFront()) {
        _release();
    } else if (!isHeld()) {
        _window->grabKeyboard();
    }
}

void KvKeyboardGrab::_release() {
    if (isHeld()) {
        _window->releaseKeyboard();
    }
}

bool KvKeyboardGrab::_windowInFront() const {
    const QWindow* handle = _window->windowHandle();
    return handle != nullptr && _window->isVisible() && QGuiApplication::focusWindow() == handle &&
           QGuiApplication::modalWindow() == nullptr &&
           QApplication::activePopupWidget() == nullptr;
}
