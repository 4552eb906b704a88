#pragma once

// Answers to dialogs, choosers and menus that a test opens through a blocking call: the answer
// is queued before the call and runs from the call's own event loop once the widget shows.

#include <QApplication>
#include <QMenu>
#include <QTimer>
#include <QWidget>

#include <functional>

// Runs answer on the widget find returns, once it is visible; polled every 20 ms.
inline void answerWhenShown(std::function<QWidget*()> find, std::function<void(QWidget*)> answer) {
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer, find, answer] {
        QWidget* widget = find();
        if (widget && widget->isVisible()) {
            timer->stop();
            timer->deleteLater();
            answer(widget);
        }
    });
    timer->start();
}

// Answers the next modal dialog.
inline void answerModal(std::function<void(QWidget*)> answer) {
    answerWhenShown([] { return QApplication::activeModalWidget(); }, std::move(answer));
}

// Answers the next popup menu.
inline void answerWhenPopup(std::function<void(QMenu*)> answer) {
    answerWhenShown([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); },
                    [answer](QWidget* menu) { answer(static_cast<QMenu*>(menu)); });
}
