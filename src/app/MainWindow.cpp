#include "MainWindow.h"

#include "KvAddFileDialog.h"
#include "KvAlertDialog.h"
#include "KvExifWriter.h"
#include "KvFFPlayer.h"
#include "KvFilePickerDialog.h"
#include "KvFileUtils.h"
#include "KvGPSReader.h"
#include "KvLanguage.h"
#include "KvListWidget.h"
#include "KvLogCategories.h"
#include "KvMapWidget.h"
#include "KvPlayerStatus.h"
#include "KvSettingDialog.h"
#include "KvSettingsKeys.h"
#include "KvSlider.h"
#include "KvTrackExporter.h"
#include "KvVideoListWidget.h"
#include "KvVideoView.h"
#include "LuPlayer.h"
#include "LuVideoView.h"
#include "VideoInfoView.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDesktopServices>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QUrl>

namespace {
const char* const OpenStyle = "QPushButton{border-image:url(:resources/open_file.png);}";
const char* const ScreenshotStyle = "QPushButton{border-image:url(:resources/capture.png);}";
const char* const SettingsStyle = "QPushButton{border-image:url(:resources/configure.png);}";
const char* const PrevStyle = "QPushButton{border-image:url(:resources/prev.png);}";
const char* const NextStyle = "QPushButton{border-image:url(:resources/next.png);}";
const char* const StopStyle = "QPushButton{border-image:url(:resources/stop.png);}";
const char* const PlayStyle = "QPushButton{border-image:url(:resources/play.png);}";
const char* const PauseStyle = "QPushButton{border-image:url(:resources/pause.png);}";
const char* const VolumeOnStyle = "QPushButton{border-image:url(:resources/volume_on.png);}";
const char* const VolumeMuteStyle = "QPushButton{border-image:url(:resources/volume_mute.png);}";
const char* const StepBackStyle = "QPushButton{border-image:url(:resources/step_back.png);}";
const char* const StepForwardStyle = "QPushButton{border-image:url(:resources/step_forward.png);}";

// The side panel (map above, playlist below) and the band under the video (trip panel and the
// control row) are this many pixels wide and high.
constexpr int SidePanelWidth = 300;
constexpr int BottomBandHeight = 300;
// The trip panel sits this far above the window's bottom and is this high; the control row
// fills the 80 pixels under it.
constexpr int TripPanelOffset = 280;
constexpr int TripPanelHeight = 200;

constexpr int VolumeMaximum = 100;

// A backward step is repeated every this many ms while the channel refills its picture cache,
// for at most this many times (3 s).
constexpr int StepPollMs = 15;
constexpr int StepPollLimit = 200;
// Messages about exports and stills stay this long.
constexpr int MessageShownMs = 6000;

// The file picker's kinds.
constexpr int PickedFile = 0;
constexpr int PickedDirectory = 1;
constexpr int PickedDrive = 2;
} // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    _videoView = new LuVideoView(this);
    _videoInfoView = new VideoInfoView(this);
    _mapWidget = new KvMapWidget(this);
    _videoListWidget = new KvVideoListWidget(this);
    _openButton = new QPushButton(this);
    _playButton = new QPushButton(this);
    _stopButton = new QPushButton(this);
    _prevButton = new QPushButton(this);
    _nextButton = new QPushButton(this);
    _volumeButton = new QPushButton(this);
    _volumeSlider = new KvSlider(this);
    _screenshotButton = new QPushButton(this);
    _fullscreenButton = new QPushButton(this);
    _exitButton = new QPushButton(this);
    _settingsButton = new QPushButton(this);
    _stepBackButton = new QPushButton(this);
    _stepForwardButton = new QPushButton(this);
    _stepTimer = new QTimer(this);
    _stepTimer->setInterval(StepPollMs);
    connect(_stepTimer, &QTimer::timeout, this, &MainWindow::_onStepTimer);

    setWindowTitle(QStringLiteral("Dashcam Player"));
    setWindowIcon(QIcon(QStringLiteral(":resources/icon.png")));
    _setupUI();
    setMinimumSize(MinimumWidth, MinimumHeight);

    _player = new LuPlayer(nullptr);
    _player->setVideoView(_videoView);
    _player->setCallback(this, &MainWindow::_playerCallback);
    connect(this, &MainWindow::_playerPlaying, this, &MainWindow::_onPlayerPlaying);

    connect(_videoInfoView, &VideoInfoView::videoTimeChanged, this,
            &MainWindow::_onVideoTimeChanged);
    connect(_videoListWidget, &KvVideoListWidget::onDoubleClickVideoInfo, this,
            &MainWindow::_onDoubleClickVideoInfo);
    // Deleting clips off the card must not pull them from under a playing recording.
    connect(_videoListWidget, &KvVideoListWidget::onBeforeDeleteFiles, this,
            &MainWindow::_onBeforeDeleteFiles);
    connect(_videoListWidget, &KvVideoListWidget::onExportTrackRequested, this,
            &MainWindow::_onExportTrackRequested);
    _centerOnScreen();
}

MainWindow::~MainWindow() {
    if (_player) {
        _player->stopPlay();
        delete _player;
        _player = nullptr;
    }
}

void MainWindow::_playerCallback(void* context, int code, double a, double b) {
    // Runs on the front core's video thread: only hand the report to the GUI thread.
    if (context) {
        emit static_cast<MainWindow*>(context)->_playerPlaying(code, a, b);
    }
}

void MainWindow::_setupUI() {
    _openButton->setStyleSheet(QLatin1String(OpenStyle));
    _screenshotButton->setStyleSheet(QLatin1String(ScreenshotStyle));
    _settingsButton->setStyleSheet(QLatin1String(SettingsStyle));
    _prevButton->setStyleSheet(QLatin1String(PrevStyle));
    _nextButton->setStyleSheet(QLatin1String(NextStyle));
    _setPlayButtonSelected(false);
    _stopButton->setStyleSheet(QLatin1String(StopStyle));
    _setVolumeButtonSelected(true);
    _volumeSlider->setOrientation(Qt::Horizontal);
    _volumeSlider->setRange(0, VolumeMaximum);
    _volumeSlider->setValue(VolumeMaximum);
    _fullscreenButton->setText(KvLanguage::kvtr(QStringLiteral("fullscreen")));
    _exitButton->setText(KvLanguage::kvtr(QStringLiteral("exit")));
    _stepBackButton->setStyleSheet(QLatin1String(StepBackStyle));
    _stepForwardButton->setStyleSheet(QLatin1String(StepForwardStyle));
    _stepBackButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_back")));
    _stepForwardButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_forward")));
    _stepBackButton->setEnabled(false);
    _stepForwardButton->setEnabled(false);
    _connectSignals();
    _playButton->setEnabled(false);

    KvConfigure configure;
    _mapWidget->loadMap(static_cast<_KvMapType>(
        configure.getInt(KvSettingsKeys::Map, KvSettingsKeys::FallbackMap)));
    _mapWidget->setCorrection(
        configure.getInt(KvSettingsKeys::GPSCorrection, KvSettingsKeys::FallbackGPSCorrection));

    connect(_videoView, &LuVideoView::onDoubleClicked, this, &MainWindow::_onDoubleClickVideoView);
    connect(_volumeSlider, &QSlider::valueChanged, this, &MainWindow::_onVolumeSliderValueChanged);
    // Space and Escape work wherever the focus is: the window takes every key event.
    grabKeyboard();
    setAcceptDrops(true);
}

void MainWindow::_connectSignals() {
    connect(_openButton, &QPushButton::clicked, this, &MainWindow::_onClickOpenButton);
    connect(_playButton, &QPushButton::clicked, this, &MainWindow::_onClickPlayButton);
    connect(_stopButton, &QPushButton::clicked, this, &MainWindow::_onClickStopButton);
    connect(_prevButton, &QPushButton::clicked, this, &MainWindow::_onClickPrevButton);
    connect(_nextButton, &QPushButton::clicked, this, &MainWindow::_onClickNextButton);
    connect(_screenshotButton, &QPushButton::clicked, this, &MainWindow::_onClickScreenshotButton);
    connect(_fullscreenButton, &QPushButton::clicked, this, &MainWindow::_onClickFullscreenButton);
    connect(_exitButton, &QPushButton::clicked, this, &MainWindow::_onClickExitButton);
    connect(_settingsButton, &QPushButton::clicked, this, &MainWindow::_onClickSettingsButton);
    connect(_volumeButton, &QPushButton::clicked, this, &MainWindow::_onClickVolumeButton);
    connect(_stepBackButton, &QPushButton::clicked, this, &MainWindow::_onClickStepBackButton);
    connect(_stepForwardButton, &QPushButton::clicked, this,
            &MainWindow::_onClickStepForwardButton);
}

void MainWindow::_centerOnScreen() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) {
        return;
    }
    const QRect area = screen->geometry();
    move((area.width() - width()) / 2, (area.height() - height()) / 2);
}

void MainWindow::reloadLanguage() {
    _videoListWidget->reloadLanguage();
    _videoInfoView->reloadLanguage();
    _fullscreenButton->setText(KvLanguage::kvtr(QStringLiteral("fullscreen")));
    _exitButton->setText(KvLanguage::kvtr(QStringLiteral("exit")));
    _stepBackButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_back")));
    _stepForwardButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_forward")));
}

// ---- Button looks -------------------------------------------------------------------------

void MainWindow::_setPlayButtonSelected(bool selected) {
    _playButton->setStyleSheet(QLatin1String(selected ? PlayStyle : PauseStyle));
}

void MainWindow::_setVolumeButtonSelected(bool selected) {
    _volumeButton->setStyleSheet(QLatin1String(selected ? VolumeOnStyle : VolumeMuteStyle));
}

void MainWindow::_updatePlayerPlayingStatus() {
    _setPlayButtonSelected(false);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(true);
}

void MainWindow::_updatePlayerPauseStatus() {
    _setPlayButtonSelected(true);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(true);
}

void MainWindow::_updatePlayerStopStatus() {
    _setPlayButtonSelected(true);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(false);
}

bool MainWindow::_hasDirectory(const QStringList& paths) {
    return !_firstDirectory(paths).isEmpty();
}

QString MainWindow::_firstDirectory(const QStringList& paths) {
    for (const QString& path : paths) {
        if (QFileInfo(path).isDir()) {
            return path;
        }
    }
    return QString();
}

// ---- The play sequence --------------------------------------------------------------------

bool MainWindow::_readGPSFromVideo(QVector<KvLocation>& locations, const QString& path) {
    return readGPSFromVideo(locations, path);
}

bool MainWindow::_readGPSFromAITVideo(QVector<KvLocation>& locations, const QString& path) {
    return readGPSFromAITVideo(locations, path);
}

void MainWindow::_doPlayVideo(const KvVideoInfo& info) {
    if (_player) {
        _player->stopPlay();
    }
    _currentVideoInfo = info;
    _videoInfoView->clear();
    _mapWidget->clearMap();

    // The first clip, front first, that carries a track supplies it.
    QStringList paths;
    for (const KvVideo& video : _currentVideoInfo.videos) {
        paths.append(video.path);
    }
    _locations.clear();
    readGPSTrack(_locations, paths);
    if (!_locations.isEmpty()) {
        _videoInfoView->setLocations(_locations);
        _mapWidget->drawLine(_locations);
    }

    _lastShownSecond = -1;
    _videoView->reset();
    _setVolumeButtonSelected(true);
    _volumeSlider->setValue(VolumeMaximum);

    const int started = _player->startPlay(_currentVideoInfo);
    _updateStepButtons();
    if (started < 0) {
        _setPlayButtonSelected(true);
        _playButton->setEnabled(true);
        _stopButton->setEnabled(false);
        return;
    }
    _setPlayButtonSelected(false);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(true);
}

void MainWindow::_stopAndClear() {
    _player->stopPlay();
    _videoView->clear();
    _videoInfoView->clear();
    _mapWidget->clearMap();
    _setPlayButtonSelected(true);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(false);
    _lastShownSecond = -1;
    _updateStepButtons();
}

void MainWindow::_onPlayerPlaying(int code, double a, double b) {
    switch (code) {
    case KvPlayerStatus::Paused:
        _setPlayButtonSelected(false);
        _playButton->setEnabled(true);
        _stopButton->setEnabled(true);
        _updateStepButtons();
        break;
    case KvPlayerStatus::EndOfFile: {
        _stopAndClear();
        const KvVideoInfo next = _videoListWidget->findNextVideoInfo(_currentVideoInfo);
        if (next.isValid()) {
            _doPlayVideo(next);
        }
        break;
    }
    case KvPlayerStatus::RanDry:
        _stopAndClear();
        break;
    case KvPlayerStatus::PictureShown: {
        // The trip panel and the map follow once per whole second of playback.
        const int32_t second = static_cast<int32_t>(a);
        if (second != _lastShownSecond) {
            _lastShownSecond = second;
            _videoInfoView->updateTime(a, b);
            _mapWidget->updatePlay(a, b);
        }
        break;
    }
    default:
        break;
    }
}

void MainWindow::_onVideoTimeChanged(double seconds) {
    if (!_player || !_player->isOpenFile()) {
        return;
    }
    _player->seek(seconds);
    // A seek always leaves the recording running, even from pause.
    if (!_player->isPlaying()) {
        _player->pause();
        _player->play();
    }
    _updateStepButtons();
}

void MainWindow::_onDoubleClickVideoInfo(KvVideoInfo& info) {
    if (!info.videos.isEmpty()) {
        _doPlayVideo(info);
    }
}

void MainWindow::_onDoubleClickVideoView(int button, double x, double y) {
    Q_UNUSED(button);
    qCDebug(kvApp) << "_onDoubleClickVideoView";
    if (isFullScreen()) {
        _leaveFullscreen();
        return;
    }
    _videoView->enterFullscreen(_videoView->getPreview(x, y));
    showFullScreen();
}

void MainWindow::_leaveFullscreen() {
    _videoView->existsFullscreen();
    showNormal();
}

void MainWindow::_onBeforeDeleteFiles(const QList<KvVideoInfo>& entries) {
    if (!_player || _currentVideoInfo.isEmpty()) {
        return;
    }
    for (const KvVideoInfo& entry : entries) {
        if (entry == _currentVideoInfo) {
            _stopAndClear();
            return;
        }
    }
}

// ---- Buttons ------------------------------------------------------------------------------

int MainWindow::_execModal(QDialog& dialog) {
    // The window holds the keyboard for Space and Escape; a dialog needs it back while it runs
    // (the file chooser has a name field).
    releaseKeyboard();
    const int result = dialog.exec();
    grabKeyboard();
    return result;
}

void MainWindow::_onClickOpenButton(bool) {
    KvFilePickerDialog picker(this);
    releaseKeyboard();
    const int result = picker.showModes();
    grabKeyboard();
    if (result != 1) {
        return;
    }
    const int type = picker.getType();
    const QString path = picker.getSelectedPath();
    qCDebug(kvApp) << "type = " << type << ", path = " << path;
    _openPickedPath(type, path);
}

void MainWindow::_openPickedPath(int type, const QString& path) {
    switch (type) {
    case PickedFile: {
        _videoListWidget->addFile(path, true);
        KvVideoInfo info;
        if (KvVideoListWidget::convertFile(path, &info) >= 0) {
            _videoListWidget->setCurrentItem(path);
            _doPlayVideo(info);
        }
        break;
    }
    case PickedDirectory: {
        const int rowsBefore = _videoListWidget->listWidget()->count();
        _videoListWidget->addDir(path, true);
        // A folder holds its clips directly; but when the user picked a card's root folder
        // (its clips lie in DCIM/...), finding nothing there would look broken: scan it as the
        // card it is.
        if (_videoListWidget->listWidget()->count() == rowsBefore &&
            KvFileUtils::isSDCard(QFileInfo(QDir(path).absolutePath() + QLatin1Char('/')))) {
            _scanFolder(path);
        }
        break;
    }
    case PickedDrive:
        _scanFolder(path);
        break;
    default:
        break;
    }
}

void MainWindow::_scanFolder(const QString& path) {
    // Adds the folder's recordings at every depth, on the scan dialog's worker thread, while the
    // dialog shows the progress.
    KvAddFileDialog dialog(_videoListWidget, path);
    dialog.start();
    _execModal(dialog);
}

void MainWindow::_togglePlayPause() {
    const bool wasPlaying = _player->isPlaying();
    if (wasPlaying) {
        _player->pause();
    } else {
        _player->play();
    }
    _setPlayButtonSelected(wasPlaying);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(true);
    _updateStepButtons();
}

void MainWindow::_onClickPlayButton(bool) {
    if (!_player->isOpenFile()) {
        _doPlayVideo(_currentVideoInfo);
        return;
    }
    _togglePlayPause();
}

void MainWindow::_onClickStopButton(bool) {
    if (!_player) {
        return;
    }
    _player->stopPlay();
    _videoView->clear();
    _videoInfoView->clear();
    _mapWidget->clearMap();
    _updateStepButtons();
    if (_currentVideoInfo.isEmpty()) {
        // Nothing to restart: the pause look with Play disabled, as at start-up.
        _setPlayButtonSelected(false);
        _playButton->setEnabled(false);
        return;
    }
    _setPlayButtonSelected(true);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(false);
}

void MainWindow::_onClickPrevButton(bool) {
    const KvVideoInfo previous = _videoListWidget->findPrevVideoInfo(_currentVideoInfo);
    if (previous.isValid()) {
        _doPlayVideo(previous);
    }
}

void MainWindow::_onClickNextButton(bool) {
    const KvVideoInfo next = _videoListWidget->findNextVideoInfo(_currentVideoInfo);
    if (next.isValid()) {
        _doPlayVideo(next);
    }
}

bool MainWindow::_captureChannels(const QString& captureDir, QStringList* written) {
    const QString pathPattern = QStringLiteral("%1/%2.jpg");
    if (_videoView->getPlayerCount() < 2) {
        const QString name =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss_zzz"));
        const QString path = pathPattern.arg(captureDir, name);
        const bool captured = _videoView->frontView->capture(path);
        if (captured) {
            written->append(path);
        }
        return captured;
    }
    // Each name reads the clock again, so the two may differ in their milliseconds.
    const QString front =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss_zzzF"));
    const QString rear =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss_zzzR"));
    const QString frontPath = pathPattern.arg(captureDir, front);
    const QString rearPath = pathPattern.arg(captureDir, rear);
    const bool frontCaptured = _videoView->frontView->capture(frontPath);
    const bool rearCaptured = _videoView->rearView->capture(rearPath);
    if (frontCaptured) {
        written->append(frontPath);
    }
    if (rearCaptured) {
        written->append(rearPath);
    }
    return frontCaptured || rearCaptured;
}

void MainWindow::_onClickScreenshotButton(bool) {
    if (!_videoView || !_videoView->frontView || !_player || !_player->isOpenFile()) {
        return;
    }
    KvFileUtils fileUtils;
    const QString captureDir = fileUtils.getCapturePath();
    QStringList written;
    if (_captureChannels(captureDir, &written)) {
        _tagStills(written);
        QDesktopServices::openUrl(QUrl(QStringLiteral("file:///%1").arg(captureDir)));
    }
}

void MainWindow::_onClickFullscreenButton(bool) {
    if (!isFullScreen()) {
        _videoView->enterFullscreen(-1);
        showFullScreen();
        return;
    }
    _leaveFullscreen();
}

void MainWindow::_onClickExitButton(bool) {
    QCoreApplication::quit();
}

void MainWindow::_onClickSettingsButton(bool) {
    KvSettingDialog dialog(nullptr);
    dialog.setSettingDelegate(this);
    _execModal(dialog);
}

void MainWindow::_onClickVolumeButton(bool) {
    if (_player->getVolume() == 0.0f) {
        _player->setVolume(1.0f);
        _setVolumeButtonSelected(true);
        _volumeSlider->setValue(VolumeMaximum);
        return;
    }
    _player->setVolume(0.0f);
    _setVolumeButtonSelected(false);
    _volumeSlider->setValue(0);
}

void MainWindow::_onVolumeSliderValueChanged(int value) {
    const float volume = static_cast<float>(value) / 100.0f;
    _setVolumeButtonSelected(value != 0);
    if (_player) {
        _player->setVolume(volume);
    }
}

// ---- Settings delegate --------------------------------------------------------------------

void MainWindow::onSwitchMap(_KvMapType type) {
    _mapWidget->loadMap(type);
    _doPlayVideo(_currentVideoInfo);
}

void MainWindow::onSwitchLanguage(const QString& name) {
    KvLanguage::installLanguage(name);
    reloadLanguage();
}

void MainWindow::onSwitchSpeedUnit(int unit) {
    Q_UNUSED(unit);
    // The panel reads the unit from the settings itself.
    _videoInfoView->reloadSettings();
}

void MainWindow::onSwitchLocationCorrection(int on) {
    _mapWidget->setCorrection(on);
    _doPlayVideo(_currentVideoInfo);
}

// ---- Events -------------------------------------------------------------------------------

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    _onResize(width(), height());
}

void MainWindow::changeEvent(QEvent* event) {
    qCDebug(kvApp) << "changeEvent = " << event;
    if (event->type() == QEvent::WindowStateChange) {
        _onResize(width(), height());
    }
    QMainWindow::changeEvent(event);
}

void MainWindow::keyReleaseEvent(QKeyEvent* event) {
    qCDebug(kvApp) << "event = " << event;
    switch (event->key()) {
    case Qt::Key_Space:
        if (_player && !_currentVideoInfo.isEmpty() && _player->isOpenFile()) {
            _togglePlayPause();
        }
        break;
    case Qt::Key_Escape:
        if (isFullScreen()) {
            _leaveFullscreen();
        }
        break;
    default:
        break;
    }
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    qCDebug(kvApp) << "dragEnterEvent" << event->mimeData();
    if (event->mimeData()->hasUrls()) {
        event->accept();
    }
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty()) {
        return;
    }
    _videoListWidget->addFiles(urls, true);
    // A dropped folder (a card, or a copy of one) adds the recordings inside it.
    for (const QUrl& url : urls) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) {
            _scanFolder(url.toLocalFile());
        }
    }
    if (!_player) {
        return;
    }
    _player->stopPlay();
    KvVideoInfo info;
    if (KvVideoListWidget::convertFile(urls.first().path(QUrl::FullyDecoded), &info) >= 0) {
        _videoListWidget->addFile(info, true);
        _doPlayVideo(info);
    }
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    Q_UNUSED(watched);
    qCDebug(kvApp, "eventFilter type = %d", static_cast<int>(event->type()));
    if (event->type() == QEvent::DragEnter || event->type() == QEvent::Drop) {
        qCDebug(kvApp, "eventFilter");
        return true;
    }
    return false;
}

void MainWindow::_onResize(int w, int h) {
    const QRect hidden(0, 0, 0, 0);
    QWidget* const others[] = {
        _videoInfoView, _mapWidget,      _videoListWidget,  _openButton,
        _playButton,    _stopButton,     _prevButton,       _nextButton,
        _volumeButton,  _volumeSlider,   _screenshotButton, _fullscreenButton,
        _exitButton,    _settingsButton, _stepBackButton,   _stepForwardButton};
    if (isFullScreen()) {
        _videoView->setGeometry(0, 0, w, h);
        for (QWidget* widget : others) {
            widget->setGeometry(hidden);
        }
        return;
    }
    const int c = (w - SidePanelWidth) / 2;
    _videoView->setGeometry(0, 0, w - SidePanelWidth, h - BottomBandHeight);
    _videoInfoView->setGeometry(0, h - TripPanelOffset, w - SidePanelWidth, TripPanelHeight);
    _mapWidget->setGeometry(w - SidePanelWidth, 0, SidePanelWidth, h / 2);
    _videoListWidget->setGeometry(w - SidePanelWidth, h / 2, SidePanelWidth, h - h / 2);
    _openButton->setGeometry(10, h - 50, 64, 48);
    _screenshotButton->setGeometry(75, h - 50, 64, 48);
    _settingsButton->setGeometry(140, h - 50, 64, 48);
    _prevButton->setGeometry(c - 66, h - 35, 32, 32);
    _stopButton->setGeometry(c - 33, h - 35, 32, 32);
    _playButton->setGeometry(c, h - 39, 36, 36);
    _nextButton->setGeometry(c + 37, h - 35, 32, 32);
    _volumeButton->setGeometry(c + 77, h - 35, 16, 32);
    _volumeSlider->setGeometry(c + 95, h - 35, 80, 32);
    _fullscreenButton->setGeometry(hidden);
    _exitButton->setGeometry(hidden);
    // The single-picture steps sit after the volume, as a pair.
    _stepBackButton->setGeometry(c + 185, h - 35, 32, 32);
    _stepForwardButton->setGeometry(c + 218, h - 35, 32, 32);
}

// ---- Incident review: single-picture steps, stills with their position, track export ------

void MainWindow::_updateStepButtons() {
    const bool paused = _player && _player->isOpenFile() && !_player->isPlaying();
    _stepBackButton->setEnabled(paused);
    _stepForwardButton->setEnabled(paused);
    if (!paused) {
        _stepTimer->stop();
    }
}

void MainWindow::_onClickStepBackButton(bool) {
    _stepChannels(false);
}

void MainWindow::_onClickStepForwardButton(bool) {
    _stepChannels(true);
}

void MainWindow::_stepChannels(bool forward) {
    if (!_player->isOpenFile() || _player->isPlaying() || _stepTimer->isActive()) {
        return;
    }
    KvFFPlayer* const cores[2] = {_player->getFrontPlayer(), _player->getRearPlayer()};
    KvVideoView* const views[2] = {_videoView->frontView, _videoView->rearView};
    const int channels = _videoView->getPlayerCount() >= 2 ? 2 : 1;
    for (int i = 0; i < 2; ++i) {
        _stepWaiting[i] = false;
        if (i >= channels || !cores[i]->isOpenFile()) {
            continue;
        }
        _stepFrom[i] = views[i]->getPictureTime();
        if (forward) {
            cores[i]->playNextVideo();
        } else {
            cores[i]->playPrevVideo();
            _stepWaiting[i] = views[i]->getPictureTime() == _stepFrom[i];
        }
    }
    if (_stepWaiting[0] || _stepWaiting[1]) {
        _stepPolls = 0;
        _stepTimer->start();
        return;
    }
    _showSteppedPosition();
}

void MainWindow::_onStepTimer() {
    KvFFPlayer* const cores[2] = {_player->getFrontPlayer(), _player->getRearPlayer()};
    KvVideoView* const views[2] = {_videoView->frontView, _videoView->rearView};
    for (int i = 0; i < 2; ++i) {
        if (!_stepWaiting[i]) {
            continue;
        }
        // Returns at once while the cache refills; steps once it is ready.
        cores[i]->playPrevVideo();
        _stepWaiting[i] = views[i]->getPictureTime() == _stepFrom[i];
    }
    if ((!_stepWaiting[0] && !_stepWaiting[1]) || ++_stepPolls >= StepPollLimit) {
        _stepTimer->stop();
        _showSteppedPosition();
    }
}

void MainWindow::_showSteppedPosition() {
    // A step is the user's own request: the panel and the map follow even within one second.
    const double position = _videoView->frontView->getPictureTime();
    const double duration = _player->getFrontPlayer()->duration();
    if (position < 0.0) {
        return;
    }
    _lastShownSecond = static_cast<int32_t>(position);
    _videoInfoView->updateTime(position, duration);
    _mapWidget->updatePlay(position, duration);
}

const KvLocation* MainWindow::_fixAt(double seconds, double duration) const {
    // The same proportional mapping the trip panel and the map use.
    const int count = _locations.size();
    if (count == 0 || !(duration > 0.0) || !(seconds >= 0.0)) {
        return nullptr;
    }
    const int index = std::min(count - 1, static_cast<int>(count * seconds / duration));
    return &_locations.at(index);
}

void MainWindow::_tagStills(const QStringList& paths) {
    const KvLocation* fix =
        _fixAt(_videoView->frontView->getPictureTime(), _player->getFrontPlayer()->duration());
    if (fix == nullptr) {
        return;
    }
    for (const QString& path : paths) {
        // A still whose fix cannot be placed keeps no GPS tags; the picture itself is written.
        KvExifWriter::writeGpsTags(path, *fix);
    }
}

void MainWindow::_showMessage(const QString& text) {
    if (_messageAlert) {
        _messageAlert->close();
    }
    auto* alert = new KvAlertDialog(this);
    connect(alert, &QDialog::finished, alert, &QObject::deleteLater);
    alert->setContentText(text);
    alert->dismissAfter(MessageShownMs);
    alert->show();
    _messageAlert = alert;
}

QString MainWindow::_exportTracks(const QList<KvVideoInfo>& entries, const QString& path,
                                  const QString& selectedFilter, bool* written) {
    QVector<QVector<KvLocation>> tracks;
    for (const KvVideoInfo& entry : entries) {
        QStringList clips;
        for (const KvVideo& video : entry.videos) {
            clips.append(video.path);
        }
        QVector<KvLocation> track;
        if (readGPSTrack(track, clips)) {
            tracks.append(track);
        }
    }
    const QVector<KvLocation> merged = KvTrackExporter::mergeTracks(tracks);
    if (written) {
        *written = false;
    }
    if (merged.isEmpty()) {
        return KvLanguage::kvtr(QStringLiteral("export_no_track"));
    }
    QString error;
    const QString name = entries.size() == 1 ? entries.first().name : QFileInfo(path).baseName();
    if (!KvTrackExporter::exportTrack(
            merged, path, KvTrackExporter::formatFor(path, selectedFilter), name, &error)) {
        return KvLanguage::kvtr(QStringLiteral("export_failed")).arg(error);
    }
    if (written) {
        *written = true;
    }
    return KvLanguage::kvtr(QStringLiteral("export_done"))
        .arg(merged.size())
        .arg(QDir::toNativeSeparators(path));
}

void MainWindow::_onExportTrackRequested(const QList<KvVideoInfo>& entries) {
    const QString suggested =
        QDir::home().filePath(QFileInfo(entries.first().name).completeBaseName() + ".gpx");
    QString filter;
    releaseKeyboard();
    const QString path =
        QFileDialog::getSaveFileName(this, KvLanguage::kvtr(QStringLiteral("export_gps_track")),
                                     suggested, KvTrackExporter::fileFilters(), &filter);
    grabKeyboard();
    if (path.isEmpty()) {
        return;
    }
    _showMessage(_exportTracks(entries, path, filter));
}
