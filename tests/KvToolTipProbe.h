#pragma once

// The tool tip a person gets when resting the pointer on a widget, read the way Qt shows it.

#include <QApplication>
#include <QHelpEvent>
#include <QTest>
#include <QToolTip>
#include <QWidget>

// The text of the tool tip widget shows for a rest of the pointer at its centre; empty when it
// shows none. A tip still fading out from before is gone first, so it is not read as this one's.
inline QString toolTipOf(QWidget* widget) {
    QToolTip::hideText();
    if (!QTest::qWaitFor([] { return !QToolTip::isVisible(); })) {
        return QStringLiteral("<an earlier tool tip stayed>");
    }
    const QPoint centre = widget->rect().center();
    QHelpEvent help(QEvent::ToolTip, centre, widget->mapToGlobal(centre));
    QApplication::sendEvent(widget, &help);
    const QString tip = QToolTip::isVisible() ? QToolTip::text() : QString();
    QToolTip::hideText();
    return tip;
}
