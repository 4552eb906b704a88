#include "KvAlertDialog.h"
#include "KvConfigure.h"
#include "KvDialogAnswers.h"
#include "KvFFPlayer.h"
#include "KvFileUtils.h"
#include "KvIncidentActions.h"
#include "KvListWidget.h"
#include "KvVideoListWidget.h"
#include "KvVideoView.h"
#include "LuPlayer.h"
#include "LuVideoView.h"
#include "MainWindow.h"
#include "ToolProcess.h"
#include "VideoInfoView.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include <clocale>
#include <functional>

// Going through an incident in the window: single-picture steps on both channels, still images
// that carry the car's position, and the tracks exported for an insurer.
class TestIncidentReview : public QObject {
    Q_OBJECT
public slots:
    void openUrl(const QUrl&) {}

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void stepButtonsOnlyWhilePaused();
    void tenStepsForwardAndBackMoveBothChannels();
    void stepButtonsChangeDirectionOnePictureAtATime();
    void stillsCarryTheFixInTheirExif();
    void exportFromTheContextMenu();

private:
    void _playPair();
    QJsonObject _exif(const QString& path);

    MainWindow* _window = nullptr;
    QTemporaryDir _dir;
};

namespace {
const QString CardPath = QStringLiteral(KV_TEST_MEDIA_DIR "/card");
// The test card's clips run at 15 pictures a second.
constexpr double FrameInterval = 1.0 / 15;
constexpr double TimeTolerance = 0.002;

double frontTime(MainWindow* window) {
    return window->videoView()->frontView->getPictureTime();
}

double rearTime(MainWindow* window) {
    return window->videoView()->rearView->getPictureTime();
}
} // namespace

void TestIncidentReview::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
}

void TestIncidentReview::init() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();
    _window = new MainWindow;
    _window->show();
    QVERIFY(QTest::qWaitForWindowExposed(_window));
}

void TestIncidentReview::cleanup() {
    delete _window;
    _window = nullptr;
}

void TestIncidentReview::_playPair() {
    _window->videoList()->addFile(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4", false);
    QTRY_COMPARE(_window->videoList()->listWidget()->count(), 1);
    _window->videoList()->onDoubleClickListWidgetItem(
        _window->videoList()->listWidget()->model()->index(0, 0));
    QTRY_VERIFY(_window->player()->isPlaying());
    QCOMPARE(_window->videoView()->getPlayerCount(), 2);
    QTRY_VERIFY(frontTime(_window) > 0.5 && rearTime(_window) > 0.5);
}

QJsonObject TestIncidentReview::_exif(const QString& path) {
    QProcess tool;
    kvtest::startTool(tool, QStringLiteral("exiftool"), {"-j", "-n", "-GPS:all", path});
    if (!tool.waitForFinished(30000) || tool.exitCode() != 0) {
        return {};
    }
    return QJsonDocument::fromJson(tool.readAllStandardOutput()).array().at(0).toObject();
}

void TestIncidentReview::stepButtonsOnlyWhilePaused() {
    QVERIFY(!_window->stepBackButton()->isEnabled());
    QVERIFY(!_window->stepForwardButton()->isEnabled());
    _playPair();
    QVERIFY(!_window->stepForwardButton()->isEnabled());
    QTest::keyClick(_window, Qt::Key_Space);
    QVERIFY(_window->stepForwardButton()->isEnabled());
    QVERIFY(_window->stepBackButton()->isEnabled());
    QVERIFY(_window->stepForwardButton()->isVisible());
    QCOMPARE(_window->stepForwardButton()->styleSheet(),
             QStringLiteral("QPushButton{border-image:url(:resources/step_forward.png);}"));
    QTest::keyClick(_window, Qt::Key_Space);
    QVERIFY(!_window->stepForwardButton()->isEnabled());
    QTest::mouseClick(_window->stopButton(), Qt::LeftButton);
    QVERIFY(!_window->stepBackButton()->isEnabled());
}

void TestIncidentReview::tenStepsForwardAndBackMoveBothChannels() {
    _playPair();
    QTest::keyClick(_window, Qt::Key_Space);
    QTest::qWait(200);
    const double front0 = frontTime(_window);
    const double rear0 = rearTime(_window);
    for (int step = 0; step < 10; ++step) {
        QTest::mouseClick(_window->stepForwardButton(), Qt::LeftButton);
    }
    QTRY_VERIFY(qAbs(frontTime(_window) - (front0 + 10 * FrameInterval)) < TimeTolerance);
    QVERIFY2(qAbs(rearTime(_window) - (rear0 + 10 * FrameInterval)) < TimeTolerance,
             qPrintable(QString("rear %1 from %2").arg(rearTime(_window)).arg(rear0)));
    // The trip panel follows the stepped picture.
    auto* current = _window->tripPanel()->findChild<QLabel*>(QStringLiteral("currentTimeLabel"));
    QVERIFY(current);
    const double stepped = frontTime(_window);
    QCOMPARE(current->text(), QStringLiteral("00:%1").arg(int(stepped), 2, 10, QLatin1Char('0')));
    for (int step = 0; step < 10; ++step) {
        QTest::mouseClick(_window->stepBackButton(), Qt::LeftButton);
        // A backward step may first refill the channel's cache; the window waits for it.
        QTRY_VERIFY(frontTime(_window) < stepped - (step + 0.5) * FrameInterval);
    }
    QTRY_VERIFY(qAbs(frontTime(_window) - front0) < TimeTolerance);
    QTRY_VERIFY2(qAbs(rearTime(_window) - rear0) < TimeTolerance,
                 qPrintable(QString("rear %1, expected %2").arg(rearTime(_window)).arg(rear0)));
    // Play resumes from the stepped picture, both channels together.
    QTest::keyClick(_window, Qt::Key_Space);
    QTRY_VERIFY(frontTime(_window) > front0 + 0.3);
    QVERIFY(frontTime(_window) < front0 + 1.5);
    QTest::qWait(600);
    QVERIFY2(
        qAbs(frontTime(_window) - rearTime(_window)) <= FrameInterval + TimeTolerance,
        qPrintable(QString("front %1, rear %2").arg(frontTime(_window)).arg(rearTime(_window))));
}

void TestIncidentReview::stepButtonsChangeDirectionOnePictureAtATime() {
    _playPair();
    QTest::keyClick(_window, Qt::Key_Space);
    QTest::qWait(200);
    const double front0 = frontTime(_window);
    // Back, back, forward: one picture before the start, never three.
    QPushButton* const buttons[] = {_window->stepBackButton(), _window->stepBackButton(),
                                    _window->stepForwardButton(), _window->stepForwardButton()};
    const int offsets[] = {-1, -2, -1, 0};
    for (int i = 0; i < 4; ++i) {
        QTest::mouseClick(buttons[i], Qt::LeftButton);
        const double expected = front0 + offsets[i] * FrameInterval;
        QTRY_VERIFY2(qAbs(frontTime(_window) - expected) < TimeTolerance,
                     qPrintable(QString("step %1: front %2, expected %3")
                                    .arg(i)
                                    .arg(frontTime(_window))
                                    .arg(expected)));
        // Once the step has ended, both channels show the same instant.
        QTRY_VERIFY(!_window->player()->isStepping());
        QVERIFY2(qAbs(rearTime(_window) - frontTime(_window)) < TimeTolerance,
                 qPrintable(QString("step %1: front %2, rear %3")
                                .arg(i)
                                .arg(frontTime(_window))
                                .arg(rearTime(_window))));
    }
}

void TestIncidentReview::stillsCarryTheFixInTheirExif() {
    _playPair();
    QTest::keyClick(_window, Qt::Key_Space);
    KvFileUtils fileUtils;
    const QString captures = fileUtils.getCapturePath();
    QDir(captures).removeRecursively();
    QDir().mkpath(captures);
    QTest::mouseClick(_window->screenshotButton(), Qt::LeftButton);
    const QStringList stills = QDir(captures).entryList({"*.jpg"}, QDir::Files, QDir::Name);
    QCOMPARE(stills.size(), 2);
    const QVector<KvLocation>& track = _window->currentTrack();
    QCOMPARE(track.size(), 4);
    const double position = frontTime(_window);
    const double duration = _window->player()->getFrontPlayer()->duration();
    const KvLocation& fix = track.at(qMin(3, int(4 * position / duration)));
    for (const QString& still : stills) {
        const QJsonObject tags = _exif(captures + "/" + still);
        QVERIFY2(!tags.isEmpty(), "exiftool (libimage-exiftool-perl) read nothing");
        QCOMPARE(tags.value("GPSLatitudeRef").toString(), QStringLiteral("N"));
        QCOMPARE(tags.value("GPSLongitudeRef").toString(), QStringLiteral("E"));
        QVERIFY(qAbs(tags.value("GPSLatitude").toDouble() - fix.latitude) < 1e-6);
        QVERIFY(qAbs(tags.value("GPSLongitude").toDouble() - fix.longitude) < 1e-6);
        QCOMPARE(tags.value("GPSDateStamp").toString(), QStringLiteral("2026:03:15"));
        QVERIFY(qAbs(tags.value("GPSSpeed").toDouble() - fix.speed) < 0.01);
    }
}

void TestIncidentReview::exportFromTheContextMenu() {
    _window->videoList()->addFile(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4", false);
    QTRY_COMPARE(_window->videoList()->listWidget()->count(), 1);
    const QString path = _dir.filePath(QStringLiteral("Unfall ü.gpx"));
    QFile::remove(path);
    answerWhenShown([] { return QApplication::activePopupWidget(); },
                    [this](QWidget* popup) {
                        auto* menu = qobject_cast<QMenu*>(popup);
                        QVERIFY(menu);
                        QVERIFY(
                            menu->actions().contains(_window->videoList()->exportTrackAction()));
                        menu->setActiveAction(_window->videoList()->exportTrackAction());
                        QTest::keyClick(menu, Qt::Key_Return);
                    });
    answerWhenShown([] { return QApplication::activeModalWidget(); },
                    [path](QWidget* modal) {
                        auto* chooser = qobject_cast<QFileDialog*>(modal);
                        QVERIFY(chooser);
                        chooser->selectFile(path);
                        static_cast<QDialog*>(chooser)->accept();
                    });
    _window->videoList()->onListWidgetContentMenuEvent(_window->videoList()->listWidget()->item(0));
    QTRY_VERIFY(QFile::exists(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll().count("<trkpt "), 4);
    QTRY_VERIFY(_window->incidentActions()->messageAlert());
    QVERIFY(_window->incidentActions()->messageAlert()->contentLabel()->text().contains("4"));
}

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setOrganizationName(QStringLiteral("dashcam-player"));
    QCoreApplication::setApplicationName(QStringLiteral("dashcam-player"));
    TestIncidentReview test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_incidentreview.moc"
