#include "KvSlider.h"
#include "KvTestMain.h"

#include <QSignalSpy>
#include <QWheelEvent>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

// The time slider's shape in these tests: 500 pixels for the range 0..1000.
constexpr int kWidth = 500;
constexpr int kHeight = 32;

struct ShownSlider {
    KvSlider slider;
    ShownSlider() {
        slider.setOrientation(Qt::Horizontal);
        slider.setRange(0, 1000);
        slider.resize(kWidth, kHeight);
        slider.show();
    }
};

void press(KvSlider& slider, int x) {
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(x, kHeight / 2));
}

void release(KvSlider& slider, int x) {
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(x, kHeight / 2));
}

} // namespace

class TestKvSlider : public QObject {
    Q_OBJECT
private slots:
    void styleSheetUsesTheHandleImage();
    void looksLikeAThinLineWithAnImageHandle();
    void pressFarFromTheHandleJumps();
    void pressNearTheHandleStartsADrag();
    void thresholdIsTenValueUnits();
    void releaseReportsAndClearsPressed();
    void everyPressAndReleaseIsAnnouncedOnce();
    void wheelNeverMovesTheSlider();
    void progress();
    void emptyRangeDoesNotDivideByZero();
    void zeroWidthPressDoesNothing();
    void wideRangeDoesNotOverflow();
};

void TestKvSlider::styleSheetUsesTheHandleImage() {
    KvSlider slider;
    QVERIFY(slider.styleSheet().contains("background-image:url(:resources/slider_normal.png)"));
    QVERIFY(slider.styleSheet().contains("#f18d02"));
    QVERIFY(slider.styleSheet().contains("#888888"));
    QVERIFY(!slider.isPressed());
}

void TestKvSlider::looksLikeAThinLineWithAnImageHandle() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    s.slider.setValue(500);
    const QImage image = s.slider.grab().toImage().convertToFormat(QImage::Format_RGB32);
    // Finds a pixel of the given colour (within a small tolerance) in a box around a point.
    auto found = [&image](QPoint centre, int reach, QColor colour, int tolerance = 24) {
        for (int y = centre.y() - reach; y <= centre.y() + reach; ++y) {
            for (int x = centre.x() - reach; x <= centre.x() + reach; ++x) {
                const QColor c(image.pixel(x, y));
                if (qAbs(c.red() - colour.red()) < tolerance &&
                    qAbs(c.green() - colour.green()) < tolerance &&
                    qAbs(c.blue() - colour.blue()) < tolerance) {
                    return true;
                }
            }
        }
        return false;
    };
    // Orange before the handle, grey after it, and the handle image (white with an accent ring)
    // in the middle.
    QVERIFY(found(QPoint(100, kHeight / 2), 4, QColor("#f18d02")));
    QVERIFY(!found(QPoint(400, kHeight / 2), 4, QColor("#f18d02")));
    QVERIFY(found(QPoint(400, kHeight / 2), 4, QColor("#888888")));
    // (Pure white: the window around the slider is a lighter grey.)
    QVERIFY(found(QPoint(250, kHeight / 2), 6, QColor("#ffffff"), 4));
    QVERIFY(!found(QPoint(400, kHeight / 2), 6, QColor("#ffffff"), 4));
    QVERIFY(found(QPoint(250, kHeight / 2), 6, QColor("#19a4ff")));
}

void TestKvSlider::pressFarFromTheHandleJumps() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    s.slider.setValue(0);
    press(s.slider, 250);
    QCOMPARE(s.slider.value(), 500);
    // The press was consumed: no drag started.
    QVERIFY(!s.slider.isSliderDown());
    release(s.slider, 250);
    QCOMPARE(s.slider.value(), 500);
}

void TestKvSlider::pressNearTheHandleStartsADrag() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    s.slider.setValue(495);
    press(s.slider, 250);
    QCOMPARE(s.slider.value(), 495);
    QVERIFY(s.slider.isPressed());
    QVERIFY(s.slider.isSliderDown());
    // An ordinary drag: the handle follows the mouse.
    QTest::mouseMove(&s.slider, QPoint(350, kHeight / 2));
    QTRY_VERIFY(s.slider.value() > 650);
    release(s.slider, 350);
}

void TestKvSlider::thresholdIsTenValueUnits() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    // x = 250 targets 500: a distance of exactly 10 is not enough to jump...
    s.slider.setValue(490);
    press(s.slider, 250);
    QCOMPARE(s.slider.value(), 490);
    release(s.slider, 250);
    // ...11 is.
    s.slider.setValue(489);
    press(s.slider, 250);
    QCOMPARE(s.slider.value(), 500);
    release(s.slider, 250);
}

void TestKvSlider::releaseReportsAndClearsPressed() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    QSignalSpy released(&s.slider, &QSlider::sliderReleased);
    s.slider.setValue(495);
    press(s.slider, 250);
    QVERIFY(s.slider.isPressed());
    release(s.slider, 250);
    QVERIFY(!s.slider.isPressed());
    QCOMPARE(released.count(), 1);

    // A jump press is consumed before the press handler, but its release is still reported.
    s.slider.setValue(0);
    press(s.slider, 400);
    QVERIFY(!s.slider.isPressed());
    release(s.slider, 400);
    QCOMPARE(released.count(), 2);
}

void TestKvSlider::everyPressAndReleaseIsAnnouncedOnce() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    QSignalSpy pressed(&s.slider, &QSlider::sliderPressed);
    QSignalSpy released(&s.slider, &QSlider::sliderReleased);
    // Two drags of the handle in a row: each press and each release is heard once, and the
    // handle is no longer down after each release.
    for (int drag = 1; drag <= 2; ++drag) {
        s.slider.setValue(495);
        press(s.slider, 250);
        QCOMPARE(pressed.count(), drag);
        QVERIFY(s.slider.isSliderDown());
        release(s.slider, 250);
        QCOMPARE(released.count(), drag);
        QVERIFY(!s.slider.isSliderDown());
    }
    // A jump press is a press too, though no drag starts.
    s.slider.setValue(0);
    press(s.slider, 400);
    QCOMPARE(s.slider.value(), 800);
    QCOMPARE(pressed.count(), 3);
    QVERIFY(!s.slider.isSliderDown());
    release(s.slider, 400);
    QCOMPARE(released.count(), 3);
    // And the drag after it is announced as well.
    press(s.slider, 400);
    QCOMPARE(pressed.count(), 4);
    release(s.slider, 400);
    QCOMPARE(released.count(), 4);
}

void TestKvSlider::wheelNeverMovesTheSlider() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    s.slider.setValue(300);
    const QPointF position(250, kHeight / 2);
    QWheelEvent wheel(position, s.slider.mapToGlobal(position.toPoint()), QPoint(0, 0),
                      QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&s.slider, &wheel);
    QCOMPARE(s.slider.value(), 300);
    QVERIFY(!wheel.isAccepted()); // left for the parent
}

void TestKvSlider::progress() {
    KvSlider slider;
    slider.setRange(100, 200);
    QCOMPARE(slider.getProgress(100), 0.0f);
    QCOMPARE(slider.getProgress(200), 1.0f);
    QCOMPARE(slider.getProgress(150), 0.5f);
    slider.setValue(125);
    QCOMPARE(slider.getCurrentProgress(), 0.25f);
}

void TestKvSlider::emptyRangeDoesNotDivideByZero() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    s.slider.setRange(5, 5);
    const float progress = s.slider.getProgress(5);
    QVERIFY(std::isfinite(progress));
    QCOMPARE(progress, 0.0f);
    press(s.slider, 250);
    release(s.slider, 250);
    QCOMPARE(s.slider.value(), 5);
}

void TestKvSlider::zeroWidthPressDoesNothing() {
    KvSlider slider;
    slider.setRange(0, 1000);
    slider.setValue(300);
    slider.resize(0, kHeight);
    QCOMPARE(slider.width(), 0);
    QMouseEvent event(QEvent::MouseButtonPress, QPointF(0, 0), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QVERIFY(!slider.eventFilter(&slider, &event)); // not consumed: no jump
    QCOMPARE(slider.value(), 300);
}

void TestKvSlider::wideRangeDoesNotOverflow() {
    ShownSlider s;
    QVERIFY(QTest::qWaitForWindowExposed(&s.slider));
    s.slider.setRange(0, std::numeric_limits<int>::max());
    s.slider.setValue(0);
    press(s.slider, 400);
    release(s.slider, 400);
    // 2147483647 * 400 / 500, computed without overflow.
    QCOMPARE(s.slider.value(), 1717986917);
}

KV_TEST_MAIN(TestKvSlider)
#include "tst_kvslider.moc"
