// KvFFPlayer on clips that cannot be played properly: each fails quietly, by startPlay's result
// or by ending playback with a status code, and leaves no thread behind after stopPlay.

#include "KvTestMain.h"
#include "KvPlayerTestUtil.h"

#include <QtTest>

#include <set>

using namespace kvtest;

namespace {

constexpr int kEndTimeoutMs = 20000;

} // namespace

class TestFFPlayerBadInput : public QObject {
    Q_OBJECT
private slots:
    void unopenableClipsFail_data();
    void unopenableClipsFail();
    void oddClipsPlayToTheirEnd_data();
    void oddClipsPlayToTheirEnd();
    void clipCutOffEndsWithAReadError();
    void missingAudioDecoderPlaysPictures();
    void framesChangingSizeReachTheSink();
    void stopPlayMidwayLeavesNoThread();
    void operationsWithoutAFileAreHarmless();
};

void TestFFPlayerBadInput::unopenableClipsFail_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("missing") << mediaClip("no-such-clip.mp4");
    QTest::newRow("zero bytes") << mediaClip("empty.mp4");
    QTest::newRow("random bytes") << mediaClip("random.mp4");
    QTest::newRow("index lost") << mediaClip("truncated-nomoov.mp4");
    QTest::newRow("folder") << QByteArray(KV_TEST_MEDIA_DIR);
}

void TestFFPlayerBadInput::unopenableClipsFail() {
    QFETCH(QByteArray, path);
    TestPlayer player;
    CallbackRecorder recorder;
    player.setCallback(&recorder, &CallbackRecorder::callback);
    QVERIFY(player.startPlay(path.constData()) < 0);
    QVERIFY(!player.isPlaying());
    QVERIFY(!player.isOpenFile());
    QVERIFY(!player.anyThread());
    QVERIFY(player.streamReader() == nullptr);
    QTest::qWait(50);
    QCOMPARE(int(recorder.snapshot().size()), 0);
    player.stopPlay();
}

void TestFFPlayerBadInput::oddClipsPlayToTheirEnd_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("minPictures");
    QTest::newRow("hevc") << mediaClip("hevc.mp4") << 40;
    QTest::newRow("4:2:2 10-bit, converted") << mediaClip("yuv422p10.mp4") << 40;
    QTest::newRow("MJPEG + PCM in AVI") << mediaClip("mjpeg-pcm.avi") << 18;
    QTest::newRow("odd 321x241") << mediaClip("odd-321x241.mp4") << 18;
    QTest::newRow("late start") << mediaClip("late-start.mp4") << 18;
    QTest::newRow("non-ASCII path") << mediaClip("行车记录 Fahrt ü/Clip ü.mp4") << 38;
    QTest::newRow("audio only") << mediaClip("audio-only.mp4") << 0;
    QTest::newRow("subtitles only") << mediaClip("gps-track.srt") << 0;
}

void TestFFPlayerBadInput::oddClipsPlayToTheirEnd() {
    QFETCH(QByteArray, path);
    QFETCH(int, minPictures);
    TestPlayer player;
    RecordingSink sink;
    CallbackRecorder recorder;
    player.setVideoView(&sink);
    player.setCallback(&recorder, &CallbackRecorder::callback);
    QVERIFY(player.startPlay(path.constData()) >= 0);
    QTRY_VERIFY_WITH_TIMEOUT(recorder.count(1) + recorder.count(2) == 1, kEndTimeoutMs);
    QCOMPARE(recorder.count(1), 1);
    player.stopPlay();
    QVERIFY(!player.anyThread());
    const auto pictures = sink.snapshot();
    QVERIFY2(int(pictures.size()) >= minPictures, qPrintable(QString::number(pictures.size())));
    for (const ShownPicture& picture : pictures) {
        QVERIFY(picture.width > 0 && picture.height > 0);
    }
}

void TestFFPlayerBadInput::clipCutOffEndsWithAReadError() {
    TestPlayer player;
    RecordingSink sink;
    CallbackRecorder recorder;
    player.setVideoView(&sink);
    player.setCallback(&recorder, &CallbackRecorder::callback);
    QVERIFY(player.startPlay(mediaClip("truncated.mp4").constData()) >= 0);
    QTRY_VERIFY_WITH_TIMEOUT(recorder.count(1) + recorder.count(2) == 1, kEndTimeoutMs);
    QCOMPARE(recorder.count(2), 1);
    player.stopPlay();
    QVERIFY(!player.anyThread());
    // It played what was there: some but not all of its 2 s.
    QVERIFY(sink.count() > 0);
    QVERIFY(sink.snapshot().back().time < 1.9);
}

void TestFFPlayerBadInput::missingAudioDecoderPlaysPictures() {
    TestPlayer player;
    RecordingSink sink;
    CallbackRecorder recorder;
    player.setVideoView(&sink);
    player.setCallback(&recorder, &CallbackRecorder::callback);
    QVERIFY(player.startPlay(playbackClip("no-audio-decoder.mp4").constData()) >= 0);
    QVERIFY(player.streamReader()->getAudioStream() == nullptr);
    QVERIFY(player.audio() == nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(recorder.count(1) == 1, kEndTimeoutMs);
    QVERIFY(sink.count() >= 85);
    player.stopPlay();
}

void TestFFPlayerBadInput::framesChangingSizeReachTheSink() {
    TestPlayer player;
    RecordingSink sink;
    CallbackRecorder recorder;
    player.setVideoView(&sink);
    player.setCallback(&recorder, &CallbackRecorder::callback);
    QVERIFY(player.startPlay(playbackClip("size-change.ts").constData()) >= 0);
    QTRY_VERIFY_WITH_TIMEOUT(recorder.count(1) + recorder.count(2) == 1, kEndTimeoutMs);
    player.stopPlay();
    std::set<std::pair<int, int>> sizes;
    for (const ShownPicture& picture : sink.snapshot()) {
        sizes.insert({picture.width, picture.height});
    }
    QVERIFY(sizes.count({320, 240}) == 1);
    QVERIFY(sizes.count({160, 120}) == 1);
}

void TestFFPlayerBadInput::stopPlayMidwayLeavesNoThread() {
    TestPlayer player;
    RecordingSink sink;
    player.setVideoView(&sink);
    QVERIFY(player.startPlay(playbackClip("long-10s.mp4").constData()) >= 0);
    QTRY_VERIFY(sink.count() >= 3);
    QVERIFY(player.anyThread());
    player.stopPlay();
    QVERIFY(!player.anyThread());
    QVERIFY(!player.isPlaying());
    QVERIFY(!player.isOpenFile());
    const int shown = sink.count();
    QTest::qWait(100);
    QCOMPARE(sink.count(), shown);
    // And the player can play again.
    QVERIFY(player.startPlay(playbackClip("play-3s.mp4").constData()) >= 0);
    QTRY_VERIFY(sink.count() >= shown + 3);
}

void TestFFPlayerBadInput::operationsWithoutAFileAreHarmless() {
    TestPlayer player;
    player.start();
    player.play();
    player.pause();
    player.seek(3.0);
    player.playNextVideo();
    player.playPrevVideo();
    player.stop();
    player.stopPlay();
    QVERIFY(!player.anyThread());
    QCOMPARE(player.current(), 0.0);
    QCOMPARE(player.duration(), 0.0);
    QCOMPARE(player.closeInput(), 0);
}

KV_TEST_GUILESS_MAIN(TestFFPlayerBadInput)
#include "tst_ffplayerbadinput.moc"
