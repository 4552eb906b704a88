// A recording of the dash camera played the way the player plays it: a 1080p30 front clip and a
// 720p30 rear clip through LuPlayer (front at full volume, rear muted and without audio decoding,
// the two cores sharing one clock), first without views and then with the two-channel view on
// screen. For each: late pictures (shown more than one frame interval after their due time), the
// process's CPU time per second of playback and against the ffmpeg command line decoding the same
// clips' video (ffmpeg -threads 1 -i clip -map 0:v -f null -) in the same run, peak memory, and
// the largest difference between the front and rear pictures' timestamps, during a straight play
// and during a scripted sequence (play 10 s, seek to five times between key frames, pause 1 s,
// resume, play to the end), counted from half a second after each command.
//
//   kv_bench_playback <front clip> <rear clip> [noview|view|both]
//
// Goals without views: no late picture, our CPU at most 1.3 times ffmpeg's decode CPU, and the
// largest front/rear difference at most one frame interval.
#include "KvFFPlayer.h"
#include "KvVideoInfo.h"
#include "KvVideoView.h"
#include "KvYUV420P.h"
#include "LuPlayer.h"
#include "LuVideoView.h"

extern "C" {
#include <libavutil/log.h>
}

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <memory>
#include <mutex>

namespace {

constexpr double kGoalCpuRatio = 1.3;
constexpr double kFrameInterval = 1.0 / 30;
// Timestamps are rounded to the container's time base.
constexpr double kTimeTolerance = 0.001;
// A recording plays at most this long past its duration before the bench gives up.
constexpr double kEndGraceSeconds = 10.0;
// Front/rear differences count from this long after a command.
constexpr qint64 kSettleNs = 500000000;
constexpr int kViewWidth = 1280;
constexpr int kViewHeight = 360;
// The scripted sequence: seek targets between the key frames of both clips (the front's are at
// whole seconds, the rear's at 7/30 s and then every 0.4 s), and how long each plays.
constexpr double kSeekTargets[] = {12.5, 20.3, 4.7, 16.1, 8.9};
constexpr int kFirstPlayMs = 10000;
constexpr int kAfterSeekMs = 1500;
constexpr int kPauseMs = 1000;

double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec +
           usage.ru_stime.tv_usec / 1e6;
}

long peakMemoryKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// What reaches the two channels: lateness of each picture against its channel's clock (anchored
// at the first picture after each command) and the front/rear timestamp difference at every
// hand-over. Called from both video threads and the GUI thread.
class Meter {
public:
    Meter() { clock.start(); }
    // A command (start, seek, pause, resume): both channels re-anchor, differences wait.
    void command() {
        std::lock_guard<std::mutex> guard(mutex);
        commandNs = clock.nsecsElapsed();
        anchored[0] = anchored[1] = false;
    }
    void note(int channel, double time) {
        const qint64 now = clock.nsecsElapsed();
        std::lock_guard<std::mutex> guard(mutex);
        if (!anchored[channel]) {
            anchored[channel] = true;
            firstNs[channel] = now;
            firstTime[channel] = time;
        }
        const double late = (now - firstNs[channel]) / 1e9 - (time - firstTime[channel]);
        worstLate = std::max(worstLate, late);
        lateCount += late > kFrameInterval ? 1 : 0;
        ++pictures;
        shown[channel] = time;
        if (shown[0] >= 0 && shown[1] >= 0 && now - commandNs >= kSettleNs) {
            worstApart = std::max(worstApart, std::fabs(shown[0] - shown[1]));
        }
    }

    std::mutex mutex;
    int pictures = 0;
    int lateCount = 0;
    double worstLate = 0;
    double worstApart = 0;

private:
    QElapsedTimer clock;
    qint64 commandNs = 0;
    bool anchored[2] = {false, false};
    qint64 firstNs[2] = {0, 0};
    double firstTime[2] = {0, 0};
    double shown[2] = {-1, -1};
};

// Notes each picture, then hands it to the channel's view (or drops it without views).
class MeteredSink : public KvVideoSink {
public:
    MeteredSink(Meter* meter, int channel, KvVideoView* view)
        : meter(meter), channel(channel), view(view) {}
    void updateYUV420Async(KvYUV420P* picture) override {
        meter->note(channel, picture->time);
        if (view != nullptr) {
            view->updateYUV420Async(picture);
        } else {
            delete picture;
        }
    }

private:
    Meter* meter;
    int channel;
    KvVideoView* view;
};

struct EndFlag {
    std::atomic<bool> ended{false};
    static void callback(void* context, int code, double, double) {
        if (code == 1 || code == 2) {
            static_cast<EndFlag*>(context)->ended.store(true);
        }
    }
};

struct Result {
    double wall = 0;
    double cpu = 0;
    int late = 0;
    int pictures = 0;
    double worstLate = 0;
    double worstApart = 0;
};

void runEvents(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(5);
    }
}

// Plays the pair through LuPlayer, straight through or by the scripted sequence.
Result play(const QString& front, const QString& rear, bool withViews, bool scripted,
            bool sharedClock) {
    Meter meter;
    std::unique_ptr<LuVideoView> view;
    LuPlayer player;
    if (withViews) {
        view = std::make_unique<LuVideoView>();
        view->resize(kViewWidth, kViewHeight);
        view->show();
        view->reset();
        player.setVideoView(view.get());
        QApplication::processEvents();
    }
    MeteredSink frontSink(&meter, 0, view ? view->frontView : nullptr);
    MeteredSink rearSink(&meter, 1, view ? view->rearView : nullptr);
    player.getFrontPlayer()->setVideoView(&frontSink);
    player.getRearPlayer()->setVideoView(&rearSink);
    if (!sharedClock) {
        player.getRearPlayer()->setSharedClock(nullptr, false); // each core paces alone
    }
    EndFlag end;
    player.setCallback(&end, &EndFlag::callback);
    const double cpu0 = cpuSeconds(RUSAGE_SELF);
    QElapsedTimer wall;
    wall.start();
    meter.command();
    if (player.startPlay(KvVideoInfo(front, rear)) < 0) {
        std::fprintf(stderr, "cannot play %s / %s\n", qPrintable(front), qPrintable(rear));
        return {};
    }
    if (scripted) {
        runEvents(kFirstPlayMs);
        for (double target : kSeekTargets) {
            meter.command();
            player.seek(target);
            runEvents(kAfterSeekMs);
        }
        meter.command();
        player.pause();
        runEvents(kPauseMs);
        meter.command();
        player.play();
    }
    const double limit = player.getFrontPlayer()->duration() + kEndGraceSeconds + 30;
    while (!end.ended.load() && wall.elapsed() < limit * 1000) {
        runEvents(5);
    }
    Result result;
    result.wall = wall.nsecsElapsed() / 1e9;
    result.cpu = cpuSeconds(RUSAGE_SELF) - cpu0;
    player.stopPlay();
    std::lock_guard<std::mutex> guard(meter.mutex);
    result.late = meter.lateCount;
    result.pictures = meter.pictures;
    result.worstLate = meter.worstLate;
    result.worstApart = meter.worstApart;
    return result;
}

// CPU seconds of the ffmpeg command line decoding the clip's video on one thread.
double ffmpegDecodeCpu(const QString& clip) {
    const double before = cpuSeconds(RUSAGE_CHILDREN);
    const int exitCode =
        QProcess::execute("ffmpeg", {"-nostdin", "-v", "error", "-threads", "1", "-i", clip, "-map",
                                     "0:v", "-f", "null", "-"});
    if (exitCode != 0) {
        std::fprintf(stderr, "ffmpeg failed on %s\n", qPrintable(clip));
        return -1;
    }
    return cpuSeconds(RUSAGE_CHILDREN) - before;
}

void report(const char* name, const Result& result, double ffmpegCpu) {
    std::printf("%-22s late pictures %d of %d (worst %.1f ms late), wall %.2f s, our CPU %.2f s "
                "(%.3f CPU s per s of playback), ffmpeg decode CPU %.2f s, ratio %.2f, largest "
                "front/rear difference %.1f ms\n",
                name, result.late, result.pictures, result.worstLate * 1000, result.wall,
                result.cpu, result.cpu / result.wall, ffmpegCpu, result.cpu / ffmpegCpu,
                result.worstApart * 1000);
}

bool inStep(const Result& result) {
    return result.worstApart <= kFrameInterval + kTimeTolerance;
}

struct ModeResults {
    Result straight;
    Result scripted;
};

// Straight play and the scripted sequence, with or without views.
ModeResults runMode(const QString& front, const QString& rear, bool withViews) {
    ModeResults results;
    results.straight = play(front, rear, withViews, false, true);
    results.scripted = play(front, rear, withViews, true, true);
    return results;
}

void reportMode(const ModeResults& results, bool withViews, double ffmpegCpu) {
    report(withViews ? "with views, straight" : "no views, straight", results.straight, ffmpegCpu);
    report(withViews ? "with views, sequence" : "no views, sequence", results.scripted, ffmpegCpu);
}

bool goalsMet(const ModeResults& results, double ffmpegCpu) {
    return results.straight.late == 0 && results.straight.cpu <= kGoalCpuRatio * ffmpegCpu &&
           inStep(results.straight) && inStep(results.scripted);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    // Numbers in the output keep their decimal point under every locale.
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 3) {
        std::fprintf(stderr,
                     "usage: kv_bench_playback <front clip> <rear clip> [noview|view|both]\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    qputenv("QT_LOGGING_RULES", "*.debug=false");
    const QString front = QString::fromLocal8Bit(argv[1]);
    const QString rear = QString::fromLocal8Bit(argv[2]);
    const QByteArray mode = argc > 3 ? QByteArray(argv[3]) : QByteArray("both");

    // The machine is shared: ffmpeg is timed before and after the playback runs and its faster
    // pass counts, so that a busy neighbour during one pass does not flatter the ratio.
    const double ffmpegBefore = ffmpegDecodeCpu(front) + ffmpegDecodeCpu(rear);
    std::printf("ffmpeg -threads 1 decode of both clips' video: %.2f CPU s\n", ffmpegBefore);
    double ffmpegCpu = ffmpegBefore;
    int status = 0;
    if (mode == "noview" || mode == "both") {
        const ModeResults results = runMode(front, rear, false);
        // For comparison: the same sequence with each core pacing by its own clock.
        const Result alone = play(front, rear, false, true, false);
        const double ffmpegAfter = ffmpegDecodeCpu(front) + ffmpegDecodeCpu(rear);
        std::printf("ffmpeg -threads 1 decode of both clips' video, again: %.2f CPU s\n",
                    ffmpegAfter);
        ffmpegCpu = std::min(ffmpegBefore, ffmpegAfter);
        reportMode(results, false, ffmpegCpu);
        report("no views, own clocks", alone, ffmpegCpu);
        const bool met = goalsMet(results, ffmpegCpu);
        std::printf("goals without views (no late picture, CPU ratio <= %.1f, front/rear within "
                    "one frame interval): %s\n",
                    kGoalCpuRatio, met ? "met" : "NOT met");
        std::printf("peak memory without views (max RSS): %.1f MiB\n", peakMemoryKb() / 1024.0);
        status = met ? 0 : 1;
    }
    if (mode == "view" || mode == "both") {
        reportMode(runMode(front, rear, true), true, ffmpegCpu);
    }
    std::printf("peak memory (max RSS): %.1f MiB\n", peakMemoryKb() / 1024.0);
    return status;
}
