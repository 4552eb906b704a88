#include "KvTestMain.h"
#include "KvMediaUtils.h"
#include "KvTestMedia.h"
#include "StreamReader.h"

#include <QtTest>

using kvtest::mediaPath8;

namespace {

// No clip of the suite has this many packets; a read loop past it is stuck.
constexpr int kPacketLimit = 100000;
// Bad input must fail quickly, not after a long probe or a retry loop.
constexpr qint64 kPromptMs = 5000;

} // namespace

// Files that are not clips, or are broken ones: every function gives its failure value (or, for
// a clip that merely ends early, what it can), and none crashes, hangs or leaks. This executable
// is the one to run under AddressSanitizer.
class TestMediaBadInput : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();

    void streamReaderFailsQuietly_data();
    void streamReaderFailsQuietly();
    void readVideoInfoFailsQuietly_data();
    void readVideoInfoFailsQuietly();
    void writeVideoThumbFailsQuietly_data();
    void writeVideoThumbFailsQuietly();
    void nullPathFailsQuietly();

    void stillImageWritersRejectBadPictures();
    void stillImageToMissingFolderWritesNothing();

private:
    void _addBadFiles();
    QTemporaryDir _dir;
};

void TestMediaBadInput::initTestCase() {
    QVERIFY(_dir.isValid());
    av_log_set_level(AV_LOG_QUIET);
}

void TestMediaBadInput::_addBadFiles() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("opens");
    QTest::newRow("zero bytes") << mediaPath8("empty.mp4") << false;
    QTest::newRow("random bytes") << mediaPath8("random.mp4") << false;
    QTest::newRow("index lost") << mediaPath8("truncated-nomoov.mp4") << false;
    QTest::newRow("missing") << mediaPath8("absent.mp4") << false;
    QTest::newRow("missing non-ascii") << mediaPath8("行车记录 Fahrt ü/缺失 ü.mp4") << false;
    QTest::newRow("folder") << mediaPath8("card") << false;
    QTest::newRow("empty path") << QByteArray("") << false;
    QTest::newRow("cut short") << mediaPath8("truncated.mp4") << true;
}

void TestMediaBadInput::streamReaderFailsQuietly_data() {
    _addBadFiles();
}

void TestMediaBadInput::streamReaderFailsQuietly() {
    QFETCH(QByteArray, path);
    QFETCH(bool, opens);
    const int before = ffmpegInitCount();
    QElapsedTimer timer;
    timer.start();
    StreamReader reader;
    // The open failure is logged on the debug stream; its text is checked elsewhere.
    if (!opens) {
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^avformat_open_input\\("));
    }
    const int result = reader.startReading(path.constData(), nullptr);
    QCOMPARE(result >= 0, opens);
    kvtest::PacketPtr packet(av_packet_alloc());
    int packets = 0;
    while (reader.readFrame(packet.get()) >= 0 && packets < kPacketLimit) {
        ++packets;
        av_packet_unref(packet.get());
    }
    QVERIFY(packets < kPacketLimit);
    if (opens) {
        // What is there is read; the rest is missing.
        StreamReader whole;
        QVERIFY(whole.startReading(mediaPath8("no-audio.mp4").constData(), nullptr) >= 0);
        int wholePackets = 0;
        while (whole.readFrame(packet.get()) >= 0) {
            ++wholePackets;
            av_packet_unref(packet.get());
        }
        whole.stopReading();
        QVERIFY2(packets > 0 && packets < wholePackets,
                 qPrintable(QString("%1 of %2").arg(packets).arg(wholePackets)));
        QVERIFY(reader.seek(0.5, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_FRAME) >= 0);
    } else {
        QCOMPARE(reader.getVideoStream(), nullptr);
        QCOMPARE(reader.getAudioStream(), nullptr);
        QCOMPARE(reader.seek(0.0, 0), -1);
        QCOMPARE(reader.currentTime(), -1.0);
        QCOMPARE(ffmpegInitCount(), before);
    }
    reader.stopReading();
    QVERIFY(timer.elapsed() < kPromptMs);
    QCOMPARE(ffmpegInitCount(), opens ? before : before - 1);
    initFFmpeg();
    if (!opens) {
        // The extra stopReading() above balanced one uninit too many; restore the count.
        QCOMPARE(ffmpegInitCount(), before);
    } else {
        uninitFFmpeg();
        QCOMPARE(ffmpegInitCount(), before);
    }
}

void TestMediaBadInput::readVideoInfoFailsQuietly_data() {
    _addBadFiles();
}

void TestMediaBadInput::readVideoInfoFailsQuietly() {
    QFETCH(QByteArray, path);
    QFETCH(bool, opens);
    const int before = ffmpegInitCount();
    _video_info info;
    info.thumbPath = _dir.filePath(QString("info-%1.jpg").arg(QTest::currentDataTag()));
    if (!opens) {
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^avformat_open_input\\("));
    }
    const int result = readVideoInfo(path.constData(), &info, nullptr);
    QCOMPARE(ffmpegInitCount(), before);
    if (!opens) {
        QVERIFY(result < 0);
        QVERIFY(!QFile::exists(info.thumbPath));
        return;
    }
    // The first pictures of the clip are intact: its details and thumbnail come out.
    QCOMPARE(result, 0);
    QCOMPARE(info.width, 320);
    QCOMPARE(info.height, 240);
    QCOMPARE(kvtest::decodeJpeg(info.thumbPath).size(), QSize(320, 240));
}

void TestMediaBadInput::writeVideoThumbFailsQuietly_data() {
    _addBadFiles();
}

void TestMediaBadInput::writeVideoThumbFailsQuietly() {
    QFETCH(QByteArray, path);
    QFETCH(bool, opens);
    const int before = ffmpegInitCount();
    const QString thumb = _dir.filePath(QString("thumb-%1.jpg").arg(QTest::currentDataTag()));
    if (!opens) {
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^avformat_open_input\\("));
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^avformat_open_input\\("));
    }
    const int result = writeVideoThumb(path.constData(), thumb, 0.0);
    if (opens) {
        QCOMPARE(result, 0);
        QVERIFY(QFile::exists(thumb));
        // Past the part that is still there, no picture is found.
        const QString late = thumb + "-late.jpg";
        QCOMPARE(writeVideoThumb(path.constData(), late, 1.9), -1);
        QVERIFY(!QFile::exists(late));
    } else {
        QCOMPARE(result, -1);
        QVERIFY(!QFile::exists(thumb));
        QCOMPARE(writeVideoThumb(path.constData(), thumb, 1.0), -1);
    }
    // A failed open has closed its reader, and the stopReading() that follows balances one more
    // uninit, as it always has; successful reads leave the count where it was.
    QCOMPARE(ffmpegInitCount(), opens ? before : before - 2);
    while (ffmpegInitCount() < before) {
        initFFmpeg();
    }
}

void TestMediaBadInput::nullPathFailsQuietly() {
    StreamReader reader;
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^avformat_open_input\\("));
    QVERIFY(reader.startReading(nullptr, nullptr) < 0);
    _video_info info;
    info.thumbPath = _dir.filePath("null.jpg");
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^avformat_open_input\\("));
    QVERIFY(readVideoInfo(nullptr, &info, nullptr) < 0);
    QVERIFY(!QFile::exists(info.thumbPath));
}

void TestMediaBadInput::stillImageWritersRejectBadPictures() {
    const QString path = _dir.filePath("bad.jpg");
    QCOMPARE(writeAVFrame2Jpg(nullptr, path), 0);
    kvtest::FramePtr frame(av_frame_alloc());
    QCOMPARE(writeAVFrame2Jpg(frame.get(), path), 0); // no size, no format
    frame->width = 16;
    frame->height = 16;
    frame->format = AV_PIX_FMT_NONE;
    QCOMPARE(writeAVFrame2Jpg(frame.get(), path), 0);
    QCOMPARE(writeYUV420P(nullptr, nullptr, nullptr, 0, 0, path), 0);
    QCOMPARE(writeNV12(nullptr, nullptr, 0, 0, path), 0);
    QVERIFY(!QFile::exists(path));
}

void TestMediaBadInput::stillImageToMissingFolderWritesNothing() {
    QByteArray y(16 * 16, 0), chroma(64, char(128));
    auto* yp = reinterpret_cast<unsigned char*>(y.data());
    auto* cp = reinterpret_cast<unsigned char*>(chroma.data());
    const QString path = _dir.filePath("no such folder/still.jpg");
    QCOMPARE(writeYUV420P(yp, cp, cp, 16, 16, path), 0);
    QVERIFY(!QFile::exists(path));
}

KV_TEST_GUILESS_MAIN(TestMediaBadInput)
#include "tst_mediabadinput.moc"
