// KvIncidentActions over a real two-channel player and view on the generated card: stills of
// both channels with the fix of the shown picture in their EXIF tags, a step reported with the
// stepped picture's position, steps that move one picture each way also when the direction
// changes (the front's pixels checked against the ffmpeg tool's pictures of the clip), and
// recordings' tracks written to files, one track per recording in time order.

#include "KvDialogAnswers.h"
#include "KvExifWriter.h"
#include "KvFileUtils.h"
#include "KvGPSReader.h"
#include "KvIncidentActions.h"
#include "KvLanguage.h"
#include "KvReferenceFrames.h"
#include "KvVideoListWidget.h"
#include "KvVideoView.h"
#include "LuPlayer.h"
#include "LuVideoView.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

#include <clocale>
#include <memory>

namespace {
const QString CardPath = QStringLiteral(KV_TEST_MEDIA_DIR "/card");
// The card's clips run at 15 pictures a second.
constexpr double FrameInterval = 1.0 / 15;
constexpr double TimeTolerance = 0.002;

KvVideoInfo recording(const char* frontClip) {
    KvVideoInfo info;
    KvVideoListWidget::convertFile(CardPath + "/DCIM/F/" + QLatin1String(frontClip), &info);
    return info;
}

QStringList clipPaths(const KvVideoInfo& info) {
    QStringList paths;
    for (const KvVideo& video : info.videos) {
        paths.append(video.path);
    }
    return paths;
}
} // namespace

class TestIncidentActions : public QObject {
    Q_OBJECT
public slots:
    void openUrl(const QUrl& url) { _openedUrls.append(url); }

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();
    void stillsOfBothChannelsCarryTheFix();
    void stillsWithoutTrackKeepNoTags();
    void screenshotNeedsAnOpenRecording();
    void stepReportsTheSteppedPicture();
    void directionChangeStepsOnePicture();
    void exportWritesTheTrack();
    void exportOfRecordingsWithoutTrack();
    void exportKeepsRecordingsApartInTimeOrder();
    void exportMessageShowsTheWholeSentence();

private:
    void _playPairAndPause();

    std::unique_ptr<QWidget> _window;
    LuVideoView* _view = nullptr;
    std::unique_ptr<LuPlayer> _player;
    KvIncidentActions* _actions = nullptr;
    QList<QUrl> _openedUrls;
    QTemporaryDir _dir;
    // The front clip of the played pair as the ffmpeg tool decodes it.
    kvtest::KvReferenceFrames _frontFrames;
};

void TestIncidentActions::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    const QString error =
        _frontFrames.load(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4", 320, 180);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(_frontFrames.allDistinct());
}

void TestIncidentActions::init() {
    _window = std::make_unique<QWidget>();
    _window->resize(820, 320);
    _view = new LuVideoView(_window.get());
    _view->setGeometry(0, 0, 802, 300);
    _window->show();
    QVERIFY(QTest::qWaitForWindowExposed(_window.get()));
    _player = std::make_unique<LuPlayer>();
    _player->setVideoView(_view);
    _view->reset();
    _actions = new KvIncidentActions(_player.get(), _view, _window.get());
    _openedUrls.clear();
}

void TestIncidentActions::cleanup() {
    _player->stopPlay();
    _window.reset();
    _player.reset();
}

void TestIncidentActions::cleanupTestCase() {
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

void TestIncidentActions::_playPairAndPause() {
    QCOMPARE(_player->startPlay(recording("2026_0315_101500_001F.MP4")), 0);
    QCOMPARE(_view->getPlayerCount(), 2);
    QTRY_VERIFY(_view->frontView->getPictureTime() > 1.2 &&
                _view->rearView->getPictureTime() > 1.2);
    _player->pause();
    QTest::qWait(200);
}

void TestIncidentActions::stillsOfBothChannelsCarryTheFix() {
    _playPairAndPause();
    QVector<KvLocation> track;
    QVERIFY(readGPSTrack(track, clipPaths(recording("2026_0315_101500_001F.MP4"))));
    QCOMPARE(track.size(), 4);
    const QString folder = _dir.filePath("stills");
    QDir().mkpath(folder);
    const QStringList written = _actions->captureStills(folder, track);
    QCOMPARE(written.size(), 2);
    QVERIFY(QRegularExpression("/\\d{14}_\\d{3}F\\.jpg$").match(written[0]).hasMatch());
    QVERIFY(QRegularExpression("/\\d{14}_\\d{3}R\\.jpg$").match(written[1]).hasMatch());
    const double position = _view->frontView->getPictureTime();
    const double duration = _player->getFrontPlayer()->duration();
    const KvLocation& fix = track.at(qMin(3, int(4 * position / duration)));
    const QByteArray tags = KvExifWriter::exifBlock(fix);
    QVERIFY(!tags.isEmpty());
    for (const QString& still : written) {
        QFile file(still);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.startsWith("\xff\xd8"));
        QVERIFY2(bytes.contains(tags), qPrintable(still));
    }
}

void TestIncidentActions::stillsWithoutTrackKeepNoTags() {
    _playPairAndPause();
    const QString folder = _dir.filePath("untagged");
    QDir().mkpath(folder);
    const QStringList written = _actions->captureStills(folder, {});
    QCOMPARE(written.size(), 2);
    for (const QString& still : written) {
        QFile file(still);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(!file.readAll().contains(QByteArray("Exif\0\0", 6)));
    }
}

void TestIncidentActions::screenshotNeedsAnOpenRecording() {
    KvFileUtils fileUtils;
    const QString captures = fileUtils.getCapturePath();
    QDir(captures).removeRecursively();
    QDir().mkpath(captures);
    _actions->takeScreenshot({});
    QVERIFY(QDir(captures).entryList(QDir::Files).isEmpty());
    QVERIFY(_openedUrls.isEmpty());
    _playPairAndPause();
    _actions->takeScreenshot({});
    QCOMPARE(QDir(captures).entryList({"*.jpg"}, QDir::Files).size(), 2);
    QCOMPARE(_openedUrls.size(), 1);
    QCOMPARE(_openedUrls.first().toString(), QStringLiteral("file:///") + captures);
}

void TestIncidentActions::stepReportsTheSteppedPicture() {
    _playPairAndPause();
    const double front0 = _view->frontView->getPictureTime();
    QSignalSpy stepped(_actions, &KvIncidentActions::pictureStepped);
    _actions->stepPicture(true);
    QCOMPARE(stepped.count(), 1);
    QVERIFY(qAbs(stepped.at(0).at(0).toDouble() - (front0 + FrameInterval)) < TimeTolerance);
    QCOMPARE(stepped.at(0).at(1).toDouble(), _player->getFrontPlayer()->duration());
    _actions->stepPicture(false);
    QTRY_COMPARE(stepped.count(), 2);
    QVERIFY(qAbs(stepped.at(1).at(0).toDouble() - front0) < TimeTolerance);
    // Playing: no step, no report.
    _player->play();
    _actions->stepPicture(true);
    QTest::qWait(100);
    QCOMPARE(stepped.count(), 2);
}

void TestIncidentActions::directionChangeStepsOnePicture() {
    _playPairAndPause();
    const auto frontPicture = [this] {
        const std::unique_ptr<KvYUV420P> shown = _view->frontView->copyPicture();
        return _frontFrames.indexOf(shown.get());
    };
    const int start = frontPicture();
    QVERIFY(start > 2);
    QSignalSpy stepped(_actions, &KvIncidentActions::pictureStepped);
    // Back, back, forward, forward, back: each moves one picture, the rear with the front.
    const bool forward[] = {false, false, true, true, false};
    const int expected[] = {start - 1, start - 2, start - 1, start, start - 1};
    for (int i = 0; i < 5; ++i) {
        _actions->stepPicture(forward[i]);
        QTRY_COMPARE(stepped.count(), i + 1);
        const QString what =
            QString("step %1: picture %2, expected %3").arg(i).arg(frontPicture()).arg(expected[i]);
        QVERIFY2(frontPicture() == expected[i], qPrintable(what));
        QVERIFY2(qAbs(stepped.at(i).at(0).toDouble() - expected[i] * FrameInterval) < TimeTolerance,
                 qPrintable(what));
        QVERIFY2(qAbs(_view->rearView->getPictureTime() - _view->frontView->getPictureTime()) <
                     TimeTolerance,
                 qPrintable(what));
    }
}

void TestIncidentActions::exportWritesTheTrack() {
    const QString path = _dir.filePath(QStringLiteral("Unfall ü.gpx"));
    bool written = false;
    const QString message = KvIncidentActions::exportTracks(
        {recording("2026_0315_101500_001F.MP4")}, path, QString(), &written);
    QVERIFY(written);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll().count("<trkpt "), 4);
    QCOMPARE(message, KvLanguage::kvtr("export_done").arg(4).arg(QDir::toNativeSeparators(path)));
}

void TestIncidentActions::exportOfRecordingsWithoutTrack() {
    const QString path = _dir.filePath("nothing.csv");
    bool written = true;
    const QString message = KvIncidentActions::exportTracks(
        {recording("2026_0315_102100_003F.MP4")}, path, QString(), &written);
    QVERIFY(!written);
    QCOMPARE(message, KvLanguage::kvtr("export_no_track"));
    QVERIFY(!QFile::exists(path));
}

void TestIncidentActions::exportKeepsRecordingsApartInTimeOrder() {
    const KvVideoInfo first = recording("2026_0315_101500_001F.MP4");
    const KvVideoInfo second = recording("2026_0315_101800_002F.MP4");
    const QString csv = _dir.filePath("both.csv");
    bool written = false;
    // Handed over in the wrong order: the file is in time order all the same.
    const QString message =
        KvIncidentActions::exportTracks({second, first}, csv, QString(), &written);
    QVERIFY(written);
    QCOMPARE(message, KvLanguage::kvtr("export_done").arg(8).arg(QDir::toNativeSeparators(csv)));
    QFile file(csv);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
    QCOMPARE(lines.size(), 1 + 8);
    QVERIFY(lines.at(1).startsWith("2026-03-15T10:15:00Z,"));
    QVERIFY(lines.at(4).endsWith(',' + first.name.toUtf8()));
    QVERIFY(lines.at(5).endsWith(',' + second.name.toUtf8()));
    QVERIFY(lines.at(8).startsWith("2026-03-15T10:18:03Z,"));
    // In GPX each recording is a track of its own, never joined to the next by a line.
    const QString gpx = _dir.filePath("both.gpx");
    KvIncidentActions::exportTracks({second, first}, gpx, QString(), &written);
    QVERIFY(written);
    QFile gpxFile(gpx);
    QVERIFY(gpxFile.open(QIODevice::ReadOnly));
    const QByteArray tracks = gpxFile.readAll();
    QCOMPARE(tracks.count("<trk>"), 2);
    QVERIFY(tracks.indexOf("<name>" + first.name.toUtf8() + "</name>") <
            tracks.indexOf("<name>" + second.name.toUtf8() + "</name>"));
}

// The message after an export names the file, however deep it lies: the whole sentence shows.
void TestIncidentActions::exportMessageShowsTheWholeSentence() {
    KvLanguage::setRoot(QStringLiteral(KV_SOURCE_DIR "/data/language"));
    KvLanguage::installLanguage(QStringLiteral("english"));
    const QString folder = _dir.filePath(
        QStringLiteral("Versicherung/Unfall vom 15. März 2026 auf der A9 bei Ingolstadt/"
                       "Spuren_und_Standbilder_beider_Kameras_für_die_Versicherung"));
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + QStringLiteral("/Unfall ü.gpx");
    answerModal([path](QWidget* modal) {
        auto* chooser = qobject_cast<QFileDialog*>(modal);
        QVERIFY(chooser);
        chooser->selectFile(path);
        static_cast<QDialog*>(chooser)->accept();
    });
    _actions->exportTracksWithChooser({recording("2026_0315_101500_001F.MP4")});
    QVERIFY(QFile::exists(path));
    QTRY_VERIFY(_actions->messageAlert() && _actions->messageAlert()->isVisible());
    KvAlertDialog* alert = _actions->messageAlert();
    QVERIFY(QTest::qWaitForWindowExposed(alert));
    const QString sentence = QStringLiteral("4 GPS fixes written to ") + path;
    QCOMPARE(alert->contentLabel()->text(), sentence);
    const QLabel* label = alert->contentLabel();
    const QRect text = label->fontMetrics().boundingRect(
        label->contentsRect(), int(label->alignment()) | Qt::TextWordWrap, label->text());
    QVERIFY(label->contentsRect().contains(text));
    QVERIFY(alert->rect().contains(label->geometry()));
    alert->close();
}

int main(int argc, char** argv) {
    // The video views share OpenGL contexts, as in the player's main().
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setOrganizationName(QStringLiteral("dashcam-player"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_incidentactions"));
    TestIncidentActions test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_incidentactions.moc"
