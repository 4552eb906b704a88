#include "KvAlertDialog.h"

#include "KvLogCategories.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

namespace {
constexpr int kWidth = 320;
constexpr int kHeight = 180;
} // namespace

KvAlertDialog::KvAlertDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint), _contentLabel(new QLabel(this)),
      _closeButton(new QPushButton(this)) {
    resize(kWidth, kHeight);
    setStyleSheet("QDialog{background-color:#2b2b2b;}");

    _contentLabel->setStyleSheet("color:#ffffff;");
    _contentLabel->setAlignment(Qt::AlignCenter);

    _closeButton->setStyleSheet("background:transparent;border:0px;");
    _closeButton->setStyleSheet(
        "QPushButton{border-image: url(:resource/exit_normal.png);}"
        "QPushButton:hover{border-image: url(:resource/exit_hover.png);}"
        "QPushButton:pressed{border-image: url(:resource/exit_pressed.png);}");
    // Keys must not reach the button: Return on a focused dialog button would click it, and the
    // alert is closed only by a click or the timer.
    _closeButton->setFocusPolicy(Qt::NoFocus);
    _closeButton->setAutoDefault(false);
    _closeButton->raise();
    connect(_closeButton, &QPushButton::clicked, this, &KvAlertDialog::onClickCloseButton);
}

KvAlertDialog::~KvAlertDialog() {
    stopTimer();
}

void KvAlertDialog::setContentText(const QString& text) {
    _contentLabel->setText(text);
}

void KvAlertDialog::dismissAfter(int ms) {
    // A second call replaces the pending dismissal instead of leaving two timers running.
    stopTimer();
    _dismissTimer = new QTimer(this);
    // A coarse timer may fire up to 5% early; the alert promises to stay for the whole delay.
    _dismissTimer->setTimerType(Qt::PreciseTimer);
    connect(_dismissTimer, &QTimer::timeout, this, &KvAlertDialog::onDismissTimeOut);
    _dismissTimer->start(ms);
}

void KvAlertDialog::stopTimer() {
    if (_dismissTimer == nullptr) {
        return;
    }
    _dismissTimer->stop();
    // Deferred: stopTimer() also runs inside the timer's own timeout signal.
    _dismissTimer->deleteLater();
    _dismissTimer = nullptr;
}

void KvAlertDialog::onClickCloseButton() {
    qCDebug(kvWidgets, "close accept()");
    accept();
}

void KvAlertDialog::onDismissTimeOut() {
    stopTimer();
    qCDebug(kvWidgets, "close accept()");
    accept();
}

void KvAlertDialog::keyPressEvent(QKeyEvent* event) {
    // Consumed without closing: Escape and Return leave the alert open on purpose.
    qCDebug(kvWidgets, "Alert %d", event->key());
    event->accept();
}

void KvAlertDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    _onResize(width(), height());
}

void KvAlertDialog::_onResize(int width, int height) {
    // Rectangles by their inclusive corners: a 30 x 30 close button in the top right corner over a
    // label that fills the dialog.
    _closeButton->setGeometry(QRect(QPoint(width - 35, 5), QPoint(width - 6, 34)));
    _contentLabel->setGeometry(QRect(QPoint(0, 0), QPoint(width - 1, height - 1)));
}

KvAlertDialog* KvAlertDialog::replaceShown(QPointer<KvAlertDialog>& shown, QWidget* parent,
                                           const QString& text, int shownMs) {
    if (shown) {
        shown->close();
    }
    auto* alert = new KvAlertDialog(parent);
    connect(alert, &QDialog::finished, alert, &QObject::deleteLater);
    alert->setContentText(text);
    alert->dismissAfter(shownMs);
    alert->show();
    shown = alert;
    return alert;
}
