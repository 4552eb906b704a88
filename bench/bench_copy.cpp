// Copies every file below a source folder into a destination folder with KvCopyFileDialog, as the
// playlist's "copy to folder" does, and reports the time, how late a 10 ms GUI timer ran
// meanwhile (the longest the GUI thread was blocked) and how often the dialog's progress bar was
// repainted. bench/run-copy times `cp` on the same files in the same run.
//
//   kv_bench_copy <source folder> <destination folder>
#include "KvCopyFileDialog.h"

#include "KvLogCategories.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QEvent>
#include <QProgressBar>
#include <QTimer>

#include <clocale>
#include <cstdio>

namespace {
// The GUI probe: a timer that should fire every 10 ms; its lateness is how long the GUI thread
// could not run.
constexpr int ProbeIntervalMs = 10;

// Counts the paint events a widget receives.
class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++paints;
        }
        return QObject::eventFilter(watched, event);
    }
};
} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 3) {
        fprintf(stderr, "usage: %s <source folder> <destination folder>\n", argv[0]);
        return 2;
    }
    // The player's debug lines (one per picture and more) would bury the figures.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    const QDir source(QString::fromLocal8Bit(argv[1]));
    const QDir destination(QString::fromLocal8Bit(argv[2]));
    QVector<QString> src, dst;
    qint64 bytes = 0;
    QDirIterator it(source.absolutePath(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        src.append(it.next());
        bytes += it.fileInfo().size();
        dst.append(destination.filePath(source.relativeFilePath(src.last())));
    }
    // The camera folders exist; the dialog itself creates one missing level only.
    for (const QString& path : dst) {
        QDir().mkpath(QFileInfo(path).absolutePath());
    }

    KvCopyFileDialog dialog(nullptr, src, dst);
    PaintCounter counter;
    dialog.progressBar()->installEventFilter(&counter);
    qint64 longestBlockMs = 0;
    QElapsedTimer probe;
    QTimer timer;
    timer.setInterval(ProbeIntervalMs);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        longestBlockMs = qMax(longestBlockMs, probe.restart() - ProbeIntervalMs);
    });
    QElapsedTimer clock;
    clock.start();
    probe.start();
    timer.start();
    dialog.start();
    dialog.exec();
    const double seconds = clock.nsecsElapsed() / 1e9;
    timer.stop();

    int copied = 0;
    for (const QString& path : dst) {
        copied += QFileInfo::exists(path) ? 1 : 0;
    }
    printf("files %d (copied %d), %.1f MiB\n", int(src.size()), copied, bytes / 1048576.0);
    printf("KvCopyFileDialog           %.3f s\n", seconds);
    printf("longest GUI block          %lld ms\n", static_cast<long long>(longestBlockMs));
    printf("progress bar repaints      %d\n", counter.paints);
    return copied == src.size() ? 0 : 1;
}
