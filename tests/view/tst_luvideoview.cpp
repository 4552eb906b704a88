// LuVideoView under Xvfb with its real OpenGL channel views: the layout of one and two channels
// and of a channel alone, which channel lies under a point, the logo while nothing plays, and
// the click recognition (a single click 300 ms after its release, a double click at the second
// release, never both, nothing after a drag).

#include "KvTestMain.h"
#include "KvVideoView.h"
#include "KvYUV420P.h"
#include "LuVideoView.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

#include <vector>

namespace {

constexpr int kWidth = 802;
constexpr int kHeight = 600;

// The inclusive corners of a rectangle, as the layout is described.
QRect corners(int left, int top, int right, int bottom) {
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

// A solid picture of one YUV value.
KvYUV420P* solidPicture(int width, int height, int y, int u, int v) {
    std::vector<unsigned char> luma(size_t(width * height), uchar(y));
    std::vector<unsigned char> cb(size_t((width / 2) * (height / 2)), uchar(u));
    std::vector<unsigned char> cr(cb.size(), uchar(v));
    const unsigned char* planes[3] = {luma.data(), cb.data(), cr.data()};
    int linesizes[3] = {width, width / 2, width / 2};
    return new KvYUV420P(planes, width, height, linesizes);
}

bool isBlack(QRgb colour) {
    return qRed(colour) < 8 && qGreen(colour) < 8 && qBlue(colour) < 8;
}

// What the window shows, OpenGL channels included.
QImage shot(QWidget* widget) {
    QApplication::processEvents();
    return widget->grab().toImage();
}

void mouse(QWidget* widget, QEvent::Type type, QPoint at, Qt::MouseButton button,
           Qt::MouseButtons buttons) {
    QMouseEvent event(type, at, widget->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

} // namespace

class TestLuVideoView : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void constructionDefaults();
    void twoChannelsSideBySide();
    void oneChannelFillsTheWidget();
    void rearAloneAfterEnterFullscreenAndResize();
    void fullscreenOfTheFrontOrOfAMissingRear();
    void placeholderCoversTheWidget();
    void previewPicksTheChannelUnderThePoint();
    void placeholderShowsAfterClearAndHidesAfterReset();
    void pressMoveReleaseIsADrag();
    void singleClickComesAfter300Ms();
    void twoReleasesMakeADoubleClick();
    void aClickAfterADragCountsAgain();

private:
    LuVideoView* view = nullptr;
};

void TestLuVideoView::init() {
    view = new LuVideoView();
    view->resize(kWidth, kHeight);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view));
}

void TestLuVideoView::cleanup() {
    delete view;
    view = nullptr;
}

void TestLuVideoView::constructionDefaults() {
    QCOMPARE(view->getPlayerCount(), 0);
    QCOMPARE(view->getFullscreenIndex(), -1);
    QCOMPARE(view->backgroundColor(), QColor(255, 255, 255, 255));
    QVERIFY(view->frontView != nullptr && view->rearView != nullptr);
    QCOMPARE(view->frontView->parentWidget(), view);
    QCOMPARE(view->rearView->parentWidget(), view);
}

void TestLuVideoView::twoChannelsSideBySide() {
    view->setPlayerCount(2);
    QCOMPARE(view->getPlayerCount(), 2);
    QCOMPARE(view->frontView->geometry(), corners(2, 2, 399, 597));
    QCOMPARE(view->rearView->geometry(), corners(402, 2, 797, 597));
    // An odd width: the rear's right edge comes from the width rounded down to an even number.
    view->resize(803, 600);
    QTRY_COMPARE(view->width(), 803);
    QCOMPARE(view->frontView->geometry(), corners(2, 2, 399, 597));
    QCOMPARE(view->rearView->geometry(), corners(402, 2, 797, 597));
}

void TestLuVideoView::oneChannelFillsTheWidget() {
    view->setPlayerCount(1);
    QCOMPARE(view->frontView->geometry(), corners(2, 2, 797, 597));
    QVERIFY(view->rearView->geometry().isEmpty());
    QCOMPARE(view->rearView->geometry(), corners(0, 0, -1, -1));
}

void TestLuVideoView::rearAloneAfterEnterFullscreenAndResize() {
    view->setPlayerCount(2);
    view->enterFullscreen(1);
    QCOMPARE(view->getFullscreenIndex(), 1);
    // Nothing moves until the widget is resized.
    QCOMPARE(view->rearView->geometry(), corners(402, 2, 797, 597));
    view->resize(1000, 700);
    QTRY_COMPARE(view->width(), 1000);
    QVERIFY(view->frontView->geometry().isEmpty());
    QCOMPARE(view->rearView->geometry(), corners(2, 2, 995, 697));
    view->existsFullscreen();
    QCOMPARE(view->getFullscreenIndex(), -1);
    QCOMPARE(view->rearView->geometry(), corners(2, 2, 995, 697));
    view->resize(kWidth, kHeight);
    QTRY_COMPARE(view->width(), kWidth);
    QCOMPARE(view->frontView->geometry(), corners(2, 2, 399, 597));
    QCOMPARE(view->rearView->geometry(), corners(402, 2, 797, 597));
}

void TestLuVideoView::fullscreenOfTheFrontOrOfAMissingRear() {
    view->setPlayerCount(2);
    view->enterFullscreen(0);
    view->resize(900, 600);
    QTRY_COMPARE(view->width(), 900);
    QCOMPARE(view->frontView->geometry(), corners(2, 2, 895, 597));
    QVERIFY(view->rearView->geometry().isEmpty());
    // The rear alone of a recording without a rear shows the front.
    view->setPlayerCount(1);
    view->enterFullscreen(1);
    view->resize(kWidth, kHeight);
    QTRY_COMPARE(view->width(), kWidth);
    QCOMPARE(view->frontView->geometry(), corners(2, 2, 797, 597));
    QVERIFY(view->rearView->geometry().isEmpty());
    // reset() leaves the single-channel state.
    view->reset();
    QCOMPARE(view->getFullscreenIndex(), -1);
}

void TestLuVideoView::placeholderCoversTheWidget() {
    auto* placeholder = view->findChild<QLabel*>();
    QVERIFY(placeholder != nullptr);
    QCOMPARE(placeholder->geometry(), corners(0, 0, kWidth - 3, kHeight - 1));
    QCOMPARE(placeholder->styleSheet(), QString("background:#000000"));
    QCOMPARE(placeholder->alignment(), Qt::AlignCenter);
    const QPixmap logo = placeholder->pixmap(Qt::ReturnByValue);
    QVERIFY(!logo.isNull());
    QCOMPARE(logo.width(), qRound(100 * view->devicePixelRatioF()));
    view->setPlayerCount(2);
    QCOMPARE(placeholder->geometry(), corners(0, 0, kWidth - 3, kHeight - 1));
}

void TestLuVideoView::previewPicksTheChannelUnderThePoint() {
    view->setPlayerCount(2);
    QCOMPARE(view->getPreview(500, 10), 1);
    QCOMPARE(view->getPreview(401, 10), 0); // not right of the middle (802 / 2 = 401)
    QCOMPARE(view->getPreview(401.5, 10), 1);
    QCOMPARE(view->getPreview(10, 590), 0);
    view->setPlayerCount(1);
    QCOMPARE(view->getPreview(500, 10), 0);
    QCOMPARE(view->getPreview(790, 10), 0);
    // Neither the full-screen channel nor y matter.
    view->setPlayerCount(2);
    view->enterFullscreen(0);
    QCOMPARE(view->getPreview(500, -100), 1);
}

void TestLuVideoView::placeholderShowsAfterClearAndHidesAfterReset() {
    auto* placeholder = view->findChild<QLabel*>();
    view->setPlayerCount(2);
    view->reset();
    // Red in the front channel, blue in the rear.
    view->frontView->updateYUV420Async(solidPicture(64, 48, 81, 90, 240));
    view->rearView->updateYUV420Async(solidPicture(64, 48, 41, 240, 110));
    QTRY_VERIFY(qRed(shot(view).pixel(200, 300)) > 200);
    QImage image = shot(view);
    QVERIFY(qBlue(image.pixel(600, 300)) > 200);
    QVERIFY(!placeholder->isVisible());

    view->clear();
    QVERIFY(placeholder->isVisible());
    QVERIFY(!view->frontView->isVisible() && !view->rearView->isVisible());
    QCOMPARE(view->frontView->getPictureTime(), -1.0);
    image = shot(view);
    // Black around the logo, the logo in the middle, no red or blue left anywhere.
    QVERIFY(isBlack(image.pixel(20, 20)));
    QVERIFY(isBlack(image.pixel(600, 300)));
    int logo = 0;
    for (int y = kHeight / 2 - 50; y < kHeight / 2 + 50; ++y) {
        for (int x = kWidth / 2 - 50; x < kWidth / 2 + 50; ++x) {
            logo += isBlack(image.pixel(x, y)) ? 0 : 1;
        }
    }
    QVERIFY2(logo > 500, qPrintable(QString::number(logo)));
    // The white background shows beside the logo's area (its right-hand 2 pixels).
    QCOMPARE(QColor(image.pixel(kWidth - 1, 300)), QColor(Qt::white));

    view->reset();
    QVERIFY(!placeholder->isVisible());
    QVERIFY(view->frontView->isVisible() && view->rearView->isVisible());
    view->frontView->updateYUV420Async(solidPicture(64, 48, 81, 90, 240));
    QTRY_VERIFY(qRed(shot(view).pixel(kWidth / 2 - 10, kHeight / 2)) > 200);
    // Between the channels the white background.
    QCOMPARE(QColor(shot(view).pixel(400, 300)), QColor(Qt::white));
}

void TestLuVideoView::pressMoveReleaseIsADrag() {
    QSignalSpy pressed(view, &LuVideoView::onMousePressed);
    QSignalSpy moved(view, &LuVideoView::onMouseMoved);
    QSignalSpy released(view, &LuVideoView::onMouseReleased);
    QSignalSpy clicked(view, &LuVideoView::onClick);
    QSignalSpy doubled(view, &LuVideoView::onDoubleClicked);
    mouse(view, QEvent::MouseButtonPress, QPoint(100, 100), Qt::LeftButton, Qt::LeftButton);
    mouse(view, QEvent::MouseMove, QPoint(150, 120), Qt::NoButton, Qt::LeftButton);
    mouse(view, QEvent::MouseButtonRelease, QPoint(150, 120), Qt::LeftButton, Qt::NoButton);
    QTest::qWait(500);
    QCOMPARE(pressed.count(), 1);
    QCOMPARE(moved.count(), 1);
    QCOMPARE(released.count(), 0);
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(doubled.count(), 0);
}

void TestLuVideoView::singleClickComesAfter300Ms() {
    QSignalSpy clicked(view, &LuVideoView::onClick);
    QSignalSpy doubled(view, &LuVideoView::onDoubleClicked);
    QSignalSpy released(view, &LuVideoView::onMouseReleased);
    QElapsedTimer timer;
    mouse(view, QEvent::MouseButtonPress, QPoint(30, 40), Qt::RightButton, Qt::RightButton);
    timer.start();
    // A release at a fractional position is reported rounded to whole pixels.
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(30.6, 40.4),
                        view->mapToGlobal(QPoint(30, 40)), Qt::RightButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(view, &release);
    QCOMPARE(released.count(), 1);
    QCOMPARE(clicked.count(), 0);
    QVERIFY(clicked.wait(2000));
    const qint64 after = timer.elapsed();
    QVERIFY2(after >= 298, qPrintable(QString::number(after)));
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(clicked[0][0].toInt(), int(Qt::RightButton));
    QCOMPARE(clicked[0][1].toDouble(), 31.0);
    QCOMPARE(clicked[0][2].toDouble(), 40.0);
    QTest::qWait(400);
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(doubled.count(), 0);
}

void TestLuVideoView::twoReleasesMakeADoubleClick() {
    QSignalSpy clicked(view, &LuVideoView::onClick);
    QSignalSpy doubled(view, &LuVideoView::onDoubleClicked);
    QSignalSpy released(view, &LuVideoView::onMouseReleased);
    QTest::mouseClick(view, Qt::LeftButton, Qt::NoModifier, QPoint(500, 10));
    QTest::qWait(200);
    QCOMPARE(clicked.count(), 0);
    QTest::mouseClick(view, Qt::LeftButton, Qt::NoModifier, QPoint(500, 10));
    // Reported at the second release, before its own onMouseReleased.
    QCOMPARE(doubled.count(), 1);
    QCOMPARE(released.count(), 2);
    QCOMPARE(doubled[0][0].toInt(), int(Qt::LeftButton));
    QCOMPARE(doubled[0][1].toDouble(), 500.0);
    QCOMPARE(doubled[0][2].toDouble(), 10.0);
    QTest::qWait(500);
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(doubled.count(), 1);
}

void TestLuVideoView::aClickAfterADragCountsAgain() {
    QSignalSpy clicked(view, &LuVideoView::onClick);
    QSignalSpy doubled(view, &LuVideoView::onDoubleClicked);
    // A click whose timer is pending, then a drag: the drag cancels it.
    QTest::mouseClick(view, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    mouse(view, QEvent::MouseButtonPress, QPoint(60, 60), Qt::LeftButton, Qt::LeftButton);
    mouse(view, QEvent::MouseMove, QPoint(80, 80), Qt::NoButton, Qt::LeftButton);
    mouse(view, QEvent::MouseButtonRelease, QPoint(80, 80), Qt::LeftButton, Qt::NoButton);
    QTest::qWait(500);
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(doubled.count(), 0);
    // The next press starts afresh.
    QTest::mouseClick(view, Qt::LeftButton, Qt::NoModifier, QPoint(70, 70));
    QVERIFY(clicked.wait(2000));
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(doubled.count(), 0);
}

KV_TEST_MAIN(TestLuVideoView)
#include "tst_luvideoview.moc"
