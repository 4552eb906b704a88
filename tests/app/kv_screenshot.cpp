// Makes the README's screenshot: the real window, sized as a laptop screen shows it, playing the
// first recording of a card with its track on the map, grabbed from the screen after a few
// seconds of playback. Run by scripts/screenshot under a virtual X server.
//
//   kv_screenshot <card folder> <output.png> [seconds of playback before the grab, default 6]
#include "KvConfigure.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvVideoListWidget.h"
#include "MainWindow.h"

#include "KvLogCategories.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QScreen>
#include <QStandardPaths>

#include <clocale>
#include <cstdio>

namespace {
constexpr int WindowWidth = 1440;
constexpr int WindowHeight = 810;

void waitMs(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}
} // namespace

int main(int argc, char** argv) {
    // The player's debug lines (one per picture and more) would bury the figures.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 3) {
        std::fprintf(stderr, "usage: kv_screenshot <card folder> <output.png> [seconds]\n");
        return 2;
    }
    QCoreApplication::setOrganizationName("dashcam-player");
    QCoreApplication::setApplicationName("dashcam-player");
    // The screenshot's playlist and settings stay out of the user's.
    QStandardPaths::setTestModeEnabled(true);
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();

    MainWindow window;
    window.resize(WindowWidth, WindowHeight);
    window.show();
    waitMs(1500);
    window.videoList()->addDirDepth(QDir(QString::fromLocal8Bit(argv[1])), false, nullptr);
    if (window.videoList()->listWidget()->count() == 0) {
        std::fprintf(stderr, "no recording found in %s\n", argv[1]);
        return 1;
    }
    // Let the rows load their thumbnails, then play the first as a double-click does.
    waitMs(2000);
    window.videoList()->onDoubleClickListWidgetItem(
        window.videoList()->listWidget()->model()->index(0, 0));
    waitMs((argc > 3 ? atoi(argv[3]) : 6) * 1000);
    const QPixmap shot = window.screen()->grabWindow(window.winId());
    if (shot.isNull() || !shot.save(QString::fromLocal8Bit(argv[2]))) {
        std::fprintf(stderr, "could not grab or save the window\n");
        return 1;
    }
    std::printf("screenshot: %dx%d written to %s\n", shot.width(), shot.height(), argv[2]);
    QDir(KvFileUtils::getRoot()).removeRecursively();
    return 0;
}
