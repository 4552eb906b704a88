#include "KvMediaUtils.h"
#include "KvTestMain.h"
#include "KvTestMedia.h"
#include "StreamReader.h"

extern "C" {
#include <libavutil/log.h>
}

#include <QtTest>

#include <atomic>
#include <cmath>
#include <cstring>

using kvtest::decodeJpeg;
using kvtest::mediaPath8;

namespace {

// JPEG round trips lose a little; these bound what is still "the same picture".
constexpr int kColourTolerance = 12;
constexpr double kMeanDifferenceLimit = 6.0;

// BT.601 limited-range YUV of the solid colours in colors.mp4 and the still-image tests.
struct YuvColour {
    unsigned char y, u, v;
    QRgb rgb;
};
constexpr YuvColour kRed = {81, 90, 240, 0xffff0000};
constexpr YuvColour kGreen = {145, 54, 34, 0xff00ff00};
constexpr YuvColour kBlue = {41, 240, 110, 0xff0000ff};
constexpr YuvColour kWhite = {235, 128, 128, 0xffffffff};

// Counts FFmpeg log lines whose text contains a marker. The MJPEG decoder writes one debug line
// per JPEG marker it parses, so the count tells how many pictures were decoded.
std::atomic<int> markerLines{0};
void countingLog(void*, int level, const char* format, va_list) {
    if (level <= AV_LOG_DEBUG && std::strstr(format, "marker=") != nullptr) {
        ++markerLines;
    }
}

QRgb centre(const QImage& image) {
    return image.pixel(image.width() / 2, image.height() / 2);
}

} // namespace

class TestMediaUtils : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void initCounterBalances();
    void frameFreeFunctionsIgnoreNull();

    void readVideoInfoFillsDetailsAndThumbnail_data();
    void readVideoInfoFillsDetailsAndThumbnail();
    void readVideoInfoThumbnailShowsFirstColour();
    void existingThumbnailIsNotRewrittenNorDecoded();
    void stopAbandonsTheRead();
    void readVideoInfoWithoutVideoFails();

    void writeVideoThumbAtZeroWritesFirstPicture();
    void writeVideoThumbSeeksToLaterPicture();

    void writeYUV420PRoundTripsColours();
    void writeNV12RoundTripsColours();
    void writeAVFrame2JpgTakesFullRangeDirectly();
    void screenshotOverLargerFileKeepsTail();
    void stillImageToNonAsciiPath();

private:
    QTemporaryDir _dir;
};

void TestMediaUtils::initTestCase() {
    QVERIFY(_dir.isValid());
}

void TestMediaUtils::init() {
    av_log_set_level(AV_LOG_WARNING);
    av_log_set_callback(av_log_default_callback);
}

void TestMediaUtils::initCounterBalances() {
    const int before = ffmpegInitCount();
    initFFmpeg();
    initFFmpeg();
    QCOMPARE(ffmpegInitCount(), before + 2);
    uninitFFmpeg();
    uninitFFmpeg();
    QCOMPARE(ffmpegInitCount(), before);
    _video_info info;
    info.thumbPath = _dir.filePath("balance.jpg");
    QVERIFY(readVideoInfo(mediaPath8("colors.mp4").constData(), &info, nullptr) >= 0);
    QCOMPARE(ffmpegInitCount(), before);
}

void TestMediaUtils::frameFreeFunctionsIgnoreNull() {
    AVFrameFree(nullptr);
    AVFrameFreeFunc(nullptr);
    AVFrameFree(av_frame_alloc());
    AVFrameFreeFunc(av_frame_alloc());
}

void TestMediaUtils::readVideoInfoFillsDetailsAndThumbnail_data() {
    QTest::addColumn<QString>("clip");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<double>("fps");
    QTest::addColumn<double>("duration");
    QTest::newRow("h264 pair clip")
        << "card/DCIM/F/2026_0315_101500_001F.MP4" << 320 << 180 << 15.0 << 4.0;
    QTest::newRow("two audio") << "two-audio.mp4" << 320 << 240 << 25.0 << 2.0;
    QTest::newRow("no audio") << "no-audio.mp4" << 320 << 240 << 25.0 << 2.0;
    QTest::newRow("mjpeg avi") << "mjpeg-pcm.avi" << 320 << 240 << 10.0 << 2.0;
    QTest::newRow("hevc") << "hevc.mp4" << 320 << 240 << 25.0 << 2.0;
    QTest::newRow("10-bit 4:2:2") << "yuv422p10.mp4" << 320 << 240 << 25.0 << 2.0;
    QTest::newRow("odd size") << "odd-321x241.mp4" << 321 << 241 << 10.0 << 2.0;
    QTest::newRow("colours") << "colors.mp4" << 160 << 120 << 10.0 << 4.0;
    QTest::newRow("non-ascii") << "行车记录 Fahrt ü/Clip ü.mp4" << 160 << 120 << 10.0 << 4.0;
    QTest::newRow("late start") << "late-start.mp4" << 160 << 120 << 10.0 << 2.0;
}

void TestMediaUtils::readVideoInfoFillsDetailsAndThumbnail() {
    QFETCH(QString, clip);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(double, fps);
    QFETCH(double, duration);
    _video_info info;
    info.thumbPath = _dir.filePath(QString("thumb %1 é.jpg").arg(QTest::currentDataTag()));
    QFile::remove(info.thumbPath);
    QCOMPARE(readVideoInfo(mediaPath8(clip).constData(), &info, nullptr), 0);
    QCOMPARE(info.width, width);
    QCOMPARE(info.height, height);
    QVERIFY2(std::fabs(info.fps - fps) < 1e-6, qPrintable(QString::number(info.fps)));
    QVERIFY2(std::fabs(info.duration - duration) < 0.05,
             qPrintable(QString::number(info.duration)));

    const QImage thumb = decodeJpeg(info.thumbPath);
    QCOMPARE(thumb.width(), width);
    QCOMPARE(thumb.height(), height);
    const QImage first = kvtest::firstPicture(mediaPath8(clip));
    const double difference = kvtest::meanDifference(thumb, first);
    QVERIFY2(difference >= 0 && difference < kMeanDifferenceLimit,
             qPrintable(QString::number(difference)));
}

void TestMediaUtils::readVideoInfoThumbnailShowsFirstColour() {
    _video_info info;
    info.thumbPath = _dir.filePath("colours.jpg");
    QCOMPARE(readVideoInfo(mediaPath8("colors.mp4").constData(), &info, nullptr), 0);
    const QImage thumb = decodeJpeg(info.thumbPath);
    QVERIFY(kvtest::colourNear(centre(thumb), kRed.rgb, kColourTolerance));
    QVERIFY(kvtest::colourNear(thumb.pixel(0, 0), kRed.rgb, kColourTolerance));
}

void TestMediaUtils::existingThumbnailIsNotRewrittenNorDecoded() {
    const QByteArray clip = mediaPath8("mjpeg-pcm.avi");
    av_log_set_level(AV_LOG_DEBUG);
    av_log_set_callback(countingLog);

    // What opening alone decodes (the stream probe looks at the first picture).
    markerLines = 0;
    StreamReader reader;
    QVERIFY(reader.startReading(clip.constData(), nullptr) >= 0);
    reader.stopReading();
    const int openingOnly = markerLines;

    _video_info fresh;
    fresh.thumbPath = _dir.filePath("fresh.jpg");
    markerLines = 0;
    QCOMPARE(readVideoInfo(clip.constData(), &fresh, nullptr), 0);
    const int withThumbnail = markerLines;
    QVERIFY2(withThumbnail > openingOnly,
             qPrintable(QString("%1 vs %2").arg(withThumbnail).arg(openingOnly)));

    const QString existing = _dir.filePath("existing.jpg");
    QFile file(existing);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not rewritten");
    file.close();
    _video_info known;
    known.thumbPath = existing;
    markerLines = 0;
    QVERIFY(readVideoInfo(clip.constData(), &known, nullptr) >= 0);
    QCOMPARE(int(markerLines), openingOnly);
    av_log_set_callback(av_log_default_callback);
    av_log_set_level(AV_LOG_WARNING);

    QCOMPARE(known.width, 320);
    QCOMPARE(known.height, 240);
    QCOMPARE(known.fps, 10.0);
    QVERIFY(std::fabs(known.duration - 2.0) < 0.05);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("not rewritten"));
}

void TestMediaUtils::stopAbandonsTheRead() {
    _video_info info;
    info.thumbPath = _dir.filePath("stopped.jpg");
    std::atomic<bool> stop{true};
    QElapsedTimer timer;
    timer.start();
    QVERIFY(readVideoInfo(mediaPath8("card/DCIM/F/2026_0315_101500_001F.MP4").constData(), &info,
                          &stop) >= 0);
    QVERIFY(timer.elapsed() < 2000);
    // The details are there; the thumbnail is not, and that is no error.
    QCOMPARE(info.width, 320);
    QVERIFY(!QFile::exists(info.thumbPath));

    stop = false;
    QCOMPARE(readVideoInfo(mediaPath8("card/DCIM/F/2026_0315_101500_001F.MP4").constData(), &info,
                           &stop),
             0);
    QVERIFY(QFile::exists(info.thumbPath));
}

void TestMediaUtils::readVideoInfoWithoutVideoFails() {
    _video_info info;
    info.thumbPath = _dir.filePath("audio.jpg");
    QVERIFY(readVideoInfo(mediaPath8("audio-only.mp4").constData(), &info, nullptr) < 0);
    QVERIFY(!QFile::exists(info.thumbPath));
    QCOMPARE(info.width, 0);
    QVERIFY(std::fabs(info.duration - 2.0) < 0.05);
}

void TestMediaUtils::writeVideoThumbAtZeroWritesFirstPicture() {
    const QString path = _dir.filePath("at-zero.jpg");
    QCOMPARE(writeVideoThumb(mediaPath8("colors.mp4").constData(), path, 0.0), 0);
    const QImage thumb = decodeJpeg(path);
    QCOMPARE(thumb.size(), QSize(160, 120));
    QVERIFY(kvtest::colourNear(centre(thumb), kRed.rgb, kColourTolerance));
}

void TestMediaUtils::writeVideoThumbSeeksToLaterPicture() {
    // Each second of colors.mp4 starts with a key frame; the seek lands on one.
    const QString green = _dir.filePath("at-one.jpg");
    QCOMPARE(writeVideoThumb(mediaPath8("colors.mp4").constData(), green, 1.0), 0);
    QVERIFY(kvtest::colourNear(centre(decodeJpeg(green)), kGreen.rgb, kColourTolerance));
    const QString blue = _dir.filePath("at-two.jpg");
    QCOMPARE(writeVideoThumb(mediaPath8("colors.mp4").constData(), blue, 2.0), 0);
    QVERIFY(kvtest::colourNear(centre(decodeJpeg(blue)), kBlue.rgb, kColourTolerance));
}

void TestMediaUtils::writeYUV420PRoundTripsColours() {
    // Four vertical bands: red, green, blue, white, each 16 pixels wide.
    constexpr int width = 64;
    constexpr int height = 32;
    const YuvColour bands[4] = {kRed, kGreen, kBlue, kWhite};
    QByteArray y(width * height, 0), u(width * height / 4, 0), v(width * height / 4, 0);
    for (int row = 0; row < height; ++row) {
        for (int x = 0; x < width; ++x) {
            y[row * width + x] = char(bands[x / 16].y);
        }
    }
    for (int row = 0; row < height / 2; ++row) {
        for (int x = 0; x < width / 2; ++x) {
            u[row * width / 2 + x] = char(bands[x / 8].u);
            v[row * width / 2 + x] = char(bands[x / 8].v);
        }
    }
    const QString path = _dir.filePath("bands.jpg");
    QCOMPARE(writeYUV420P(reinterpret_cast<unsigned char*>(y.data()),
                          reinterpret_cast<unsigned char*>(u.data()),
                          reinterpret_cast<unsigned char*>(v.data()), width, height, path),
             0);
    const QImage image = decodeJpeg(path);
    QCOMPARE(image.size(), QSize(width, height));
    for (int band = 0; band < 4; ++band) {
        const QRgb pixel = image.pixel(band * 16 + 8, height / 2);
        QVERIFY2(kvtest::colourNear(pixel, bands[band].rgb, kColourTolerance),
                 qPrintable(QString("band %1: %2").arg(band).arg(pixel, 8, 16)));
    }
    // The caller keeps its planes.
    QCOMPARE(uchar(y[0]), kRed.y);
}

void TestMediaUtils::writeNV12RoundTripsColours() {
    constexpr int width = 32;
    constexpr int height = 16;
    QByteArray y(width * height, char(kBlue.y));
    QByteArray uv(width * height / 2, 0);
    for (int i = 0; i < uv.size(); i += 2) {
        uv[i] = char(kBlue.u);
        uv[i + 1] = char(kBlue.v);
    }
    const QString path = _dir.filePath("nv12.jpg");
    QCOMPARE(writeNV12(reinterpret_cast<unsigned char*>(y.data()),
                       reinterpret_cast<unsigned char*>(uv.data()), width, height, path),
             0);
    const QImage image = decodeJpeg(path);
    QCOMPARE(image.size(), QSize(width, height));
    QVERIFY(kvtest::colourNear(centre(image), kBlue.rgb, kColourTolerance));
}

void TestMediaUtils::writeAVFrame2JpgTakesFullRangeDirectly() {
    // A full-range 4:2:2 frame, as the MJPEG decoder gives, is encoded as it is.
    kvtest::FramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUVJ422P;
    frame->width = 48;
    frame->height = 32;
    QVERIFY(av_frame_get_buffer(frame.get(), 0) >= 0);
    // Full-range green: Y 150, Cb 44, Cr 21.
    for (int row = 0; row < frame->height; ++row) {
        std::memset(frame->data[0] + row * frame->linesize[0], 150, size_t(frame->width));
        std::memset(frame->data[1] + row * frame->linesize[1], 44, size_t(frame->width / 2));
        std::memset(frame->data[2] + row * frame->linesize[2], 21, size_t(frame->width / 2));
    }
    const QString path = _dir.filePath("direct.jpg");
    QCOMPARE(writeAVFrame2Jpg(frame.get(), path), 0);
    const QImage image = decodeJpeg(path);
    QCOMPARE(image.size(), QSize(48, 32));
    QVERIFY(kvtest::colourNear(centre(image), kGreen.rgb, kColourTolerance));
}

void TestMediaUtils::screenshotOverLargerFileKeepsTail() {
    constexpr int width = 16;
    constexpr int height = 16;
    QByteArray y(width * height, char(kWhite.y));
    QByteArray chroma(width * height / 4, char(128));
    auto* yp = reinterpret_cast<unsigned char*>(y.data());
    auto* cp = reinterpret_cast<unsigned char*>(chroma.data());

    const QString fresh = _dir.filePath("fresh-shot.jpg");
    writeYUV420P(yp, cp, cp, width, height, fresh);
    QFile freshFile(fresh);
    QVERIFY(freshFile.open(QIODevice::ReadOnly));
    const QByteArray image = freshFile.readAll();
    QVERIFY(image.startsWith("\xFF\xD8"));

    const QString over = _dir.filePath("over-shot.jpg");
    const QByteArray filler(image.size() + 5000, char(0xAB));
    QFile overFile(over);
    QVERIFY(overFile.open(QIODevice::WriteOnly));
    overFile.write(filler);
    overFile.close();
    writeYUV420P(yp, cp, cp, width, height, over);
    QVERIFY(overFile.open(QIODevice::ReadOnly));
    const QByteArray written = overFile.readAll();
    QCOMPARE(written.size(), filler.size());
    QCOMPARE(written.left(image.size()), image);
    QCOMPARE(written.mid(image.size()), filler.mid(image.size()));
}

void TestMediaUtils::stillImageToNonAsciiPath() {
    QDir(_dir.path()).mkpath("截图 ü");
    const QString path = _dir.filePath("截图 ü/still é.jpg");
    QByteArray y(16 * 16, char(kRed.y)), u(64, char(kRed.u)), v(64, char(kRed.v));
    writeYUV420P(reinterpret_cast<unsigned char*>(y.data()),
                 reinterpret_cast<unsigned char*>(u.data()),
                 reinterpret_cast<unsigned char*>(v.data()), 16, 16, path);
    QVERIFY(kvtest::colourNear(centre(decodeJpeg(path)), kRed.rgb, kColourTolerance));
}

KV_TEST_GUILESS_MAIN(TestMediaUtils)
#include "tst_mediautils.moc"
