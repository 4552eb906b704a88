#include "KvTestMain.h"
#include "KvMediaUtils.h"
#include "KvTestMedia.h"
#include "StreamReader.h"

#include <QtTest>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

using kvtest::mediaPath8;

namespace {

// One video picture per second is a key frame in the pair clips and colors.mp4.
constexpr double kKeyFrameInterval = 1.0;
// Seek flags the player core uses: back to the key frame at or before the target.
constexpr int kPlayerSeekFlags = AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_FRAME;
constexpr const char* kFront = "card/DCIM/F/2026_0315_101500_001F.MP4";

double seconds(int64_t value, const AVStream* stream) {
    return double(value) * av_q2d(stream->time_base);
}

// Drops the packets' presentation time before the rebasing runs, like a demuxer that only
// knows decoding times.
class DtsOnlyReader : public StreamReader {
protected:
    void _adjustTime(AVPacket* packet) override {
        packet->pts = AV_NOPTS_VALUE;
        StreamReader::_adjustTime(packet);
    }
};

} // namespace

class TestStreamReader : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();

    void choosesStreamsAndDuration_data();
    void choosesStreamsAndDuration();
    void packetsStartAtZeroPerStream_data();
    void packetsStartAtZeroPerStream();
    void secondAudioTrackWins();
    void adjustTimeOffKeepsContainerTimestamps();
    void unsetPtsTakesDtsMinusStartTime();
    void seekLandsOnKeyFrameAtOrBeforeTarget_data();
    void seekLandsOnKeyFrameAtOrBeforeTarget();
    void seekToDurationIsAccepted();
    void seekOutOfRangeLeavesDemuxerAlone();
    void currentTimeFollowsReading();
    void currentTimeWithoutVideoOrAudio();
    void openFailureIsLoggedAndClosed();
    void stopReadingBalancesInitCount();
    void codecContextsBelongToChosenStreams();
};

void TestStreamReader::initTestCase() {
    // The stream dump of every open goes to FFmpeg's log at information level; keep test output
    // readable.
    av_log_set_level(AV_LOG_WARNING);
}

void TestStreamReader::choosesStreamsAndDuration_data() {
    QTest::addColumn<QString>("clip");
    QTest::addColumn<bool>("video");
    QTest::addColumn<bool>("audio");
    QTest::addColumn<bool>("subtitle");
    QTest::addColumn<double>("duration");
    QTest::newRow("front with gps") << kFront << true << true << true << 4.0;
    QTest::newRow("front without gps")
        << "card/DCIM/F/2026_0315_101800_002F.MP4" << true << true << false << 4.0;
    QTest::newRow("rear with gps")
        << "card/DCIM/R/2026_0315_101800_002R.MP4" << true << true << true << 4.0;
    QTest::newRow("no audio") << "no-audio.mp4" << true << false << false << 2.0;
    QTest::newRow("audio only") << "audio-only.mp4" << false << true << false << 2.0;
    QTest::newRow("mjpeg avi") << "mjpeg-pcm.avi" << true << true << false << 2.0;
    QTest::newRow("hevc") << "hevc.mp4" << true << true << false << 2.0;
    QTest::newRow("10-bit 4:2:2") << "yuv422p10.mp4" << true << false << false << 2.0;
    QTest::newRow("odd size") << "odd-321x241.mp4" << true << false << false << 2.0;
    QTest::newRow("colours") << "colors.mp4" << true << false << false << 4.0;
    QTest::newRow("non-ascii") << "行车记录 Fahrt ü/Clip ü.mp4" << true << false << false << 4.0;
    QTest::newRow("gps0 box") << "gps0.mp4" << true << false << false << 2.0;
    QTest::newRow("late start") << "late-start.mp4" << true << false << false << 2.0;
}

void TestStreamReader::choosesStreamsAndDuration() {
    QFETCH(QString, clip);
    QFETCH(bool, video);
    QFETCH(bool, audio);
    QFETCH(bool, subtitle);
    QFETCH(double, duration);
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8(clip).constData(), nullptr) >= 0);
    QCOMPARE(reader.getVideoStream() != nullptr, video);
    QCOMPARE(reader.getAudioStream() != nullptr, audio);
    QCOMPARE(reader.getSubtitleStream() != nullptr, subtitle);
    if (video) {
        QVERIFY(avcodec_is_open(reader.getVideoCodecContext()));
        // With a video stream the length is the video stream's, even where audio is shorter.
        const AVStream* stream = reader.getVideoStream();
        QCOMPARE(reader.getDuration(), seconds(stream->duration, stream));
    } else if (audio) {
        const AVStream* stream = reader.getAudioStream();
        QCOMPARE(reader.getDuration(), seconds(stream->duration, stream));
    }
    QVERIFY2(std::fabs(reader.getDuration() - duration) < 0.05,
             qPrintable(QString::number(reader.getDuration())));
    reader.stopReading();
    QCOMPARE(reader.getVideoStream(), nullptr);
    QCOMPARE(reader.getAudioStream(), nullptr);
    QCOMPARE(reader.getSubtitleStream(), nullptr);
}

void TestStreamReader::packetsStartAtZeroPerStream_data() {
    choosesStreamsAndDuration_data();
}

void TestStreamReader::packetsStartAtZeroPerStream() {
    QFETCH(QString, clip);
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8(clip).constData(), nullptr) >= 0);
    std::map<int, int64_t> firstDts;
    std::map<int, int64_t> lowestPts;
    kvtest::PacketPtr packet(av_packet_alloc());
    while (reader.readFrame(packet.get()) >= 0) {
        const bool chosen = reader.isVideoPacket(packet.get()) ||
                            reader.isAudioPacket(packet.get()) ||
                            reader.isSubtitlePacket(packet.get());
        if (chosen) {
            firstDts.emplace(packet->stream_index, packet->dts);
        }
        // Packets the demuxer marks for discarding (the encoder delay of AAC, before the edit
        // list's start) are decoded but never presented; presentation starts at 0.
        if (chosen && !(packet->flags & AV_PKT_FLAG_DISCARD)) {
            auto lowest = lowestPts.emplace(packet->stream_index, packet->pts).first;
            lowest->second = std::min(lowest->second, packet->pts);
        }
        av_packet_unref(packet.get());
    }
    QVERIFY(!firstDts.empty());
    for (const auto& [index, dts] : firstDts) {
        QVERIFY2(dts == 0, qPrintable(QString("stream %1 first dts %2").arg(index).arg(dts)));
        QVERIFY2(lowestPts[index] == 0,
                 qPrintable(QString("stream %1 lowest pts %2").arg(index).arg(lowestPts[index])));
    }
    reader.stopReading();
}

void TestStreamReader::secondAudioTrackWins() {
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8("two-audio.mp4").constData(), nullptr) >= 0);
    QVERIFY(reader.getAudioStream() != nullptr);
    QCOMPARE(reader.getAudioStream()->index, 2);
    const AVCodecContext* decoder = reader.getAudioCodecContext();
    QCOMPARE(decoder->sample_rate, 44100);
    QCOMPARE(decoder->ch_layout.nb_channels, 2);
    reader.stopReading();
}

void TestStreamReader::adjustTimeOffKeepsContainerTimestamps() {
    const QByteArray path = mediaPath8("late-start.mp4");
    StreamReader rebased;
    StreamReader raw;
    raw.setAdjustTime(false);
    QVERIFY(rebased.startReading(path.constData(), nullptr) >= 0);
    QVERIFY(raw.startReading(path.constData(), nullptr) >= 0);
    const AVStream* stream = raw.getVideoStream();
    QVERIFY(std::fabs(seconds(stream->start_time, stream) - 1.5) < 0.01);
    kvtest::PacketPtr a(av_packet_alloc());
    kvtest::PacketPtr b(av_packet_alloc());
    bool first = true;
    while (rebased.readFrame(a.get()) >= 0) {
        QVERIFY(raw.readFrame(b.get()) >= 0);
        if (first) {
            QCOMPARE(a->pts, int64_t(0));
            QCOMPARE(b->pts, stream->start_time);
            first = false;
        }
        QCOMPARE(b->pts - a->pts, stream->start_time);
        av_packet_unref(a.get());
        av_packet_unref(b.get());
    }
    QVERIFY(!first);
    rebased.stopReading();
    raw.stopReading();
}

void TestStreamReader::unsetPtsTakesDtsMinusStartTime() {
    const QByteArray path = mediaPath8("late-start.mp4");
    StreamReader raw;
    raw.setAdjustTime(false);
    DtsOnlyReader reader;
    QVERIFY(raw.startReading(path.constData(), nullptr) >= 0);
    QVERIFY(reader.startReading(path.constData(), nullptr) >= 0);
    const int64_t startTime = raw.getVideoStream()->start_time;
    QVERIFY(startTime > 0);
    kvtest::PacketPtr rawPacket(av_packet_alloc());
    kvtest::PacketPtr packet(av_packet_alloc());
    int count = 0;
    while (reader.readFrame(packet.get()) >= 0) {
        QVERIFY(raw.readFrame(rawPacket.get()) >= 0);
        QVERIFY(rawPacket->dts != AV_NOPTS_VALUE);
        QCOMPARE(packet->pts, rawPacket->dts - startTime);
        ++count;
        av_packet_unref(packet.get());
        av_packet_unref(rawPacket.get());
    }
    QVERIFY(count > 10);
    raw.stopReading();
    reader.stopReading();
}

void TestStreamReader::seekLandsOnKeyFrameAtOrBeforeTarget_data() {
    QTest::addColumn<QString>("clip");
    QTest::addColumn<double>("target");
    for (double target : {0.0, 0.5, 1.0, 1.4, 2.7, 3.5, 4.0}) {
        QTest::addRow("front %.1f", target) << kFront << target;
    }
    for (double target : {0.3, 2.5, 3.9}) {
        QTest::addRow("colours %.1f", target) << "colors.mp4" << target;
    }
    QTest::addRow("avi 1.3") << "mjpeg-pcm.avi" << 1.3;
    QTest::addRow("hevc 1.5") << "hevc.mp4" << 1.5;
}

void TestStreamReader::seekLandsOnKeyFrameAtOrBeforeTarget() {
    QFETCH(QString, clip);
    QFETCH(double, target);
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8(clip).constData(), nullptr) >= 0);
    kvtest::PacketPtr packet(av_packet_alloc());
    // Read a little first, as the player does before the user seeks.
    for (int i = 0; i < 5; ++i) {
        QVERIFY(reader.readFrame(packet.get()) >= 0);
        av_packet_unref(packet.get());
    }
    QVERIFY(reader.seek(target, kPlayerSeekFlags) >= 0);
    bool found = false;
    while (!found && reader.readFrame(packet.get()) >= 0) {
        if (reader.isVideoPacket(packet.get())) {
            found = true;
            const double landed = seconds(packet->pts, reader.getVideoStream());
            QVERIFY(packet->flags & AV_PKT_FLAG_KEY);
            QVERIFY2(landed <= target + 1e-6, qPrintable(QString::number(landed)));
            QVERIFY2(landed > target - kKeyFrameInterval - 1e-6,
                     qPrintable(QString::number(landed)));
        }
        av_packet_unref(packet.get());
    }
    QVERIFY(found);
    reader.stopReading();
}

void TestStreamReader::seekToDurationIsAccepted() {
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8(kFront).constData(), nullptr) >= 0);
    QVERIFY(reader.seek(reader.getDuration(), kPlayerSeekFlags) >= 0);
    QVERIFY(reader.seek(0.0, kPlayerSeekFlags) >= 0);
    reader.stopReading();
}

void TestStreamReader::seekOutOfRangeLeavesDemuxerAlone() {
    const QByteArray path = mediaPath8(kFront);
    StreamReader reader;
    StreamReader reference;
    QVERIFY(reader.startReading(path.constData(), nullptr) >= 0);
    QVERIFY(reference.startReading(path.constData(), nullptr) >= 0);
    kvtest::PacketPtr a(av_packet_alloc());
    kvtest::PacketPtr b(av_packet_alloc());
    for (int i = 0; i < 12; ++i) {
        QVERIFY(reader.readFrame(a.get()) >= 0);
        QVERIFY(reference.readFrame(b.get()) >= 0);
        av_packet_unref(a.get());
        av_packet_unref(b.get());
    }
    QCOMPARE(reader.seek(reader.getDuration() + 1e-6, kPlayerSeekFlags), -1);
    QCOMPARE(reader.seek(-0.001, kPlayerSeekFlags), -1);
    QCOMPARE(reader.seek(-1.0, 0), -1);
    // Reading goes on exactly where it was.
    for (int i = 0; i < 12; ++i) {
        QVERIFY(reader.readFrame(a.get()) >= 0);
        QVERIFY(reference.readFrame(b.get()) >= 0);
        QCOMPARE(a->stream_index, b->stream_index);
        QCOMPARE(a->pts, b->pts);
        QCOMPARE(a->pos, b->pos);
        av_packet_unref(a.get());
        av_packet_unref(b.get());
    }
    reader.stopReading();
    reference.stopReading();
}

void TestStreamReader::currentTimeFollowsReading() {
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8("colors.mp4").constData(), nullptr) >= 0);
    QCOMPARE(reader.currentTime(), 0.0);
    kvtest::PacketPtr packet(av_packet_alloc());
    double previous = 0;
    while (reader.readFrame(packet.get()) >= 0) {
        QVERIFY(reader.currentTime() >= previous);
        previous = reader.currentTime();
        av_packet_unref(packet.get());
    }
    QVERIFY2(std::fabs(previous - reader.getDuration()) < 0.15,
             qPrintable(QString::number(previous)));
    QVERIFY(reader.seek(2.0, kPlayerSeekFlags) >= 0);
    QVERIFY(std::fabs(reader.currentTime() - 2.0) < 0.15);
    reader.stopReading();

    StreamReader audioOnly;
    QVERIFY(audioOnly.startReading(mediaPath8("audio-only.mp4").constData(), nullptr) >= 0);
    while (audioOnly.readFrame(packet.get()) >= 0) {
        av_packet_unref(packet.get());
    }
    QVERIFY(audioOnly.currentTime() > 1.5);
    audioOnly.stopReading();
}

void TestStreamReader::currentTimeWithoutVideoOrAudio() {
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8("gps-track.srt").constData(), nullptr) >= 0);
    QVERIFY(reader.getSubtitleStream() != nullptr);
    QCOMPARE(reader.getVideoStream(), nullptr);
    QCOMPARE(reader.getAudioStream(), nullptr);
    QCOMPARE(reader.currentTime(), -1.0);
    // Without video and audio the container's length counts.
    QVERIFY(reader.getDuration() >= 0.0);
    reader.stopReading();
}

void TestStreamReader::openFailureIsLoggedAndClosed() {
    const int before = ffmpegInitCount();
    const QByteArray missing = QByteArray(KV_TEST_MEDIA_DIR) + "/no-such-clip.mp4";
    // FFmpeg's error text comes from the C library, in the desktop's language.
    QTest::ignoreMessage(QtDebugMsg, QByteArray("avformat_open_input(" + missing +
                                                ") = fffffffe, " + QByteArray(std::strerror(ENOENT)))
                                         .constData());
    StreamReader reader;
    QCOMPARE(reader.startReading(missing.constData(), nullptr), AVERROR(ENOENT));
    QCOMPARE(ffmpegInitCount(), before);
    QCOMPARE(reader.getVideoStream(), nullptr);
    kvtest::PacketPtr packet(av_packet_alloc());
    QVERIFY(reader.readFrame(packet.get()) < 0);
    QCOMPARE(reader.seek(0.0, 0), -1);
    QCOMPARE(reader.currentTime(), -1.0);
}

void TestStreamReader::stopReadingBalancesInitCount() {
    const int before = ffmpegInitCount();
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8("colors.mp4").constData(), nullptr) >= 0);
    QCOMPARE(ffmpegInitCount(), before + 1);
    QCOMPARE(reader.stopReading(), 0);
    QCOMPARE(ffmpegInitCount(), before);
    // Stopping a closed reader only balances one more uninit.
    QCOMPARE(reader.stopReading(), 0);
    QCOMPARE(ffmpegInitCount(), before - 1);
    initFFmpeg();
    // Reopening a reader works after it was stopped.
    QVERIFY(reader.startReading(mediaPath8("no-audio.mp4").constData(), nullptr) >= 0);
    QVERIFY(reader.getVideoStream() != nullptr);
    reader.stopReading();
    QCOMPARE(ffmpegInitCount(), before);
}

void TestStreamReader::codecContextsBelongToChosenStreams() {
    StreamReader reader;
    QVERIFY(reader.startReading(mediaPath8(kFront).constData(), nullptr) >= 0);
    QCOMPARE(reader.getCodecContext(reader.getVideoStream()), reader.getVideoCodecContext());
    QCOMPARE(reader.getCodecContext(reader.getAudioStream()), reader.getAudioCodecContext());
    QCOMPARE(reader.getCodecContext(reader.getSubtitleStream()), reader.getSubtitleCodecContext());
    QCOMPARE(reader.getCodecContext(nullptr), nullptr);
    QCOMPARE(reader.getVideoCodecContext()->width, 320);
    QCOMPARE(reader.getVideoCodecContext()->height, 180);
    QCOMPARE(reader.getSubtitleCodecContext()->codec_id, AV_CODEC_ID_MOV_TEXT);
    QVERIFY(reader.isVideoPacket(nullptr) == false);
    QCOMPARE(reader.doAfterDecode(nullptr), -1);
    reader.stopReading();
}

KV_TEST_GUILESS_MAIN(TestStreamReader)
#include "tst_streamreader.moc"
