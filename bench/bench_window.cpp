// The whole window playing a recording as a person starts it: the real MainWindow under a
// virtual X server, with the real player, views, map page, trip panel and audio device, on a
// front/rear pair (1080p30 and 720p30 with a one-fix-per-second track). Prints the time from the
// double-click to the first picture of each channel, the longest block of the GUI thread while
// both channels play with the map and trip panel following (sampled by a 10 ms timer), late
// pictures (shown on the GUI thread more than one frame interval after their due time), and peak
// memory; and, in the same run, the time ffmpeg takes to open each clip and decode its first
// picture in a fresh process (the reference for the first picture).
//
//   kv_bench_window <front clip> <rear clip> [seconds of playback, default 60]
//
// Goals: first pictures within 300 ms of the double-click; no GUI block above 50 ms; no late
// picture; peak memory under 450 MiB.
#include "KvConfigure.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvVideoListWidget.h"
#include "KvVideoView.h"
#include "LuPlayer.h"
#include "LuVideoView.h"
#include "MainWindow.h"

#include "KvLogCategories.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>
#include <clocale>
#include <cstdio>

namespace {

constexpr double FirstPictureGoalMs = 300.0;
constexpr double GuiBlockGoalMs = 50.0;
constexpr double MemoryGoalMiB = 450.0;
constexpr int SamplerIntervalMs = 10;
constexpr double FrameInterval = 1.0 / 30;
// The first seconds settle the page and the caches; blocks are counted after them.
constexpr int SettleMs = 2000;

long peakMemoryKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// Wall milliseconds of ffmpeg opening a clip and decoding its first picture, best of three.
double ffmpegFirstPictureMs(const QString& clip) {
    double best = 1e9;
    for (int round = 0; round < 3; ++round) {
        QElapsedTimer timer;
        timer.start();
        const int exitCode = QProcess::execute(
            "ffmpeg", {"-nostdin", "-v", "error", "-i", clip, "-frames:v", "1", "-f", "null", "-"});
        if (exitCode != 0) {
            std::fprintf(stderr, "ffmpeg failed on %s\n", qPrintable(clip));
            return -1;
        }
        best = std::min(best, timer.nsecsElapsed() / 1e6);
    }
    return best;
}

// One channel as the person sees it: each picture the view is asked to show, on the GUI thread.
struct ChannelWatch {
    double firstMs = -1;
    int pictures = 0;
    int late = 0;
    double worstLateMs = 0;
    double firstWall = 0;
    double firstTime = 0;

    void note(double wallMs, double pictureTime) {
        if (pictures == 0) {
            firstMs = wallMs;
            firstWall = wallMs;
            firstTime = pictureTime;
        }
        const double lateMs = wallMs - (firstWall + (pictureTime - firstTime) * 1000.0);
        // Times jump back after the clip loops or a seek; only forward play is judged.
        if (lateMs > -1000.0) {
            worstLateMs = std::max(worstLateMs, lateMs);
            late += lateMs > FrameInterval * 1000.0 ? 1 : 0;
        }
        ++pictures;
    }
};

void watch(KvVideoView* view, ChannelWatch* channel, const QElapsedTimer* clock) {
    QObject::connect(view, &KvVideoView::updateAsyncSignal, view, [view, channel, clock] {
        channel->note(clock->nsecsElapsed() / 1e6, view->getPictureTime());
    });
}

} // namespace

int main(int argc, char** argv) {
    // The player's debug lines (one per picture and more) would bury the figures.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 3) {
        std::fprintf(stderr, "usage: kv_bench_window <front clip> <rear clip> [seconds]\n");
        return 2;
    }
    const QString front = QString::fromLocal8Bit(argv[1]);
    const QString rear = QString::fromLocal8Bit(argv[2]);
    const int seconds = argc > 3 ? std::max(5, atoi(argv[3])) : 60;
    QCoreApplication::setOrganizationName("dashcam-player");
    QCoreApplication::setApplicationName("dashcam-player");
    // The benchmark's playlist and settings stay out of the user's.
    QStandardPaths::setTestModeEnabled(true);
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();

    const double ffmpegFront = ffmpegFirstPictureMs(front);
    const double ffmpegRear = ffmpegFirstPictureMs(rear);

    MainWindow window;
    window.show();
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < SettleMs) {
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    window.videoList()->addFile(front, false);
    if (window.videoList()->listWidget()->count() != 1) {
        std::fprintf(stderr, "the pair did not make one playlist entry\n");
        return 1;
    }

    QElapsedTimer clock;
    ChannelWatch frontWatch, rearWatch;
    watch(window.videoView()->frontView, &frontWatch, &clock);
    watch(window.videoView()->rearView, &rearWatch, &clock);

    double longestBlockMs = 0;
    double lastTickMs = -1;
    QTimer sampler;
    sampler.setTimerType(Qt::PreciseTimer);
    QObject::connect(&sampler, &QTimer::timeout, [&] {
        const double now = clock.nsecsElapsed() / 1e6;
        if (lastTickMs >= 0 && now > SettleMs) {
            longestBlockMs = std::max(longestBlockMs, now - lastTickMs - SamplerIntervalMs);
        }
        lastTickMs = now;
    });

    clock.start();
    // What a double-click on the row does.
    window.videoList()->onDoubleClickListWidgetItem(
        window.videoList()->listWidget()->model()->index(0, 0));
    sampler.start(SamplerIntervalMs);
    QTimer::singleShot(seconds * 1000, &app, &QApplication::quit);
    app.exec();
    window.player()->stopPlay();

    const double memoryMiB = peakMemoryKb() / 1024.0;
    std::printf(
        "first picture: front %.0f ms, rear %.0f ms after the double-click (goal %.0f ms)\n",
        frontWatch.firstMs, rearWatch.firstMs, FirstPictureGoalMs);
    std::printf("ffmpeg open + first picture in a fresh process: front %.0f ms, rear %.0f ms; "
                "ratio front %.2f, rear %.2f\n",
                ffmpegFront, ffmpegRear, frontWatch.firstMs / ffmpegFront,
                rearWatch.firstMs / ffmpegRear);
    std::printf("longest GUI block while playing %d s: %.1f ms (goal %.0f ms)\n", seconds,
                longestBlockMs, GuiBlockGoalMs);
    std::printf("late pictures: front %d of %d (worst %.1f ms), rear %d of %d (worst %.1f ms)\n",
                frontWatch.late, frontWatch.pictures, frontWatch.worstLateMs, rearWatch.late,
                rearWatch.pictures, rearWatch.worstLateMs);
    std::printf("peak memory %.0f MiB (goal %.0f MiB)\n", memoryMiB, MemoryGoalMiB);
    const bool met = frontWatch.firstMs >= 0 && rearWatch.firstMs >= 0 &&
                     std::max(frontWatch.firstMs, rearWatch.firstMs) <= FirstPictureGoalMs &&
                     longestBlockMs <= GuiBlockGoalMs && frontWatch.late + rearWatch.late == 0 &&
                     memoryMiB < MemoryGoalMiB;
    std::printf("goals %s\n", met ? "met" : "NOT met");
    QDir(KvFileUtils::getRoot()).removeRecursively();
    return 0;
}
