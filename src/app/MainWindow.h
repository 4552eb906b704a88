#pragma once

#include "KvConfigure.h"
#include "KvControlRow.h"
#include "KvGPSReader.h"
#include "KvIncidentActions.h"
#include "KvLocation.h"
#include "KvRecordingOpener.h"
#include "KvSettingDelegate.h"
#include "KvVideoInfo.h"

#include <QCoreApplication>
#include <QList>
#include <QMainWindow>
#include <QStringList>
#include <QVector>

#include <cstdint>
#include <memory>

class KvKeyboardGrab;
class KvMapWidget;
class KvSlider;
class KvVideoListWidget;
class LuPlayer;
class LuVideoView;
class QPushButton;
class VideoInfoView;

// The application's single top-level window and its controller. It owns the two-channel video
// view and player, the trip panel, the map and the playlist, plus the control row; it turns
// clicks, keys, drops and double-clicks into player commands, runs the play sequence (stop, read
// the track, draw it, start both channels), follows the player's status reports (advancing to
// the next recording at the end of one) and applies settings live. The control row's looks and
// places are KvControlRow's, steps, stills and track export KvIncidentActions', and the keyboard
// grab KvKeyboardGrab's.
//
// Everything here runs on the GUI thread. The only entry from another thread is the player's
// status callback, which only emits _playerPlaying; the queued connection brings the report to
// _onPlayerPlaying on the GUI thread.
class MainWindow : public QMainWindow, public KvSettingDelegate {
    Q_OBJECT
public:
    static constexpr int MinimumWidth = 1280;
    static constexpr int MinimumHeight = 720;

    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    void reloadLanguage();

    // KvSettingDelegate: the settings dialog calls these after it has written the setting.
    void onSwitchMap(_KvMapType type) override;
    void onSwitchLanguage(const QString& name) override;
    void onSwitchSpeedUnit(int unit) override;
    void onSwitchLocationCorrection(int on) override;

    // The window's parts, for tests and tools that drive the window as a person would.
    LuVideoView* videoView() const { return _videoView; }
    VideoInfoView* tripPanel() const { return _videoInfoView; }
    KvMapWidget* mapWidget() const { return _mapWidget; }
    KvVideoListWidget* videoList() const { return _videoListWidget; }
    LuPlayer* player() const { return _player; }
    KvIncidentActions* incidentActions() const { return _incidentActions; }
    const KvVideoInfo& currentVideoInfo() const { return _currentVideoInfo; }
    QPushButton* openButton() const { return _controlRow->openButton(); }
    QPushButton* playButton() const { return _controlRow->playButton(); }
    QPushButton* stopButton() const { return _controlRow->stopButton(); }
    QPushButton* prevButton() const { return _controlRow->prevButton(); }
    QPushButton* nextButton() const { return _controlRow->nextButton(); }
    QPushButton* volumeButton() const { return _controlRow->volumeButton(); }
    KvSlider* volumeSlider() const { return _controlRow->volumeSlider(); }
    QPushButton* screenshotButton() const { return _controlRow->screenshotButton(); }
    QPushButton* fullscreenButton() const { return _controlRow->fullscreenButton(); }
    QPushButton* exitButton() const { return _controlRow->exitButton(); }
    QPushButton* settingsButton() const { return _controlRow->settingsButton(); }
    QPushButton* stepBackButton() const { return _controlRow->stepBackButton(); }
    QPushButton* stepForwardButton() const { return _controlRow->stepForwardButton(); }
    // The track of the current recording, as read when it started.
    const QVector<KvLocation>& currentTrack() const { return _locations; }

signals:
    void _playerPlaying(int code, double a, double b);

private slots:
    void _onPlayerPlaying(int code, double a, double b);
    void _onVideoTimeChanged(double seconds);
    void _onDoubleClickVideoInfo(KvVideoInfo& info);
    void _onDoubleClickVideoView(int button, double x, double y);
    void _onClickOpenButton(bool checked);
    void _onClickPlayButton(bool checked);
    void _onClickStopButton(bool checked);
    void _onClickPrevButton(bool checked);
    void _onClickNextButton(bool checked);
    void _onClickScreenshotButton(bool) { _incidentActions->takeScreenshot(_locations); }
    void _onClickFullscreenButton(bool) { _toggleFullscreen(-1); }
    void _onClickExitButton(bool) { QCoreApplication::quit(); }
    void _onClickSettingsButton(bool checked);
    void _onClickVolumeButton(bool) { _controlRow->toggleMute(); }
    void _onVolumeSliderValueChanged(int value) { _controlRow->applySliderVolume(value); }
    void _onBeforeDeleteFiles(const QList<KvVideoInfo>& entries);
    void _onClickStepBackButton(bool) { _incidentActions->stepPicture(false); }
    void _onClickStepForwardButton(bool) { _incidentActions->stepPicture(true); }
    void _onPictureStepped(double position, double duration);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The window's layout and helpers are pinned by its tests.
    friend class TestMainWindow;

    static void _playerCallback(void* context, int code, double a, double b);

    void _setupUI();
    void _centerOnScreen();

    // The control row's looks and the three player states (KvControlRow's).
    void _setPlayButtonSelected(bool selected) { _controlRow->setPlayButtonSelected(selected); }
    void _setVolumeButtonSelected(bool selected) { _controlRow->setVolumeButtonSelected(selected); }
    void _updatePlayerPlayingStatus() { _controlRow->showPlaying(); }
    void _updatePlayerPauseStatus() { _controlRow->showPaused(); }
    void _updatePlayerStopStatus() { _controlRow->showStopped(); }
    void _updateStepButtons() { _controlRow->updateStepButtons(); }
    static bool _hasDirectory(const QStringList& paths) {
        return !_firstDirectory(paths).isEmpty();
    }
    static QString _firstDirectory(const QStringList& paths);

    void _doPlayVideo(const KvVideoInfo& info);
    void _onResize(int width, int height);
    // The GPS readers of the clips' subtitle text and of the "gps0" box.
    static bool _readGPSFromVideo(QVector<KvLocation>& locations, const QString& path) {
        return readGPSFromVideo(locations, path);
    }
    static bool _readGPSFromAITVideo(QVector<KvLocation>& locations, const QString& path) {
        return readGPSFromAITVideo(locations, path);
    }

    void _stopAndClear();
    // The end of a recording that showed no picture: it stays, with its track.
    void _endWithoutPictures();
    // Plays a record the list found, when it found one.
    void _playIfValid(const KvVideoInfo& info);
    void _togglePlayPause() { _controlRow->togglePlayPause(); }
    // Full screen shows channel (-1 both) alone; out of it, both channels in the window again.
    void _toggleFullscreen(int channel);

    // Children, created in this order with the window as their parent; the control row creates
    // its buttons and slider on the window right after the video list.
    LuVideoView* _videoView = nullptr;
    VideoInfoView* _videoInfoView = nullptr;
    KvMapWidget* _mapWidget = nullptr;
    KvVideoListWidget* _videoListWidget = nullptr;
    std::unique_ptr<KvControlRow> _controlRow;
    // Adds picked and dropped files, folders and cards to the video list.
    std::unique_ptr<KvRecordingOpener> _opener;
    // Follows which window is in front; a child of the window, made by _setupUI.
    KvKeyboardGrab* _keyboardGrab = nullptr;
    // No Qt parent: stopped and deleted by the destructor before the views it paints into.
    LuPlayer* _player = nullptr;
    // Steps, stills and track export over the player and the views; a child of the window.
    KvIncidentActions* _incidentActions = nullptr;
    // The recording being (or last) played; kept after stop so Play restarts it.
    KvVideoInfo _currentVideoInfo;
    // Whole second of the last position passed to the trip panel and the map; -1 = none.
    int32_t _lastShownSecond = -1;
    // The current recording's track, for still images' EXIF tags.
    QVector<KvLocation> _locations;
};
