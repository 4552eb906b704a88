// KvVideoView under Xvfb (OpenGL through Mesa): pictures of known YUV values read back as the RGB
// the conversion matrix gives, the aspect fit and its black bars, capture, clearing, pictures
// handed over from another thread, and a player core driving the view.

#include "KvFFPlayer.h"
#include "KvTestMain.h"
#include "KvVideoView.h"
#include "KvYUV420P.h"

#include <QImageReader>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

namespace {

// A picture whose four quadrants have their own Y, U and V values.
struct Yuv {
    int y, u, v;
};

KvYUV420P* quadrantPicture(int width, int height, const Yuv quadrants[4]) {
    std::vector<unsigned char> y(size_t(width * height));
    std::vector<unsigned char> u(size_t((width / 2) * (height / 2)));
    std::vector<unsigned char> v(u.size());
    auto quadrant = [&](int x, int row, int w, int h) {
        return (row >= h / 2 ? 2 : 0) + (x >= w / 2 ? 1 : 0);
    };
    for (int row = 0; row < height; ++row) {
        for (int x = 0; x < width; ++x) {
            y[size_t(row * width + x)] = uchar(quadrants[quadrant(x, row, width, height)].y);
        }
    }
    for (int row = 0; row < height / 2; ++row) {
        for (int x = 0; x < width / 2; ++x) {
            const Yuv& value = quadrants[quadrant(x, row, width / 2, height / 2)];
            u[size_t(row * (width / 2) + x)] = uchar(value.u);
            v[size_t(row * (width / 2) + x)] = uchar(value.v);
        }
    }
    const unsigned char* planes[3] = {y.data(), u.data(), v.data()};
    int linesizes[3] = {width, width / 2, width / 2};
    return new KvYUV420P(planes, width, height, linesizes);
}

KvYUV420P* solidPicture(int width, int height, Yuv value) {
    const Yuv all[4] = {value, value, value, value};
    return quadrantPicture(width, height, all);
}

// What the view's matrix makes of a YUV value: Y as sampled (no luma offset), chroma minus 0.5.
QRgb expectedRgb(Yuv value) {
    const double y = value.y / 255.0;
    const double u = value.u / 255.0 - 0.5;
    const double v = value.v / 255.0 - 0.5;
    auto channel = [](double c) { return int(std::lround(std::clamp(c, 0.0, 1.0) * 255)); };
    return qRgb(channel(1.164 * y + 1.596 * v), channel(1.164 * y - 0.392 * u - 0.813 * v),
                channel(1.164 * y + 2.017 * u));
}

bool near(QRgb actual, QRgb expected, int tolerance) {
    return std::abs(qRed(actual) - qRed(expected)) <= tolerance &&
           std::abs(qGreen(actual) - qGreen(expected)) <= tolerance &&
           std::abs(qBlue(actual) - qBlue(expected)) <= tolerance;
}

QString describe(QRgb colour) {
    return QString("(%1, %2, %3)").arg(qRed(colour)).arg(qGreen(colour)).arg(qBlue(colour));
}

// The colour at a point given in logical pixels.
QRgb pixelAt(const QImage& frame, const QWidget& widget, int x, int y) {
    const double ratio = double(frame.width()) / widget.width();
    return frame.pixel(int(x * ratio), int(y * ratio));
}

bool isBlack(QRgb colour) {
    return qRed(colour) <= 2 && qGreen(colour) <= 2 && qBlue(colour) <= 2;
}

// Which channel dominates a strongly coloured pixel: 'r', 'g', 'b', or 0.
char dominant(QRgb colour) {
    const int r = qRed(colour), g = qGreen(colour), b = qBlue(colour);
    if (r > 180 && g < 80 && b < 80) {
        return 'r';
    }
    if (g > 180 && r < 80 && b < 80) {
        return 'g';
    }
    if (b > 180 && r < 80 && g < 80) {
        return 'b';
    }
    return 0;
}

class ShownView : public KvVideoView {
public:
    ShownView(int width, int height) {
        resize(width, height);
        show();
    }
};

} // namespace

class TestVideoView : public QObject {
    Q_OBJECT
private slots:
    void emptyViewIsBlackWithFullScale();
    void knownYuvRendersToTheMatrixRgb();
    void wideWidgetHasBarsLeftAndRight();
    void tallWidgetHasBarsTopAndBottom();
    void hdPictureIn800x600();
    void oddSizedPictureRenders();
    void clearMakesTheNextPaintBlack();
    void captureWritesAJpegOfThePictureSize();
    void captureOfAnEmptyViewWritesNothing();
    void picturesFromAnotherThreadRepaint();
    void playerDrivesTheView();
};

void TestVideoView::emptyViewIsBlackWithFullScale() {
    ShownView view(320, 200);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const QImage frame = view.grabFramebuffer();
    QVERIFY(!frame.isNull());
    for (QPoint point : {QPoint(2, 2), QPoint(160, 100), QPoint(317, 197)}) {
        QVERIFY2(isBlack(pixelAt(frame, view, point.x(), point.y())),
                 qPrintable(describe(pixelAt(frame, view, point.x(), point.y()))));
    }
    double sx = 0, sy = 0;
    view.getScale(&sx, &sy);
    QCOMPARE(sx, 1.0);
    QCOMPARE(sy, 1.0);
}

void TestVideoView::knownYuvRendersToTheMatrixRgb() {
    const Yuv quadrants[4] = {{100, 120, 140}, {180, 60, 200}, {50, 200, 90}, {235, 128, 128}};
    ShownView view(320, 240);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setYUV420PData(quadrantPicture(160, 120, quadrants));
    const QImage frame = view.grabFramebuffer();
    const QPoint centres[4] = {{80, 60}, {240, 60}, {80, 180}, {240, 180}};
    for (int i = 0; i < 4; ++i) {
        const QRgb actual = pixelAt(frame, view, centres[i].x(), centres[i].y());
        const QRgb expected = expectedRgb(quadrants[i]);
        QVERIFY2(near(actual, expected, 2),
                 qPrintable(QString("quadrant %1: %2, expected %3")
                                .arg(i)
                                .arg(describe(actual), describe(expected))));
    }
    // Video white (Y 235) comes out clipped white, because the luma offset is not subtracted.
    QCOMPARE(expectedRgb(quadrants[3]), qRgb(255, 255, 255));
    // The first image row is at the top.
    view.setYUV420PData(solidPicture(160, 120, {100, 120, 140}));
    const QImage plain = view.grabFramebuffer();
    QVERIFY(near(pixelAt(plain, view, 240, 180), expectedRgb({100, 120, 140}), 2));
}

void TestVideoView::wideWidgetHasBarsLeftAndRight() {
    // 640x480 in 1000x500: sx = 500 * 640 / 480 / 1000 = 0.6667.
    ShownView view(1000, 500);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const Yuv grey{128, 128, 128};
    view.setYUV420PData(solidPicture(640, 480, grey));
    const QImage frame = view.grabFramebuffer();
    double sx = 0, sy = 0;
    view.getScale(&sx, &sy);
    QVERIFY(std::fabs(sx - 2.0 / 3.0) < 1e-9);
    QCOMPARE(sy, 1.0);
    // The picture spans x 167..833.
    QVERIFY(isBlack(pixelAt(frame, view, 10, 250)));
    QVERIFY(isBlack(pixelAt(frame, view, 160, 250)));
    QVERIFY(isBlack(pixelAt(frame, view, 840, 250)));
    QVERIFY(near(pixelAt(frame, view, 175, 250), expectedRgb(grey), 2));
    QVERIFY(near(pixelAt(frame, view, 825, 250), expectedRgb(grey), 2));
    QVERIFY(near(pixelAt(frame, view, 500, 2), expectedRgb(grey), 2));
}

void TestVideoView::tallWidgetHasBarsTopAndBottom() {
    // 320x120 in 400x300: sy = 400 * 120 / 320 / 300 = 0.5, bars of 75 rows.
    ShownView view(400, 300);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const Yuv colour{120, 90, 170};
    view.setYUV420PData(solidPicture(320, 120, colour));
    const QImage frame = view.grabFramebuffer();
    double sx = 0, sy = 0;
    view.getScale(&sx, &sy);
    QCOMPARE(sx, 1.0);
    QCOMPARE(sy, 0.5);
    QVERIFY(isBlack(pixelAt(frame, view, 200, 5)));
    QVERIFY(isBlack(pixelAt(frame, view, 200, 70)));
    QVERIFY(isBlack(pixelAt(frame, view, 200, 230)));
    QVERIFY(isBlack(pixelAt(frame, view, 200, 295)));
    QVERIFY(near(pixelAt(frame, view, 200, 80), expectedRgb(colour), 2));
    QVERIFY(near(pixelAt(frame, view, 200, 150), expectedRgb(colour), 2));
    QVERIFY(near(pixelAt(frame, view, 5, 220), expectedRgb(colour), 2));
}

void TestVideoView::hdPictureIn800x600() {
    // sy = 800 * 1080 / 1920 / 600 = 0.75.
    ShownView view(800, 600);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setYUV420PData(solidPicture(1920, 1080, {128, 128, 128}));
    const QImage frame = view.grabFramebuffer();
    double sx = 0, sy = 0;
    view.getScale(&sx, &sy);
    QCOMPARE(sx, 1.0);
    QCOMPARE(sy, 0.75);
    // Only one of the two pointers may be asked for.
    double onlyY = 0;
    view.getScale(nullptr, &onlyY);
    QCOMPARE(onlyY, 0.75);
    QVERIFY(isBlack(pixelAt(frame, view, 400, 70)));
    QVERIFY(!isBlack(pixelAt(frame, view, 400, 80)));
    QVERIFY(!isBlack(pixelAt(frame, view, 400, 519)));
    QVERIFY(isBlack(pixelAt(frame, view, 400, 530)));
}

void TestVideoView::oddSizedPictureRenders() {
    const Yuv quadrants[4] = {{100, 120, 140}, {180, 60, 200}, {50, 200, 90}, {150, 128, 128}};
    ShownView view(321, 241);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setYUV420PData(quadrantPicture(321, 241, quadrants));
    const QImage frame = view.grabFramebuffer();
    // Rows are not sheared: each quadrant keeps its colour down to its bottom rows.
    QVERIFY(near(pixelAt(frame, view, 40, 30), expectedRgb(quadrants[0]), 3));
    QVERIFY(near(pixelAt(frame, view, 280, 30), expectedRgb(quadrants[1]), 3));
    QVERIFY(near(pixelAt(frame, view, 40, 225), expectedRgb(quadrants[2]), 3));
    QVERIFY(near(pixelAt(frame, view, 280, 225), expectedRgb(quadrants[3]), 3));
}

void TestVideoView::clearMakesTheNextPaintBlack() {
    ShownView view(200, 150);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setYUV420PData(solidPicture(200, 150, {128, 128, 128}));
    QVERIFY(!isBlack(pixelAt(view.grabFramebuffer(), view, 100, 75)));
    QTest::ignoreMessage(QtDebugMsg, "clear");
    view.clear();
    QVERIFY(isBlack(pixelAt(view.grabFramebuffer(), view, 100, 75)));
    QVERIFY(!view.capture(QDir::temp().filePath("kv-never-written.jpg")));
}

void TestVideoView::captureWritesAJpegOfThePictureSize() {
    QTemporaryDir dir;
    const QString path = dir.filePath("shot F.jpg");
    KvVideoView view; // never shown: capture needs no OpenGL
    const unsigned char* planes[3];
    KvYUV420P* picture = solidPicture(352, 288, {81, 90, 240});
    planes[0] = picture->y;
    planes[1] = picture->u;
    planes[2] = picture->v;
    int linesizes[3] = {352, 176, 176};
    QCOMPARE(view.setYUV420PData(planes, 352, 288, linesizes), 0);
    delete picture;
    QVERIFY(view.capture(path));
    QImageReader reader(path);
    QCOMPARE(reader.format(), QByteArray("jpeg"));
    QCOMPARE(reader.size(), QSize(352, 288));
    const QImage image = reader.read();
    // The JPEG holds the picture's own colours (limited-range red).
    QVERIFY2(dominant(image.pixel(176, 144)) == 'r', qPrintable(describe(image.pixel(176, 144))));
}

void TestVideoView::captureOfAnEmptyViewWritesNothing() {
    QTemporaryDir dir;
    const QString path = dir.filePath("empty.jpg");
    KvVideoView view;
    QVERIFY(!view.capture(path));
    QVERIFY(!QFile::exists(path));
}

void TestVideoView::picturesFromAnotherThreadRepaint() {
    ShownView view(160, 120);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QSignalSpy repaints(&view, &KvVideoView::updateAsyncSignal);
    QSignalSpy swaps(&view, &QOpenGLWidget::frameSwapped);
    std::thread worker([&view] {
        for (int i = 0; i < 20; ++i) {
            view.updateYUV420Async(solidPicture(160, 120, {uchar(60 + i * 5), 128, 128}));
        }
        view.updateYUV420Async(solidPicture(160, 120, {81, 90, 240}));
    });
    worker.join();
    QCOMPARE(repaints.count(), 21);
    // Queued repaints merge; at least one paint happens and it shows the last picture.
    QTRY_VERIFY(swaps.count() >= 1);
    QTRY_VERIFY(dominant(pixelAt(view.grabFramebuffer(), view, 80, 60)) == 'r');
}

void TestVideoView::playerDrivesTheView() {
    ShownView view(160, 120);
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    KvFFPlayer player;
    player.setVideoView(&view);
    player.disableAudio(true);
    const QByteArray clip = QByteArray(KV_PLAYBACK_MEDIA_DIR) + "/colors-3s.mp4";
    QVERIFY(player.startPlay(clip.constData()) >= 0);
    // One colour per second: red, green, blue, in that order, as the pictures arrive.
    QString seen;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 5000 && !seen.endsWith('b')) {
        QTest::qWait(40);
        const char colour = dominant(pixelAt(view.grabFramebuffer(), view, 80, 60));
        if (colour != 0 && (seen.isEmpty() || seen.back() != colour)) {
            seen += colour;
        }
    }
    player.stopPlay();
    QCOMPARE(seen, QString("rgb"));
}

KV_TEST_MAIN(TestVideoView)
#include "tst_videoview.moc"
