#include "KvProgressDialog.h"

#include <QLabel>
#include <QProgressBar>
#include <QResizeEvent>

#include <cmath>
#include <limits>

namespace {
constexpr int kInitialWidth = 300;
constexpr int kInitialHeight = 60;
// The bar's scale when a caller gives it a percentage range.
constexpr float kPercent = 100.0f;
// Percentages from here on do not fit the bar's int value.
constexpr float kLargestPercent = static_cast<float>(std::numeric_limits<int>::max() / 2);
} // namespace

KvProgressDialog::KvProgressDialog(QWidget* parent)
    : KvWaitDialog(parent), _messageLabel(new QLabel(this)), _progressBar(new QProgressBar(this)) {
    _progressBar->setRange(0, 0);
    // Automatic connections: queued when the worker posts, direct on the GUI thread.
    connect(this, &KvProgressDialog::_setProgress, this, &KvProgressDialog::setProgress);
    connect(this, &KvProgressDialog::_setMessage, this, &KvProgressDialog::setMessage);
    resize(kInitialWidth, kInitialHeight);
}

void KvProgressDialog::postProgress(float fraction) {
    emit _setProgress(fraction);
}

void KvProgressDialog::postMessage(const QString& message) {
    emit _setMessage(message);
}

void KvProgressDialog::setProgress(float fraction) {
    const float percent = fraction * kPercent;
    // A fraction that is not a number has no bar position; one far out of range would not fit
    // the bar's int. Both are ignored rather than cast.
    if (!std::isfinite(percent) || std::fabs(percent) >= kLargestPercent) {
        return;
    }
    _progressBar->setValue(static_cast<int>(percent));
}

void KvProgressDialog::setMessage(QString message) {
    _messageLabel->setText(message);
}

void KvProgressDialog::resizeEvent(QResizeEvent* event) {
    KvWaitDialog::resizeEvent(event);
    _onResize(width(), height());
}

void KvProgressDialog::_onResize(int width, int height) {
    Q_UNUSED(height);
    // Rectangles by their inclusive corners.
    _messageLabel->setGeometry(QRect(QPoint(5, 10), QPoint(width - 6, 39)));
    _progressBar->setGeometry(QRect(QPoint(5, 40), QPoint(width - 6, 49)));
}
