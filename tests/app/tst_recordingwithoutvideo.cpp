// Recordings whose clips hold no pictures (a GPS-only clip: a subtitle track with the fixes and
// nothing else, or sound and fixes), through the real window under Xvfb with the real player,
// views and map page. Opening one keeps it as the current recording with its track on the map
// and in the trip panel; the list does not move on from it, however many such entries follow;
// a recording with pictures still advances to the next entry at its end. The clips are made
// here with the ffmpeg CLI.

#include "KvFfmpegRun.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvMapWidget.h"
#include "KvVideoListWidget.h"
#include "LuPlayer.h"
#include "MainWindow.h"
#include "VideoInfoView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLCDNumber>
#include <QPushButton>
#include <QTemporaryDir>
#include <QWebEngineView>
#include <QtTest>

#include <clocale>

using namespace kvtest;

class TestRecordingWithoutVideo : public QObject {
    Q_OBJECT
public slots:
    void openUrl(const QUrl&) {}

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();
    void openingOneKeepsItAndShowsItsTrack();
    void theEndOfARecordingAdvancesToOneWithoutVideoAndStaysThere();
    void aPublicGpsOnlySampleStays();

private:
    // The three recordings in the list: row 0 with pictures, rows 1 and 2 without.
    void _fillList();
    void _playRow(int row);
    // Fails the test unless the window keeps the recording of row 1 with its track, stopped.
    void _expectTheFirstWithoutVideoKept();
    QVariantMap _mapState();

    QTemporaryDir _dir;
    QString _fixesOnly;
    QString _soundAndFixes;
    MainWindow* _window = nullptr;
};

namespace {
const QString CardPath = QStringLiteral(KV_TEST_MEDIA_DIR "/card");
const QString TrackWriter = QStringLiteral(KV_SOURCE_DIR "/scripts/lib/nmea-track");
// A camera's own GPS-only clip (a text track and nothing else), when the public samples lie
// beside the project.
const QString PublicSample = QStringLiteral(
    KV_SOURCE_DIR "/../../shared/realdata/amkulikov+dashcamigo/thinkware-real-anonymized.mp4");
// The fixes-only clip holds this many fixes, one a second, at 30 knots: 55.56 km/h, or
// 34.52 mph, the unit of a first start.
constexpr int FixCount = 10;
constexpr double FixSpeedMph = 30 * 1.852 / 1.609344;
// The card's recording with pictures lasts 4 s; its end comes well within this.
constexpr int AdvanceTimeoutMs = 20000;
// Time enough for a wrongly advancing window to have started the next entry.
constexpr int SettleMs = 1500;

// Writes a track of `count` fixes, one a second, as SubRip cues.
QString writeTrack(const QString& path, int count, const QString& latitude) {
    QProcess perl;
    perl.setStandardOutputFile(path);
    perl.start(TrackWriter,
               {QString("count=%1").arg(count), "every_ms=1000", "time=101500", "date=150326",
                "lat=" + latitude, "lon=01131.0000", "lat_step=0.05", "knots=30.0", "course=0.0"});
    if (!perl.waitForFinished(30000) || perl.exitCode() != 0) {
        return "nmea-track failed: " + QString::fromUtf8(perl.readAllStandardError());
    }
    return QString();
}
} // namespace

void TestRecordingWithoutVideo::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    const QString trackA = _dir.filePath("a.srt");
    const QString trackB = _dir.filePath("b.srt");
    QString error = writeTrack(trackA, FixCount, "4807.0000");
    QVERIFY2(error.isEmpty(), qPrintable(error));
    error = writeTrack(trackB, FixCount + 5, "5207.0000");
    QVERIFY2(error.isEmpty(), qPrintable(error));
    // A box with a track and nothing else.
    _fixesOnly = _dir.filePath("2026_0315_101500_GPS.MP4");
    error = runFfmpeg({"-i", trackA, "-map", "0:s", "-c:s", "mov_text", _fixesOnly});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    // Sound and a track, no pictures.
    _soundAndFixes = _dir.filePath("2026_0315_101800_GPS.MP4");
    error = runFfmpeg({"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100:duration=15",
                       "-i", trackB, "-map", "0:a", "-map", "1:s", "-c:a", "aac", "-c:s",
                       "mov_text", _soundAndFixes});
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void TestRecordingWithoutVideo::init() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();
    _window = new MainWindow;
    _window->show();
    QVERIFY(QTest::qWaitForWindowExposed(_window));
}

void TestRecordingWithoutVideo::cleanup() {
    delete _window;
    _window = nullptr;
}

void TestRecordingWithoutVideo::cleanupTestCase() {
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

void TestRecordingWithoutVideo::_fillList() {
    _window->videoList()->addFile(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4", false);
    _window->videoList()->addFile(_fixesOnly, false);
    _window->videoList()->addFile(_soundAndFixes, false);
    QTRY_COMPARE(_window->videoList()->listWidget()->count(), 3);
}

void TestRecordingWithoutVideo::_playRow(int row) {
    _window->videoList()->onDoubleClickListWidgetItem(
        _window->videoList()->listWidget()->model()->index(row, 0));
}

QVariantMap TestRecordingWithoutVideo::_mapState() {
    QWebEngineView* shown = nullptr;
    for (QWebEngineView* view : _window->mapWidget()->findChildren<QWebEngineView*>()) {
        if (view->isVisible()) {
            shown = view;
        }
    }
    if (!shown) {
        return {};
    }
    QVariant result;
    bool done = false;
    shown->page()->runJavaScript(QStringLiteral("getState()"), [&](const QVariant& state) {
        result = state;
        done = true;
    });
    // An answer that never came leaves the state empty.
    (void)QTest::qWaitFor([&] { return done; }, 5000);
    return result.toMap();
}

void TestRecordingWithoutVideo::_expectTheFirstWithoutVideoKept() {
    QVERIFY(!_window->currentVideoInfo().videos.isEmpty());
    QCOMPARE(_window->currentVideoInfo().videos.first().path, _fixesOnly);
    // Its track, on the map and in the trip panel.
    QCOMPARE(_window->currentTrack().size(), FixCount);
    QTRY_COMPARE(_mapState().value("points").toInt(), FixCount);
    const QVariantMap state = _mapState();
    QVERIFY(state.value("lineShown").toBool());
    const double south = state.value("bounds").toMap().value("south").toDouble();
    QVERIFY2(qAbs(south - 48.1167) < 0.001, qPrintable(QString::number(south, 'f', 6)));
    auto* distance = _window->tripPanel()->findChild<QLCDNumber*>(QStringLiteral("distanceNumber"));
    auto* maxSpeed = _window->tripPanel()->findChild<QLCDNumber*>(QStringLiteral("maxSpeedNumber"));
    QVERIFY(distance && maxSpeed);
    QVERIFY(distance->value() > 0.0);
    QVERIFY2(qAbs(maxSpeed->value() - FixSpeedMph) < 0.1,
             qPrintable(QString::number(maxSpeed->value())));
    // Stopped, ready to play it again; the list keeps every entry.
    QVERIFY(!_window->player()->isPlaying());
    QVERIFY(_window->playButton()->isEnabled());
    QCOMPARE(_window->videoList()->listWidget()->count(), 3);
}

void TestRecordingWithoutVideo::openingOneKeepsItAndShowsItsTrack() {
    _fillList();
    _playRow(1);
    // It ends as soon as it starts: the player stops, and that is all.
    QTRY_VERIFY(!_window->player()->isOpenFile());
    QTest::qWait(SettleMs);
    _expectTheFirstWithoutVideoKept();
    // Play starts it again, with the same outcome.
    QTest::mouseClick(_window->playButton(), Qt::LeftButton);
    QTRY_VERIFY(!_window->player()->isOpenFile());
    QTest::qWait(SettleMs);
    _expectTheFirstWithoutVideoKept();
}

void TestRecordingWithoutVideo::theEndOfARecordingAdvancesToOneWithoutVideoAndStaysThere() {
    _fillList();
    _playRow(0);
    QTRY_VERIFY(_window->player()->hasShownPicture());
    QCOMPARE(_window->currentVideoInfo().videos.first().path,
             CardPath + "/DCIM/F/2026_0315_101500_001F.MP4");
    // The recording with pictures plays to its end and the next entry follows...
    QTRY_VERIFY_WITH_TIMEOUT(_window->currentVideoInfo().videos.first().path == _fixesOnly,
                             AdvanceTimeoutMs);
    // ... which shows no picture: the list goes no further.
    QTRY_VERIFY(!_window->player()->isOpenFile());
    QTest::qWait(SettleMs);
    _expectTheFirstWithoutVideoKept();
}

void TestRecordingWithoutVideo::aPublicGpsOnlySampleStays() {
    if (!QFileInfo::exists(PublicSample)) {
        QSKIP("the public samples (shared/realdata) are not beside this checkout");
    }
    _window->videoList()->addFile(PublicSample, false);
    _window->videoList()->addFile(_fixesOnly, false);
    QTRY_COMPARE(_window->videoList()->listWidget()->count(), 2);
    _playRow(0);
    QTRY_VERIFY(!_window->player()->isOpenFile());
    QTest::qWait(SettleMs);
    QCOMPARE(_window->currentVideoInfo().videos.first().path, PublicSample);
    // Whatever track its reader finds is what the map shows.
    QTRY_COMPARE(_mapState().value("points").toInt(), _window->currentTrack().size());
    QVERIFY(_window->playButton()->isEnabled());
}

int main(int argc, char** argv) {
    // The map's web view and the OpenGL video views share contexts, as in the player's main().
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setOrganizationName(QStringLiteral("dashcam-player"));
    QCoreApplication::setApplicationName(QStringLiteral("dashcam-player"));
    TestRecordingWithoutVideo test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_recordingwithoutvideo.moc"
