#include "LuVideoView.h"

#include "KvVideoView.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPixmap>
#include <QTimer>

namespace {

// A second release within this time after the first makes a double click.
constexpr int kDoubleClickMs = 300;
// Width of the logo in logical pixels.
constexpr int kLogoWidth = 100;
// The widget's own background, seen in the margins and the gap between the channels.
constexpr int kBackgroundRgb = 0xffffff;
constexpr int kOpaque = 255;
// Margin around the channels, and the space the right-hand side keeps free.
constexpr int kMargin = 2;
constexpr int kRightMargin = 5;
constexpr int kBottomMargin = 3;

// A rectangle from its inclusive corners.
QRect corners(int left, int top, int right, int bottom) {
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

// The empty rectangle, which hides a channel.
const QRect kHidden = corners(0, 0, -1, -1);

} // namespace

LuVideoView::LuVideoView(QWidget* parent)
    : KvWidget(parent), frontView(new KvVideoView(this)), rearView(new KvVideoView(this)),
      placeholder(new QLabel(this)) {
    setBackgroundColor(kBackgroundRgb, kOpaque);
    const qreal ratio = devicePixelRatioF();
    QPixmap logo = QPixmap(":resources/icon.png")
                       .scaledToWidth(int(kLogoWidth * ratio), Qt::SmoothTransformation);
    logo.setDevicePixelRatio(ratio);
    placeholder->setPixmap(logo);
    placeholder->setAlignment(Qt::AlignCenter);
    placeholder->setStyleSheet("background:#000000");
    placeholder->raise();
    _resize(width(), height());
}

LuVideoView::~LuVideoView() {
    delete clickTimer;
}

void LuVideoView::setPlayerCount(int count) {
    playerCount = count;
    _resize(width(), height());
}

int LuVideoView::getPlayerCount() const {
    return playerCount;
}

void LuVideoView::enterFullscreen(int index) {
    fullscreenIndex = index;
}

void LuVideoView::existsFullscreen() {
    fullscreenIndex = -1;
}

int LuVideoView::getFullscreenIndex() const {
    return fullscreenIndex;
}

int LuVideoView::getPreview(double x, double) const {
    if (playerCount == 1) {
        return 0;
    }
    return x > width() / 2 ? 1 : 0;
}

void LuVideoView::clear() {
    frontView->clear();
    rearView->clear();
    placeholder->show();
    frontView->hide();
    rearView->hide();
}

void LuVideoView::reset() {
    fullscreenIndex = -1;
    placeholder->hide();
    frontView->show();
    rearView->show();
}

void LuVideoView::resizeEvent(QResizeEvent* event) {
    KvWidget::resizeEvent(event);
    _resize(width(), height());
}

void LuVideoView::_resize(int width, int height) {
    const QRect single = corners(kMargin, kMargin, width - kRightMargin, height - kBottomMargin);
    if (fullscreenIndex == -1 && playerCount >= 2) {
        const int half = (width - 2) / 2;
        const int even = ((width - 2) / 2) * 2;
        frontView->setGeometry(corners(kMargin, kMargin, half - 1, height - kBottomMargin));
        rearView->setGeometry(corners(half + 2, kMargin, even - 3, height - kBottomMargin));
    } else if (fullscreenIndex == 1 && playerCount >= 2) {
        frontView->setGeometry(kHidden);
        rearView->setGeometry(single);
    } else {
        frontView->setGeometry(single);
        rearView->setGeometry(kHidden);
    }
    placeholder->setGeometry(corners(0, 0, width - 3, height - 1));
}

void LuVideoView::mousePressEvent(QMouseEvent* event) {
    if (clickCount < 0) {
        clickCount = 0;
    }
    emit onMousePressed(event);
}

void LuVideoView::mouseMoveEvent(QMouseEvent* event) {
    clickCount = -1;
    emit onMouseMoved(event);
}

void LuVideoView::mouseReleaseEvent(QMouseEvent* event) {
    clickButton = int(event->button());
    clickX = qRound(event->localPos().x());
    clickY = qRound(event->localPos().y());
    if (clickCount == -1) {
        stopClickTimer(); // the end of a drag: no click
        return;
    }
    const int before = clickCount++;
    if (before == 0) {
        stopClickTimer();
        startClickTimer();
    } else {
        clickCount = 0;
        stopClickTimer();
        emit onDoubleClicked(clickButton, clickX, clickY);
    }
    emit onMouseReleased(event);
}

void LuVideoView::startClickTimer() {
    clickTimer = new QTimer();
    clickTimer->setSingleShot(true);
    // A coarse timer may fire up to 5 % early; the click waits the whole interval.
    clickTimer->setTimerType(Qt::PreciseTimer);
    connect(clickTimer, &QTimer::timeout, this, &LuVideoView::onClickTimerTimeOut);
    clickTimer->start(kDoubleClickMs);
}

void LuVideoView::stopClickTimer() {
    if (clickTimer != nullptr) {
        clickTimer->stop();
        // It may be the timer whose timeout is being delivered right now.
        clickTimer->deleteLater();
        clickTimer = nullptr;
    }
}

void LuVideoView::onClickTimerTimeOut() {
    stopClickTimer();
    clickCount = 0;
    emit onClick(clickButton, clickX, clickY);
}
