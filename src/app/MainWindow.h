#pragma once

#include "KvAlertDialog.h"
#include "KvConfigure.h"
#include "KvLocation.h"
#include "KvSettingDelegate.h"
#include "KvVideoInfo.h"

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QStringList>
#include <QVector>

class KvMapWidget;
class KvSlider;
class KvVideoListWidget;
class QDialog;
class LuPlayer;
class LuVideoView;
class QPushButton;
class QTimer;
class VideoInfoView;

// The application's single top-level window and its controller. It owns the two-channel video
// view and player, the trip panel, the map and the playlist, plus the control row; it turns
// clicks, keys, drops and double-clicks into player commands, runs the play sequence (stop, read
// the track, draw it, start both channels), follows the player's status reports (advancing to
// the next recording at the end of one), takes still images and applies settings live.
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
    const KvVideoInfo& currentVideoInfo() const { return _currentVideoInfo; }
    QPushButton* openButton() const { return _openButton; }
    QPushButton* playButton() const { return _playButton; }
    QPushButton* stopButton() const { return _stopButton; }
    QPushButton* prevButton() const { return _prevButton; }
    QPushButton* nextButton() const { return _nextButton; }
    QPushButton* volumeButton() const { return _volumeButton; }
    KvSlider* volumeSlider() const { return _volumeSlider; }
    QPushButton* screenshotButton() const { return _screenshotButton; }
    QPushButton* fullscreenButton() const { return _fullscreenButton; }
    QPushButton* exitButton() const { return _exitButton; }
    QPushButton* settingsButton() const { return _settingsButton; }
    QPushButton* stepBackButton() const { return _stepBackButton; }
    QPushButton* stepForwardButton() const { return _stepForwardButton; }
    // The message of the last track export or still image, for tests.
    KvAlertDialog* messageAlert() const { return _messageAlert.data(); }
    // The track of the current recording, as read when it started.
    const QVector<KvLocation>& currentTrack() const { return _locations; }

    // Writes the entries' tracks, merged in time order, to path in the format its extension or
    // filter names. Returns the line shown to the user; *written tells whether a file was made.
    QString _exportTracks(const QList<KvVideoInfo>& entries, const QString& path,
                          const QString& selectedFilter, bool* written = nullptr);

    void _setPlayButtonSelected(bool selected);
    void _setVolumeButtonSelected(bool selected);
    void _updatePlayerPlayingStatus();
    void _updatePlayerPauseStatus();
    void _updatePlayerStopStatus();
    static bool _hasDirectory(const QStringList& paths);
    static QString _firstDirectory(const QStringList& paths);

    void _doPlayVideo(const KvVideoInfo& info);
    void _onResize(int width, int height);

    static bool _readGPSFromVideo(QVector<KvLocation>& locations, const QString& path);
    static bool _readGPSFromAITVideo(QVector<KvLocation>& locations, const QString& path);

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
    void _onClickScreenshotButton(bool checked);
    void _onClickFullscreenButton(bool checked);
    void _onClickExitButton(bool checked);
    void _onClickSettingsButton(bool checked);
    void _onClickVolumeButton(bool checked);
    void _onVolumeSliderValueChanged(int value);
    void _onBeforeDeleteFiles(const QList<KvVideoInfo>& entries);
    void _onExportTrackRequested(const QList<KvVideoInfo>& entries);
    void _onClickStepBackButton(bool checked);
    void _onClickStepForwardButton(bool checked);
    void _onStepTimer();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static void _playerCallback(void* context, int code, double a, double b);

    void _setupUI();
    void _connectSignals();
    void _centerOnScreen();
    void _stopAndClear();
    void _togglePlayPause();
    void _leaveFullscreen();
    void _openPickedPath(int type, const QString& path);
    void _scanFolder(const QString& path);
    bool _captureChannels(const QString& captureDir, QStringList* written);
    int _execModal(QDialog& dialog);
    void _updateStepButtons();
    void _stepChannels(bool forward);
    void _showSteppedPosition();
    const KvLocation* _fixAt(double seconds, double duration) const;
    void _tagStills(const QStringList& paths);
    void _showMessage(const QString& text);

    // Children, created in this order with the window as their parent.
    LuVideoView* _videoView = nullptr;
    VideoInfoView* _videoInfoView = nullptr;
    KvMapWidget* _mapWidget = nullptr;
    KvVideoListWidget* _videoListWidget = nullptr;
    QPushButton* _openButton = nullptr;
    QPushButton* _playButton = nullptr;
    QPushButton* _stopButton = nullptr;
    QPushButton* _prevButton = nullptr;
    QPushButton* _nextButton = nullptr;
    QPushButton* _volumeButton = nullptr;
    KvSlider* _volumeSlider = nullptr;
    QPushButton* _screenshotButton = nullptr;
    QPushButton* _fullscreenButton = nullptr;
    QPushButton* _exitButton = nullptr;
    QPushButton* _settingsButton = nullptr;
    // Single-picture steps of both channels, enabled while a recording is paused.
    QPushButton* _stepBackButton = nullptr;
    QPushButton* _stepForwardButton = nullptr;
    // No Qt parent: stopped and deleted by the destructor before the views it paints into.
    LuPlayer* _player = nullptr;
    // The recording being (or last) played; kept after stop so Play restarts it.
    KvVideoInfo _currentVideoInfo;
    // Whole second of the last position passed to the trip panel and the map; -1 = none.
    int32_t _lastShownSecond = -1;
    // The current recording's track, for still images' EXIF tags.
    QVector<KvLocation> _locations;
    // A backward step first refills the channel's picture cache from the key frame before it;
    // this timer repeats the step on each channel until its picture has gone back.
    QTimer* _stepTimer = nullptr;
    double _stepFrom[2] = {-1.0, -1.0};
    bool _stepWaiting[2] = {false, false};
    int _stepPolls = 0;
    QPointer<KvAlertDialog> _messageAlert;
};
