// The map with an hour-long track, as a recording with one GPS fix a second shows it: drawLine of
// 3,600 fixes, then updatePlay once per second of a simulated play (run faster than real time).
// For each page it prints
//   - how long drawLine blocks the GUI thread (goal: 50 ms),
//   - how long until the page reports every point and the line drawn, read through getState()
//     (goal: 500 ms),
//   - the longest time the GUI thread did not come back to its event loop while the marker
//     followed the play position, measured with a 1 ms watchdog timer (goal: 20 ms).
// Then the trip panel beside the map, in the GUI thread's CPU time:
//   - VideoInfoView::setLocations of 100,000 fixes (goal: 2,000 ms),
//   - one repaint of the speed graph over an hour-long track while the cursor moves (goal: 5 ms).
//
//   kv_bench_map [fixes] [update interval ms] [grab.png]
#include "KvLocation.h"
#include "KvMapWidget.h"
#include "KvSpeedGraph.h"
#include "VideoInfoView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QPixmap>
#include <QStandardPaths>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include <time.h>

namespace {

constexpr int kDefaultFixes = 3600;
// Simulated seconds of play advance this often (in ms of wall time): 50 times real time.
constexpr int kDefaultUpdateIntervalMs = 20;
constexpr double kGoalDrawLineMs = 50.0;
constexpr double kGoalTrackShownMs = 500.0;
constexpr double kGoalGuiBlockMs = 20.0;
// The trip panel: statistics of a very long track, and the graph's repaint while playing.
constexpr int kPanelFixes = 100000;
constexpr double kGoalPanelSetLocationsMs = 2000.0;
constexpr int kGraphFixes = 3600;
constexpr int kGraphFrames = 50;
constexpr double kGoalGraphFrameMs = 5.0;
constexpr int kViewWidth = 800;
constexpr int kViewHeight = 600;
constexpr int kPageTimeoutMs = 60000;
// The watchdog's period: a longer gap between its ticks is time the GUI thread was busy.
constexpr int kWatchdogMs = 1;

// The view of the page loadMap chose: the one that is shown.
QWebEngineView* shownView(KvMapWidget& widget) {
    for (QWebEngineView* view : widget.findChildren<QWebEngineView*>()) {
        if (view->isVisible()) {
            return view;
        }
    }
    return nullptr;
}

// One fix a second of a drive through Shanghai at about 50 km/h.
QVector<KvLocation> hourTrack(int fixes) {
    QVector<KvLocation> track;
    track.reserve(fixes);
    for (int i = 0; i < fixes; ++i) {
        KvLocation location;
        location.valid = i % 97 != 13; // a few gaps, as real recordings have
        location.latitude = 31.2 + 0.0001 * i;
        location.longitude = 121.4 + 0.00008 * i + 0.002 * ((i / 300) % 2);
        location.speed = 50.0;
        track.append(location);
    }
    return track;
}

// Runs a script and waits for its answer, handling events meanwhile.
QVariant evaluate(QWebEngineView* view, QString const& script) {
    auto result = std::make_shared<QVariant>();
    auto done = std::make_shared<bool>(false);
    view->page()->runJavaScript(script, [result, done](QVariant const& value) {
        *result = value;
        *done = true;
    });
    QElapsedTimer timer;
    timer.start();
    while (!*done && timer.elapsed() < kPageTimeoutMs) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return *result;
}

bool waitForPage(QWebEngineView* view) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < kPageTimeoutMs) {
        if (evaluate(view, "typeof getState === 'function' && document.readyState === 'complete'")
                .toBool()) {
            return true;
        }
    }
    return false;
}

// Gaps between the ticks of a 1 ms timer, less the period: time the GUI thread was away from its
// event loop (busy, or not scheduled on a loaded machine).
class Watchdog {
public:
    Watchdog() {
        _timer.setInterval(kWatchdogMs);
        QObject::connect(&_timer, &QTimer::timeout, [this]() { tick(); });
    }
    void start() {
        _gapsMs.clear();
        _clock.start();
        _last = 0;
        _timer.start();
    }
    void stop() { _timer.stop(); }
    void tick() {
        qint64 const now = _clock.nsecsElapsed();
        _gapsMs.push_back(std::max<qint64>(0, now - _last - qint64(kWatchdogMs) * 1000000) / 1e6);
        _last = now;
    }
    double longestMs() const {
        return _gapsMs.empty() ? 0.0 : *std::max_element(_gapsMs.begin(), _gapsMs.end());
    }
    // The gap that this share of all gaps stays under.
    double percentileMs(double share) const {
        if (_gapsMs.empty()) {
            return 0.0;
        }
        std::vector<double> sorted = _gapsMs;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() - 1, size_t(share * sorted.size()))];
    }

private:
    QTimer _timer;
    QElapsedTimer _clock;
    qint64 _last = 0;
    std::vector<double> _gapsMs;
};

// CPU time the calling thread has used, in ms: the GUI thread's own work, whatever the
// machine's load does to its scheduling.
double threadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

// Lets the event loop run for a while, as the GUI thread does between two play positions.
void handleEventsFor(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

struct Figures {
    double drawLineMs = 0.0;
    double trackShownMs = 0.0;
    double longestBlockMs = 0.0;
    double p99BlockMs = 0.0;
    double idleLongestBlockMs = 0.0;
    double idleP99BlockMs = 0.0;
    double longestUpdateCallMs = 0.0;
    double cpuPerUpdateMs = 0.0;   // GUI thread CPU per play step, calls and events
    double idleCpuPerStepMs = 0.0; // the same for a step without a call
    int markerIndex = -1;
};

// How long until the page reports every point and the line: polled through getState(), whose
// answer comes after every call sent before it.
double waitForTrack(QWebEngineView* view, QElapsedTimer const& since, int fixes) {
    while (since.elapsed() < kPageTimeoutMs) {
        QVariantMap const state = evaluate(view, "getState()").toMap();
        if (state.value("points").toInt() == fixes && state.value("linePoints").toInt() == fixes &&
            state.value("lineShown").toBool()) {
            return since.nsecsElapsed() / 1e6;
        }
    }
    return -1.0;
}

Figures measure(KvMapWidget& widget, QWebEngineView* view, int fixes, int intervalMs) {
    Figures figures;
    QVector<KvLocation> const track = hourTrack(fixes);
    QElapsedTimer since;
    since.start();
    widget.drawLine(track);
    figures.drawLineMs = since.nsecsElapsed() / 1e6;
    figures.trackShownMs = waitForTrack(view, since, fixes);

    // Reference: the same event handling with the track shown and no calls, for as long as a
    // tenth of the play (the machine's own scheduling delays show here).
    Watchdog watchdog;
    int const idleMs = std::max(1000, fixes * intervalMs / 10);
    double cpu = threadCpuMs();
    watchdog.start();
    handleEventsFor(idleMs);
    watchdog.stop();
    figures.idleCpuPerStepMs = (threadCpuMs() - cpu) * intervalMs / idleMs;
    figures.idleLongestBlockMs = watchdog.longestMs();
    figures.idleP99BlockMs = watchdog.percentileMs(0.99);

    cpu = threadCpuMs();
    watchdog.start();
    QElapsedTimer call;
    for (int second = 0; second < fixes; ++second) {
        call.start();
        widget.updatePlay(second, fixes);
        double const callMs = call.nsecsElapsed() / 1e6;
        figures.longestUpdateCallMs = std::max(figures.longestUpdateCallMs, callMs);
        handleEventsFor(intervalMs);
    }
    watchdog.stop();
    figures.cpuPerUpdateMs = (threadCpuMs() - cpu) / fixes;
    figures.longestBlockMs = watchdog.longestMs();
    figures.p99BlockMs = watchdog.percentileMs(0.99);
    figures.markerIndex = evaluate(view, "getState()").toMap().value("markerIndex").toInt();
    return figures;
}

void report(char const* page, int fixes, int intervalMs, Figures const& f) {
    std::printf(
        "bench: %s page, %d fixes (%d s of play at one fix a second), updatePlay every %d ms\n",
        page, fixes, fixes, intervalMs);
    std::printf("  drawLine blocks the GUI thread  %8.1f ms   goal %4.0f ms   ratio %.2f\n",
                f.drawLineMs, kGoalDrawLineMs, f.drawLineMs / kGoalDrawLineMs);
    std::printf("  track shown in the page         %8.1f ms   goal %4.0f ms   ratio %.2f\n",
                f.trackShownMs, kGoalTrackShownMs, f.trackShownMs / kGoalTrackShownMs);
    std::printf("  longest GUI block while playing %8.1f ms   goal %4.0f ms   ratio %.2f\n",
                f.longestBlockMs, kGoalGuiBlockMs, f.longestBlockMs / kGoalGuiBlockMs);
    std::printf("    99th percentile %.1f ms; longest updatePlay call %.2f ms\n", f.p99BlockMs,
                f.longestUpdateCallMs);
    std::printf("    GUI thread CPU per play step %.2f ms (%.2f ms without a call)\n",
                f.cpuPerUpdateMs, f.idleCpuPerStepMs);
    std::printf(
        "    reference, track shown and no calls: longest %.1f ms, 99th percentile %.1f ms\n",
        f.idleLongestBlockMs, f.idleP99BlockMs);
    std::printf("  marker at the end               %8d      (expected %d)\n", f.markerIndex,
                fixes - 1);
}

// setLocations of a long track (maximum, average and distance over every fix), then the speed
// graph repainting an hour-long track frame after frame, each in the GUI thread's CPU time.
void benchTripPanel() {
    QVector<KvLocation> longTrack;
    longTrack.reserve(kPanelFixes);
    for (int i = 0; i < kPanelFixes; ++i) {
        KvLocation location;
        location.valid = true;
        location.latitude = 30.0 + i * 1e-5;
        location.longitude = 100.0;
        location.speed = 36.0;
        longTrack.append(location);
    }
    VideoInfoView panel;
    double const start = threadCpuMs();
    panel.setLocations(longTrack);
    double const setLocationsMs = threadCpuMs() - start;
    std::printf("bench: trip panel\n");
    std::printf("  setLocations of %d fixes      %8.1f ms   goal %4.0f ms   ratio %.2f\n",
                kPanelFixes, setLocationsMs, kGoalPanelSetLocationsMs,
                setLocationsMs / kGoalPanelSetLocationsMs);

    QVector<KvLocation> hour;
    for (int i = 0; i < kGraphFixes; ++i) {
        KvLocation fix;
        fix.valid = i % 300 != 0;
        fix.speed = 50.0 + 30.0 * std::sin(i / 60.0);
        fix.gsensorX = 0.3 * std::sin(i / 7.0);
        fix.gsensorY = 0.2 * std::cos(i / 11.0);
        fix.gsensorZ = 1.0;
        hour.append(fix);
    }
    KvSpeedGraph graph;
    graph.resize(1000, 140);
    graph.setLocations(hour);
    graph.show();
    QPixmap target(graph.size());
    double const frameStart = threadCpuMs();
    for (int frame = 0; frame < kGraphFrames; ++frame) {
        graph.setPosition(frame, kGraphFrames);
        graph.render(&target);
    }
    double const frameMs = (threadCpuMs() - frameStart) / kGraphFrames;
    std::printf("  speed graph repaint, %d fixes %8.2f ms   goal %4.0f ms   ratio %.2f\n",
                kGraphFixes, frameMs, kGoalGraphFrameMs, frameMs / kGoalGraphFrameMs);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setApplicationName(QStringLiteral("dashcam-player"));
    // The trip panel reads the settings: the user's own stay untouched.
    QStandardPaths::setTestModeEnabled(true);
    int const fixes = argc > 1 ? std::max(1, std::atoi(argv[1])) : kDefaultFixes;
    int const intervalMs = argc > 2 ? std::max(0, std::atoi(argv[2])) : kDefaultUpdateIntervalMs;
    QString const grabPath = argc > 3 ? QString::fromLocal8Bit(argv[3]) : QString();

    KvMapWidget widget;
    widget.resize(kViewWidth, kViewHeight);
    widget.show();
    bool ok = true;
    for (_KvMapType type : {KvMapGoogle, KvMapBaidu}) {
        widget.loadMap(type);
        QWebEngineView* view = shownView(widget);
        char const* page = type == KvMapGoogle ? "google" : "baidu";
        if (!waitForPage(view)) {
            std::fprintf(stderr, "bench: the %s page did not load\n", page);
            return 1;
        }
        Figures const figures = measure(widget, view, fixes, intervalMs);
        report(page, fixes, intervalMs, figures);
        ok = ok && figures.trackShownMs >= 0.0 && figures.markerIndex == fixes - 1;
        if (!grabPath.isEmpty()) {
            QString path = grabPath;
            path.replace(QStringLiteral(".png"), QStringLiteral("-%1.png").arg(page));
            view->grab().toImage().save(path);
        }
    }
    benchTripPanel();
    return ok ? 0 : 1;
}
