#include "MainWindow.h"

#include "KvFFPlayer.h"
#include "KvKeyboardGrab.h"
#include "KvLanguage.h"
#include "KvLogCategories.h"
#include "KvMapWidget.h"
#include "KvPlayerStatus.h"
#include "KvSettingDialog.h"
#include "KvSettingsKeys.h"
#include "KvSlider.h"
#include "KvVideoListWidget.h"
#include "LuPlayer.h"
#include "LuVideoView.h"
#include "VideoInfoView.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QUrl>

#include <algorithm>

namespace {
// The side panel (map above, playlist below) and the band under the video (trip panel and the
// control row) are this many pixels wide and high.
constexpr int SidePanelWidth = 300;
constexpr int BottomBandHeight = 300;
// The trip panel sits this far above the window's bottom and is this high; the control row
// fills the 80 pixels under it.
constexpr int TripPanelOffset = 280;
constexpr int TripPanelHeight = 200;
} // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    _videoView = new LuVideoView(this);
    _videoInfoView = new VideoInfoView(this);
    _mapWidget = new KvMapWidget(this);
    _videoListWidget = new KvVideoListWidget(this);
    _controlRow = std::make_unique<KvControlRow>(this);
    _opener = std::make_unique<KvRecordingOpener>(_videoListWidget);

    setWindowTitle(QStringLiteral("Dashcam Player"));
    setWindowIcon(QIcon(QStringLiteral(":resources/icon.png")));
    _setupUI();
    setMinimumSize(MinimumWidth, MinimumHeight);

    _player = new LuPlayer(nullptr);
    _player->setVideoView(_videoView);
    _player->setCallback(this, &MainWindow::_playerCallback);
    connect(this, &MainWindow::_playerPlaying, this, &MainWindow::_onPlayerPlaying);
    _controlRow->setPlayer(_player);
    _incidentActions = new KvIncidentActions(_player, _videoView, this);
    connect(_incidentActions, &KvIncidentActions::pictureStepped, this,
            &MainWindow::_onPictureStepped);

    connect(_videoInfoView, &VideoInfoView::videoTimeChanged, this,
            &MainWindow::_onVideoTimeChanged);
    connect(_videoListWidget, &KvVideoListWidget::onDoubleClickVideoInfo, this,
            &MainWindow::_onDoubleClickVideoInfo);
    // Deleting clips off the card must not pull them from under a playing recording.
    connect(_videoListWidget, &KvVideoListWidget::onBeforeDeleteFiles, this,
            &MainWindow::_onBeforeDeleteFiles);
    connect(_videoListWidget, &KvVideoListWidget::onExportTrackRequested, _incidentActions,
            &KvIncidentActions::exportTracksWithChooser);
    _centerOnScreen();
}

MainWindow::~MainWindow() {
    _player->stopPlay();
    delete _player;
}

void MainWindow::_playerCallback(void* context, int code, double a, double b) {
    // Runs on the front core's video thread: only hand the report to the GUI thread.
    if (context) {
        emit static_cast<MainWindow*>(context)->_playerPlaying(code, a, b);
    }
}

void MainWindow::_setupUI() {
    _controlRow->setUp();
    connect(openButton(), &QPushButton::clicked, this, &MainWindow::_onClickOpenButton);
    connect(playButton(), &QPushButton::clicked, this, &MainWindow::_onClickPlayButton);
    connect(stopButton(), &QPushButton::clicked, this, &MainWindow::_onClickStopButton);
    connect(prevButton(), &QPushButton::clicked, this, &MainWindow::_onClickPrevButton);
    connect(nextButton(), &QPushButton::clicked, this, &MainWindow::_onClickNextButton);
    connect(screenshotButton(), &QPushButton::clicked, this, &MainWindow::_onClickScreenshotButton);
    connect(fullscreenButton(), &QPushButton::clicked, this, &MainWindow::_onClickFullscreenButton);
    connect(exitButton(), &QPushButton::clicked, this, &MainWindow::_onClickExitButton);
    connect(settingsButton(), &QPushButton::clicked, this, &MainWindow::_onClickSettingsButton);
    connect(volumeButton(), &QPushButton::clicked, this, &MainWindow::_onClickVolumeButton);
    connect(stepBackButton(), &QPushButton::clicked, this, &MainWindow::_onClickStepBackButton);
    connect(stepForwardButton(), &QPushButton::clicked, this,
            &MainWindow::_onClickStepForwardButton);
    playButton()->setEnabled(false);

    KvConfigure configure;
    _mapWidget->loadMap(static_cast<_KvMapType>(
        configure.getInt(KvSettingsKeys::Map, KvSettingsKeys::FallbackMap)));
    _mapWidget->setCorrection(
        configure.getInt(KvSettingsKeys::GPSCorrection, KvSettingsKeys::FallbackGPSCorrection));

    connect(_videoView, &LuVideoView::onDoubleClicked, this, &MainWindow::_onDoubleClickVideoView);
    connect(volumeSlider(), &QSlider::valueChanged, this, &MainWindow::_onVolumeSliderValueChanged);
    // Grabs the keyboard now, and lends it to every dialog that runs over the window.
    _keyboardGrab = new KvKeyboardGrab(this);
    setAcceptDrops(true);
}

void MainWindow::_centerOnScreen() {
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        move((screen->geometry().width() - width()) / 2,
             (screen->geometry().height() - height()) / 2);
    }
}

void MainWindow::reloadLanguage() {
    _videoListWidget->reloadLanguage();
    _videoInfoView->reloadLanguage();
    _controlRow->reloadLanguage();
}

QString MainWindow::_firstDirectory(const QStringList& paths) {
    const auto found = std::find_if(paths.begin(), paths.end(),
                                    [](const QString& path) { return QFileInfo(path).isDir(); });
    return found != paths.end() ? *found : QString();
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
    volumeSlider()->setValue(KvControlRow::VolumeMaximum);

    const int started = _player->startPlay(_currentVideoInfo);
    _updateStepButtons();
    if (started < 0) {
        _updatePlayerStopStatus();
        return;
    }
    _updatePlayerPlayingStatus();
}

void MainWindow::_stopAndClear() {
    _player->stopPlay();
    _videoView->clear();
    _videoInfoView->clear();
    _mapWidget->clearMap();
    _updatePlayerStopStatus();
    _lastShownSecond = -1;
    _updateStepButtons();
}

void MainWindow::_endWithoutPictures() {
    // The rear camera's pictures play on when only the front clip has none.
    const KvFFPlayer* rear = _player->getRearPlayer();
    if (rear->hasVideo() && rear->isPlaying()) {
        return;
    }
    // A recording whose clips hold no pictures (a GPS-only clip) ends as soon as it starts. Its
    // track stays on the map and the trip panel, and the list does not move on: every such entry
    // after it would end the same way, and the list would run through to its end.
    _player->stopPlay();
    _videoView->clear();
    _updatePlayerStopStatus();
    _updateStepButtons();
}

void MainWindow::_onPlayerPlaying(int code, double a, double b) {
    switch (code) {
    case KvPlayerStatus::Paused:
        _updatePlayerPlayingStatus();
        _updateStepButtons();
        break;
    case KvPlayerStatus::EndOfFile:
    case KvPlayerStatus::RanDry:
        if (!_player->hasShownPicture()) {
            _endWithoutPictures();
            break;
        }
        _stopAndClear();
        if (code == KvPlayerStatus::EndOfFile) {
            _playIfValid(_videoListWidget->findNextVideoInfo(_currentVideoInfo));
        }
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

void MainWindow::_onDoubleClickVideoView(int, double x, double y) {
    qCDebug(kvApp) << "_onDoubleClickVideoView";
    _toggleFullscreen(_videoView->getPreview(x, y));
}

void MainWindow::_toggleFullscreen(int channel) {
    if (isFullScreen()) {
        _videoView->existsFullscreen();
        showNormal();
        return;
    }
    _videoView->enterFullscreen(channel);
    showFullScreen();
}

void MainWindow::_onBeforeDeleteFiles(const QList<KvVideoInfo>& entries) {
    if (_player && !_currentVideoInfo.isEmpty() && entries.contains(_currentVideoInfo)) {
        _stopAndClear();
    }
}

void MainWindow::_onClickOpenButton(bool) {
    KvVideoInfo info;
    if (_opener->pickAndAdd(this, &info)) {
        _doPlayVideo(info);
    }
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
        playButton()->setEnabled(false);
        return;
    }
    _updatePlayerStopStatus();
}

void MainWindow::_onClickPrevButton(bool) {
    _playIfValid(_videoListWidget->findPrevVideoInfo(_currentVideoInfo));
}

void MainWindow::_onClickNextButton(bool) {
    _playIfValid(_videoListWidget->findNextVideoInfo(_currentVideoInfo));
}

void MainWindow::_playIfValid(const KvVideoInfo& info) {
    if (info.isValid()) {
        _doPlayVideo(info);
    }
}

void MainWindow::_onClickSettingsButton(bool) {
    KvSettingDialog dialog(nullptr);
    dialog.setSettingDelegate(this);
    dialog.exec();
}

void MainWindow::_onPictureStepped(double position, double duration) {
    // A step is the user's own request: the panel and the map follow even within one second.
    _lastShownSecond = static_cast<int32_t>(position);
    _videoInfoView->updateTime(position, duration);
    _mapWidget->updatePlay(position, duration);
}

void MainWindow::onSwitchMap(_KvMapType type) {
    _mapWidget->loadMap(type);
    _doPlayVideo(_currentVideoInfo);
}

void MainWindow::onSwitchLanguage(const QString& name) {
    KvLanguage::installLanguage(name);
    reloadLanguage();
}

void MainWindow::onSwitchSpeedUnit(int) {
    // The panel reads the unit from the settings itself.
    _videoInfoView->reloadSettings();
}

void MainWindow::onSwitchLocationCorrection(int on) {
    _mapWidget->setCorrection(on);
    _doPlayVideo(_currentVideoInfo);
}

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
    if (event->key() == Qt::Key_Space) {
        if (_player && !_currentVideoInfo.isEmpty() && _player->isOpenFile()) {
            _togglePlayPause();
        }
    } else if (event->key() == Qt::Key_Escape && isFullScreen()) {
        _toggleFullscreen(-1);
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
    _opener->addDropped(urls);
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

bool MainWindow::eventFilter(QObject*, QEvent* event) {
    qCDebug(kvApp, "eventFilter type = %d", static_cast<int>(event->type()));
    if (event->type() == QEvent::DragEnter || event->type() == QEvent::Drop) {
        qCDebug(kvApp, "eventFilter");
        return true;
    }
    return false;
}

void MainWindow::_onResize(int w, int h) {
    const QRect hidden(0, 0, 0, 0);
    if (isFullScreen()) {
        _videoView->setGeometry(0, 0, w, h);
        _videoInfoView->setGeometry(hidden);
        _mapWidget->setGeometry(hidden);
        _videoListWidget->setGeometry(hidden);
        _controlRow->hideAll();
        return;
    }
    _videoView->setGeometry(0, 0, w - SidePanelWidth, h - BottomBandHeight);
    _videoInfoView->setGeometry(0, h - TripPanelOffset, w - SidePanelWidth, TripPanelHeight);
    _mapWidget->setGeometry(w - SidePanelWidth, 0, SidePanelWidth, h / 2);
    _videoListWidget->setGeometry(w - SidePanelWidth, h / 2, SidePanelWidth, h - h / 2);
    _controlRow->layOut(w, h);
}
