// Scans a generated card through the playlist panel and reports how long the rows take to appear,
// how long the loader takes to complete them, and how late a 10 ms GUI timer ran meanwhile (the
// longest the GUI thread was blocked). The ffmpeg CLI's time for the same thumbnails is measured
// by bench/run-playlist-scan in the same run.
//
//   kv_bench_playlist_scan <card folder>
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvVideoInfoLoadThread.h"
#include "KvVideoItemWidget.h"
#include "KvVideoListWidget.h"

#include "KvLogCategories.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTimer>

#include <clocale>
#include <cstdio>

namespace {
// The GUI probe: a timer that should fire every 10 ms; its lateness is how long the GUI thread
// could not run.
constexpr int ProbeIntervalMs = 10;

} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    // Numbers in the output keep their decimal point under every locale.
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 2) {
        fprintf(stderr, "usage: %s <card folder>\n", argv[0]);
        return 2;
    }
    // The player's debug lines (one per picture and more) would bury the figures.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    // The benchmark's playlist and thumbnails live in the test locations, not the user's.
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-bench");
    QCoreApplication::setApplicationName("playlist-scan");
    QDir(KvFileUtils().getPlayListRoot()).removeRecursively();
    QDir(KvFileUtils().getCacheRoot()).removeRecursively();

    KvVideoListWidget widget;
    widget.resize(400, 600);
    widget.show();
    KvListWidget* list = widget.listWidget();
    int updated = 0;
    QObject::connect(list, &KvListWidget::onItemUpdated,
                     [&updated](KvVideoItemWidget*) { ++updated; });

    QElapsedTimer clock;
    clock.start();
    widget.addDirDepth(QDir(QString::fromLocal8Bit(argv[1])), true, nullptr);
    const double rowsSeconds = clock.nsecsElapsed() / 1e9;
    const int rows = list->count();

    qint64 longestBlockMs = 0;
    QElapsedTimer probe;
    probe.start();
    QTimer timer;
    timer.setInterval(ProbeIntervalMs);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        longestBlockMs = qMax(longestBlockMs, probe.restart() - ProbeIntervalMs);
        if (updated >= rows) {
            app.quit();
        }
    });
    timer.start();
    app.exec();
    const double loadSeconds = clock.nsecsElapsed() / 1e9 - rowsSeconds;

    int complete = 0;
    for (int row = 0; row < rows; ++row) {
        auto* item = qobject_cast<KvVideoItemWidget*>(list->widgetAt(row));
        bool loaded = !item->videoInfo().videos.isEmpty();
        for (const KvVideo& video : item->videoInfo().videos) {
            loaded = loaded && video.isInfoLoaded();
        }
        complete += loaded ? 1 : 0;
    }
    printf("rows %d (complete %d)\n", rows, complete);
    printf("all rows exist after      %.3f s\n", rowsSeconds);
    printf("loader filled every row in %.3f s\n", loadSeconds);
    printf("longest GUI block          %lld ms\n", static_cast<long long>(longestBlockMs));
    QDir(KvFileUtils::getRoot()).removeRecursively();
    QDir(KvFileUtils::getTempRoot()).removeRecursively();
    return complete == rows ? 0 : 1;
}
