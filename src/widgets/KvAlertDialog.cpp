#include "KvAlertDialog.h"

#include "KvLogCategories.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTextBoundaryFinder>
#include <QTimer>

#include <algorithm>

namespace {
constexpr int kWidth = 320;
constexpr int kHeight = 180;
// The text keeps clear of the 30-pixel close button in the top right corner, and as far from the
// left edge so that it stays centred.
constexpr int kTextSideMargin = 40;
constexpr int kTextEndMargin = 12;
// Room left between a grown box and the edges of the screen.
constexpr int kScreenMargin = 40;
// Steps by which a box too low for its wrapped text is widened before it is made taller.
constexpr int kWidthStep = 40;
} // namespace

KvAlertDialog::KvAlertDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint), _contentLabel(new QLabel(this)),
      _closeButton(new QPushButton(this)) {
    resize(kWidth, kHeight);
    setStyleSheet("QDialog{background-color:#2b2b2b;}");

    _contentLabel->setStyleSheet("color:#ffffff;");
    _contentLabel->setAlignment(Qt::AlignCenter);
    _contentLabel->setWordWrap(true);
    _contentLabel->setContentsMargins(kTextSideMargin, kTextEndMargin, kTextSideMargin,
                                      kTextEndMargin);

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
    _contentLabel->ensurePolished();
    const int widest = _widestAllowed();
    int widestRun = 0;
    const QString shown = _fittedText(text, widest - 2 * kTextSideMargin, &widestRun);
    _contentLabel->setText(shown);
    _contentLabel->setToolTip(shown == text ? QString() : text);
    resize(_sizeForText(widestRun, widest));
}

int KvAlertDialog::_widestAllowed() const {
    const QWidget* anchor = parentWidget() ? parentWidget() : this;
    const QScreen* screen = anchor->screen() ? anchor->screen() : QGuiApplication::primaryScreen();
    const int screenWidth = screen ? screen->availableGeometry().width() - kScreenMargin : kWidth;
    return std::max(kWidth, std::min(MaximumWidth, screenWidth));
}

QString KvAlertDialog::_fittedText(const QString& text, int textWidth, int* widestRun) const {
    // The runs between the places where the label may wrap a line, by the same rules as the
    // label's text layout, so a path that may wrap after its separators is left whole.
    const QFontMetrics metrics = _contentLabel->fontMetrics();
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, text);
    QString fitted;
    *widestRun = 0;
    int start = 0;
    while (start < text.size()) {
        int end = breaks.toNextBoundary();
        if (end <= start) {
            end = text.size();
        }
        const QString run = text.mid(start, end - start);
        const QString word = run.trimmed();
        int runWidth = metrics.horizontalAdvance(word);
        if (runWidth > textWidth) {
            const int at = run.indexOf(word);
            const QString elided = metrics.elidedText(word, Qt::ElideMiddle, textWidth);
            fitted += run.left(at) + elided + run.mid(at + word.size());
            runWidth = metrics.horizontalAdvance(elided);
        } else {
            fitted += run;
        }
        *widestRun = std::max(*widestRun, runWidth);
        start = end;
    }
    return fitted;
}

bool KvAlertDialog::_textFits(int width) const {
    const int textWidth = width - 2 * kTextSideMargin;
    const QRect needed = _contentLabel->fontMetrics().boundingRect(
        QRect(0, 0, textWidth, QWIDGETSIZE_MAX), Qt::TextWordWrap, _contentLabel->text());
    return needed.width() <= textWidth && needed.height() <= kHeight - 2 * kTextEndMargin;
}

QSize KvAlertDialog::_sizeForText(int widestRun, int widest) const {
    // Wide enough for the widest run that cannot be wrapped, then wider while the wrapped text
    // does not fit the default height (or the label's layout wraps a run less than expected): a
    // few long lines read better than many short ones.
    int width = std::clamp(widestRun + 2 * kTextSideMargin, kWidth, widest);
    while (width < widest && !_textFits(width)) {
        width = std::min(widest, width + kWidthStep);
    }
    const QRect needed = _contentLabel->fontMetrics().boundingRect(
        QRect(0, 0, width - 2 * kTextSideMargin, QWIDGETSIZE_MAX), Qt::TextWordWrap,
        _contentLabel->text());
    return QSize(width, std::max(kHeight, needed.height() + 2 * kTextEndMargin));
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
