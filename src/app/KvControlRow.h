#pragma once

class KvSlider;
class LuPlayer;
class QPushButton;
class QWidget;

// The main window's control row: the image buttons, the volume slider and the two hidden text
// buttons, with their looks, their states and their places in the window, and the controls that
// act on the player alone (play/pause, the volume, the step buttons' enabling).
//
// The row owns no widget of its own: it creates the buttons and the slider as children of the
// window, in the window's order of construction, and places them at window coordinates. The
// window's layout and full-screen mode treat every child alike (full screen hides each one with
// the null rectangle), and tools and tests read each button's geometry relative to the window;
// a row widget in between would move both. The widgets go with the window, their Qt parent.
// GUI thread only.
class KvControlRow {
public:
    // The volume slider runs from 0 (muted) to this (full volume).
    static constexpr int VolumeMaximum = 100;

    // Creates, as children of window and in this order: open, play, stop, previous, next and
    // volume buttons, the volume slider, screenshot, fullscreen, exit and settings buttons, then
    // the two single-picture step buttons.
    explicit KvControlRow(QWidget* window);
    KvControlRow(const KvControlRow&) = delete;
    KvControlRow& operator=(const KvControlRow&) = delete;

    // The looks and states at start-up: every image, the pause look, sound on, the slider at
    // 100, the translated texts; the step buttons disabled. The play button's enabling is left
    // to the window, which disables it once its buttons are connected.
    void setUp();
    // The fullscreen and exit texts and the step buttons' tool tips in the installed language.
    void reloadLanguage();
    // The player the controls act on (not owned); set once it exists.
    void setPlayer(LuPlayer* player) { _player = player; }

    // true: the play image (the player does not play); false: the pause image.
    void setPlayButtonSelected(bool selected);
    // true: the sound-on image; false: the muted image.
    void setVolumeButtonSelected(bool selected);
    // The three player states: the pause image with play and stop enabled; the play image with
    // both enabled; the play image with play enabled and stop disabled.
    void showPlaying();
    void showPaused();
    void showStopped();
    // The single-picture steps work only while a recording is paused.
    void setStepEnabled(bool enabled);
    void updateStepButtons();

    // Pauses a playing recording or resumes a paused one, with the matching state.
    void togglePlayPause();
    // The volume button: a muted player gets full volume and the slider at its maximum, any
    // other is muted with the slider at 0.
    void toggleMute();
    // The slider's value as the player's volume (value / 100), with the matching look.
    void applySliderVolume(int value);

    // Places the row in a windowed window of w x h pixels: the file buttons at the left, the
    // transport and volume centred under the video, the steps after the volume; fullscreen and
    // exit stay hidden.
    void layOut(int w, int h);
    // Full screen shows only the video: every control gets the null rectangle.
    void hideAll();

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

private:
    LuPlayer* _player = nullptr; // the window's, not owned; null until set
    // Children of the window (not owned here), in their order of construction.
    QPushButton* _openButton;
    QPushButton* _playButton;
    QPushButton* _stopButton;
    QPushButton* _prevButton;
    QPushButton* _nextButton;
    QPushButton* _volumeButton;
    KvSlider* _volumeSlider;
    QPushButton* _screenshotButton;
    QPushButton* _fullscreenButton;
    QPushButton* _exitButton;
    QPushButton* _settingsButton;
    QPushButton* _stepBackButton;
    QPushButton* _stepForwardButton;
};
