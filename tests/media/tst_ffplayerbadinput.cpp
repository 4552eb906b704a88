// KvFFPlayer on clips that cannot be played properly: each fails quietly, by startPlay's result
// or by ending playback with a status code, and leaves no thread behind after stopPlay.

#include "KvPlayerTestUtil.h"
#include "KvTestMain.h"

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
    PlayerRig rig;
    QVERIFY(!rig.startPlay(path));
    QVERIFY(!rig.player.isPlaying());
    QVERIFY(!rig.player.isOpenFile());
    QVERIFY(!rig.player.anyThread());
    QVERIFY(rig.player.streamReader() == nullptr);
    QTest::qWait(50);
    QCOMPARE(int(rig.recorder.snapshot().size()), 0);
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
    PlayerRig rig;
    QVERIFY(rig.startPlay(path));
    QVERIFY(rig.waitForEnd(kEndTimeoutMs));
    QCOMPARE(rig.recorder.count(KvPlayerStatus::EndOfFile), 1);
    rig.player.stopPlay();
    QVERIFY(!rig.player.anyThread());
    const auto pictures = rig.sink.snapshot();
    QVERIFY2(int(pictures.size()) >= minPictures, qPrintable(QString::number(pictures.size())));
    for (const ShownPicture& picture : pictures) {
        QVERIFY(picture.width > 0 && picture.height > 0);
    }
}

void TestFFPlayerBadInput::clipCutOffEndsWithAReadError() {
    PlayerRig rig;
    QVERIFY(rig.startPlay(mediaClip("truncated.mp4")));
    QVERIFY(rig.waitForEnd(kEndTimeoutMs));
    QCOMPARE(rig.recorder.count(KvPlayerStatus::RanDry), 1);
    rig.player.stopPlay();
    QVERIFY(!rig.player.anyThread());
    // It played what was there: some but not all of its 2 s.
    QVERIFY(rig.sink.count() > 0);
    QVERIFY(rig.sink.snapshot().back().time < 1.9);
}

void TestFFPlayerBadInput::missingAudioDecoderPlaysPictures() {
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("no-audio-decoder.mp4")));
    QVERIFY(rig.player.streamReader()->getAudioStream() == nullptr);
    QVERIFY(rig.player.audio() == nullptr);
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 1, kEndTimeoutMs));
    QVERIFY(rig.sink.count() >= 85);
}

void TestFFPlayerBadInput::framesChangingSizeReachTheSink() {
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("size-change.ts")));
    QVERIFY(rig.waitForEnd(kEndTimeoutMs));
    rig.player.stopPlay();
    std::set<std::pair<int, int>> sizes;
    for (const ShownPicture& picture : rig.sink.snapshot()) {
        sizes.insert({picture.width, picture.height});
    }
    QVERIFY(sizes.count({320, 240}) == 1);
    QVERIFY(sizes.count({160, 120}) == 1);
}

void TestFFPlayerBadInput::stopPlayMidwayLeavesNoThread() {
    PlayerRig rig;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 3));
    QVERIFY(rig.player.anyThread());
    rig.player.stopPlay();
    QVERIFY(!rig.player.anyThread());
    QVERIFY(!rig.player.isPlaying());
    QVERIFY(!rig.player.isOpenFile());
    const int shown = rig.sink.count();
    QTest::qWait(100);
    QCOMPARE(rig.sink.count(), shown);
    // And the player can play again.
    QVERIFY(rig.startAndShow(playbackClip("play-3s.mp4"), shown + 3));
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
