#include "KvTestMain.h"
#include "KvWidget.h"

#include <QImage>
#include <QtTest>

namespace {

const QColor kParentColor(255, 0, 255); // magenta: never painted by the widget under test
const QRect kChildGeometry(10, 10, 120, 60);

// A parent of a known colour with the widget under test inside it.
struct Scene {
    QWidget parent;
    KvWidget* widget;

    Scene() : widget(new KvWidget(&parent)) {
        parent.resize(140, 80);
        parent.setAutoFillBackground(true);
        QPalette palette = parent.palette();
        palette.setColor(QPalette::Window, kParentColor);
        parent.setPalette(palette);
        widget->setGeometry(kChildGeometry);
        parent.show();
    }

    // The widget's area as painted over its parent.
    QImage render() {
        if (!QTest::qWaitForWindowExposed(&parent)) {
            return QImage();
        }
        return parent.grab(kChildGeometry).toImage().convertToFormat(QImage::Format_RGB32);
    }
};

QColor at(const QImage& image, int x, int y) {
    return QColor(image.pixel(x, y));
}

} // namespace

class TestKvWidget : public QObject {
    Q_OBJECT
private slots:
    void defaults();
    void colorFromInt();
    void settersStore();
    void defaultPaintsNothing();
    void backgroundFillsTheWidget();
    void roundedBackgroundLeavesCornersToTheParent();
    void whiteBorderOfTwoPixelsWithRadiusSix();
    void borderOfWidthZeroIsNotDrawn();
};

void TestKvWidget::defaults() {
    KvWidget widget;
    QCOMPARE(widget.backgroundColor(), QColor(255, 255, 255, 0));
    QCOMPARE(widget.borderWidth(), 0);
    QCOMPARE(widget.borderRadius(), 0);
    QCOMPARE(widget.borderColor(), QColor(255, 255, 255, 0));
}

void TestKvWidget::colorFromInt() {
    KvWidget widget;
    widget.setBackgroundColor(0x123456, 200);
    QCOMPARE(widget.backgroundColor(), QColor(0x12, 0x34, 0x56, 200));
    widget.setBorder(1, 2, 0xabcdef, 255);
    QCOMPARE(widget.borderColor(), QColor(0xab, 0xcd, 0xef, 255));
    // Bits above 0xRRGGBB are not part of the colour.
    widget.setBackgroundColor(0x7f000001, 255);
    QCOMPARE(widget.backgroundColor(), QColor(0, 0, 1, 255));
}

void TestKvWidget::settersStore() {
    KvWidget widget;
    widget.setBorderWidth(3);
    widget.setBorderRadius(4);
    widget.setBorderColor(Qt::red);
    QCOMPARE(widget.borderWidth(), 3);
    QCOMPARE(widget.borderRadius(), 4);
    QCOMPARE(widget.borderColor(), QColor(Qt::red));
    widget.setBorder(5, 6, QColor(Qt::blue));
    QCOMPARE(widget.borderWidth(), 5);
    QCOMPARE(widget.borderRadius(), 6);
    QCOMPARE(widget.borderColor(), QColor(Qt::blue));
    widget.setBackgroundColor(QColor(Qt::green));
    QCOMPARE(widget.backgroundColor(), QColor(Qt::green));
}

void TestKvWidget::defaultPaintsNothing() {
    Scene scene;
    const QImage image = scene.render();
    QCOMPARE(image.size(), kChildGeometry.size());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QCOMPARE(at(image, x, y), kParentColor);
        }
    }
}

void TestKvWidget::backgroundFillsTheWidget() {
    Scene scene;
    scene.widget->setBackgroundColor(0x000000, 255);
    const QImage image = scene.render();
    QCOMPARE(image.size(), kChildGeometry.size());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QCOMPARE(at(image, x, y), QColor(Qt::black));
        }
    }
}

void TestKvWidget::roundedBackgroundLeavesCornersToTheParent() {
    Scene scene;
    scene.widget->setBackgroundColor(0x000000, 255);
    scene.widget->setBorderRadius(10);
    const QImage image = scene.render();
    QCOMPARE(image.size(), kChildGeometry.size());
    const int w = image.width();
    const int h = image.height();
    // The corner pixels lie outside a radius-10 rounding; the edge middles inside.
    for (const QPoint& corner :
         {QPoint(0, 0), QPoint(w - 1, 0), QPoint(0, h - 1), QPoint(w - 1, h - 1)}) {
        QCOMPARE(at(image, corner.x(), corner.y()), kParentColor);
    }
    QCOMPARE(at(image, w / 2, 0), QColor(Qt::black));
    QCOMPARE(at(image, 0, h / 2), QColor(Qt::black));
    QCOMPARE(at(image, 5, 5), QColor(Qt::black)); // inside the arc
}

void TestKvWidget::whiteBorderOfTwoPixelsWithRadiusSix() {
    Scene scene;
    scene.widget->setBackgroundColor(0x000000, 255);
    scene.widget->setBorder(2, 6, 0xffffff, 255);
    QCOMPARE(scene.widget->borderWidth(), 2);
    QCOMPARE(scene.widget->borderRadius(), 6);
    const QImage image = scene.render();
    QCOMPARE(image.size(), kChildGeometry.size());
    const int w = image.width();
    const int h = image.height();
    // The 2-pixel pen is centred on the widget's edge: its inner pixel lies inside the widget.
    QCOMPARE(at(image, w / 2, 0), QColor(Qt::white));
    QCOMPARE(at(image, w / 2, h - 1), QColor(Qt::white));
    QCOMPARE(at(image, 0, h / 2), QColor(Qt::white));
    QCOMPARE(at(image, w - 1, h / 2), QColor(Qt::white));
    QCOMPARE(at(image, w / 2, 2), QColor(Qt::black));
    QCOMPARE(at(image, 2, h / 2), QColor(Qt::black));
    // Rounded: the very corner shows the parent, not the border.
    QCOMPARE(at(image, 0, 0), kParentColor);
    // Where the radius-6 corner arc meets the diagonal, the border is drawn (at least in part).
    const QColor arc = at(image, 2, 2);
    QVERIFY2(arc.green() > 100, qPrintable(arc.name()));
}

void TestKvWidget::borderOfWidthZeroIsNotDrawn() {
    Scene scene;
    scene.widget->setBackgroundColor(0x000000, 255);
    scene.widget->setBorder(0, 0, 0xffffff, 255);
    const QImage image = scene.render();
    QCOMPARE(image.size(), kChildGeometry.size());
    QCOMPARE(at(image, image.width() / 2, 0), QColor(Qt::black));
}

KV_TEST_MAIN(TestKvWidget)
#include "tst_kvwidget.moc"
