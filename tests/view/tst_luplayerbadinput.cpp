// LuPlayer on bad pairs, with real views under Xvfb: a front clip cut off while the rear plays
// on, a rear shorter than its front, a rear without video, and a seeded random run of stop,
// start, seek, pause, play and steps for 30 s. Nothing crashes or hangs, the front alone reports
// progress and the end, and no thread of the player is left after stopPlay.

#include "KvPlayerStatus.h"
#include "KvTestMain.h"
#include "LuPlayerTestUtil.h"

#include <QRandomGenerator>
#include <QtTest>

#include <memory>
#include <mutex>
#include <vector>

using namespace kvtest;

namespace {

constexpr int kPlayTimeoutMs = 20000;
// Length of the random run.
constexpr int kRandomRunMs = 30000;
// Slowest acceptable single operation of the random run (a stop joins three threads per core).
constexpr qint64 kSlowestOperationMs = 2000;

// The status callbacks of the player, from whichever thread.
class Events {
public:
    static void callback(void* context, int code, double time, double) {
        auto* self = static_cast<Events*>(context);
        std::lock_guard<std::mutex> guard(self->mutex);
        self->codes.push_back(code);
        self->times.push_back(time);
    }
    int count(int code) {
        std::lock_guard<std::mutex> guard(mutex);
        return int(std::count(codes.begin(), codes.end(), code));
    }
    void reset() {
        std::lock_guard<std::mutex> guard(mutex);
        codes.clear();
        times.clear();
    }
    double lastTime() {
        std::lock_guard<std::mutex> guard(mutex);
        return times.empty() ? -1 : times.back();
    }

private:
    std::mutex mutex;
    std::vector<int> codes;
    std::vector<double> times;
};

} // namespace

class TestLuPlayerBadInput : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void cutOffFrontWhileTheRearPlaysOn();
    void rearShorterThanTheFront();
    void rearWithoutVideo();
    void randomCommandsForThirtySeconds();

private:
    std::unique_ptr<PairRig> rig;
    LuVideoView* view = nullptr; // the rig's
    LuPlayer* player = nullptr;  // the rig's
    Events events;
    int threadsBefore = 0;
};

void TestLuPlayerBadInput::init() {
    rig = std::make_unique<PairRig>();
    view = &rig->view;
    player = &rig->player;
    QVERIFY(rig->exposed());
    player->setCallback(&events, &Events::callback);
    threadsBefore = threadCount();
}

void TestLuPlayerBadInput::cleanup() {
    player->stopPlay();
    QVERIFY(!player->isOpenFile());
    QVERIFY(!player->isPlaying());
    // The cores' threads are gone (the audio device may keep one thread of its own).
    QTRY_VERIFY2(
        threadCount() <= threadsBefore + 1,
        qPrintable(QString("%1 threads, %2 before").arg(threadCount()).arg(threadsBefore)));
    player = nullptr;
    view = nullptr;
    rig.reset();
    events.reset();
}

void TestLuPlayerBadInput::cutOffFrontWhileTheRearPlaysOn() {
    QCOMPARE(rig->startPair(pairClip("front-cut.mp4"), pairClip("rear-720p.mp4")), 0);
    // The front runs dry early for a read error (code 2); the rear plays on to its end.
    QTRY_VERIFY_WITH_TIMEOUT(events.count(KvPlayerStatus::RanDry) == 1, kPlayTimeoutMs);
    QCOMPARE(events.count(KvPlayerStatus::EndOfFile), 0);
    const double frontEnd = view->frontView->getPictureTime();
    QVERIFY2(frontEnd < 5.0, qPrintable(QString::number(frontEnd)));
    QVERIFY(rig->waitForRearPast(5.8, kPlayTimeoutMs));
    QTRY_VERIFY(!player->getRearPlayer()->isPlaying() || view->rearView->getPictureTime() > 5.9);
    QCOMPARE(events.count(KvPlayerStatus::RanDry), 1);
}

void TestLuPlayerBadInput::rearShorterThanTheFront() {
    QCOMPARE(rig->startPair(pairClip("front-1080p.mp4"), pairClip("rear-short.mp4")), 0);
    QVERIFY(rig->waitForRearPast(2.9, kPlayTimeoutMs));
    // The rear's end is not reported: progress and the end come from the front.
    QTest::qWait(300);
    QCOMPARE(events.count(KvPlayerStatus::EndOfFile), 0);
    QVERIFY(player->isPlaying());
    QTRY_VERIFY_WITH_TIMEOUT(events.count(KvPlayerStatus::EndOfFile) == 1, kPlayTimeoutMs);
    QVERIFY(events.lastTime() > 5.8);
    // The rear keeps its last picture.
    QVERIFY(view->rearView->getPictureTime() > 2.9);
    QVERIFY(view->rearView->getPictureTime() < 3.0);
    QTest::qWait(300);
    QCOMPARE(events.count(KvPlayerStatus::EndOfFile), 1);
    QCOMPARE(events.count(KvPlayerStatus::RanDry), 0);
}

void TestLuPlayerBadInput::rearWithoutVideo() {
    QCOMPARE(rig->startPair(pairClip("front-1080p.mp4"), pairClip("rear-novideo.mp4")), 0);
    QCOMPARE(view->getPlayerCount(), 2);
    QVERIFY(rig->waitForFrontPast(1.0));
    QCOMPARE(view->rearView->getPictureTime(), -1.0);
    // Seeking and pausing work for the front.
    player->seek(4.5);
    QTRY_VERIFY(view->frontView->getPictureTime() >= 4.4);
    player->pause();
    QVERIFY(!player->isPlaying());
    player->play();
    QTRY_VERIFY_WITH_TIMEOUT(events.count(KvPlayerStatus::EndOfFile) == 1, kPlayTimeoutMs);
    QCOMPARE(view->rearView->getPictureTime(), -1.0);
}

void TestLuPlayerBadInput::randomCommandsForThirtySeconds() {
    QRandomGenerator random(20260315);
    const KvVideoInfo pairs[] = {
        pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4")),
        pairOf(pairClip("front-cut.mp4"), pairClip("rear-short.mp4")),
        pairOf(pairClip("front-1080p.mp4"), pairClip("rear-novideo.mp4")),
        pairOf(pairClip("missing.mp4"), pairClip("rear-720p.mp4")),
    };
    QElapsedTimer run;
    run.start();
    qint64 slowest = 0;
    int operations = 0;
    while (run.elapsed() < kRandomRunMs) {
        QElapsedTimer timer;
        timer.start();
        switch (random.bounded(9)) {
        case 0:
            player->startPlay(pairs[random.bounded(4)]);
            break;
        case 1:
            player->stopPlay();
            break;
        case 2:
        case 3:
            player->seek(random.bounded(7.0) - 0.5);
            break;
        case 4:
            player->pause();
            break;
        case 5:
            player->play();
            break;
        case 6:
            player->playPrevVideo();
            break;
        case 7:
            player->playNextVideo();
            break;
        default:
            // Any volume, as the slider sets it: fractions once broke the audio device's lock.
            player->setVolume(float(random.bounded(1.0)));
            break;
        }
        slowest = std::max(slowest, timer.elapsed());
        ++operations;
        QTest::qWait(random.bounded(150));
    }
    qInfo("%d operations, slowest %lld ms", operations, slowest);
    QVERIFY2(slowest < kSlowestOperationMs, qPrintable(QString::number(slowest)));
    QVERIFY(operations > 100);
}

KV_TEST_MAIN(TestLuPlayerBadInput)
#include "tst_luplayerbadinput.moc"
