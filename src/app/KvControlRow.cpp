#include "KvControlRow.h"

#include "KvLanguage.h"
#include "KvSlider.h"
#include "LuPlayer.h"

#include <QPushButton>
#include <QRect>

namespace {
// Each button's image is a border image from the application's resources (the resource prefix
// is written without a slash after the colon).
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

// The side panel (map above, playlist below) takes this many pixels at the right; the transport
// buttons are centred under the video to its left.
constexpr int SidePanelWidth = 300;

// The file buttons at the left: 64 x 48, one pixel apart, their tops 50 pixels above the
// window's bottom.
constexpr int FileButtonWidth = 64;
constexpr int FileButtonHeight = 48;
constexpr int FileButtonTop = 50;
constexpr int OpenLeft = 10;
constexpr int ScreenshotLeft = 75;
constexpr int SettingsLeft = 140;

// The transport row: 32 x 32 buttons 35 pixels above the bottom; the larger play button (36 x
// 36) sits 4 pixels higher at the centre c, the others at these offsets from it.
constexpr int SmallButtonSize = 32;
constexpr int SmallButtonTop = 35;
constexpr int PlayButtonSize = 36;
constexpr int PlayButtonTop = 39;
constexpr int PrevOffset = -66;
constexpr int StopOffset = -33;
constexpr int NextOffset = 37;
// The volume button is a narrow 16 x 32 speaker, the slider 80 pixels long beside it.
constexpr int VolumeOffset = 77;
constexpr int VolumeWidth = 16;
constexpr int SliderOffset = 95;
constexpr int SliderWidth = 80;
// The single-picture steps sit after the volume, as a pair.
constexpr int StepBackOffset = 185;
constexpr int StepForwardOffset = 218;

const QRect Hidden(0, 0, 0, 0);
} // namespace

KvControlRow::KvControlRow(QWidget* window)
    : _openButton(new QPushButton(window)), _playButton(new QPushButton(window)),
      _stopButton(new QPushButton(window)), _prevButton(new QPushButton(window)),
      _nextButton(new QPushButton(window)), _volumeButton(new QPushButton(window)),
      _volumeSlider(new KvSlider(window)), _screenshotButton(new QPushButton(window)),
      _fullscreenButton(new QPushButton(window)), _exitButton(new QPushButton(window)),
      _settingsButton(new QPushButton(window)), _stepBackButton(new QPushButton(window)),
      _stepForwardButton(new QPushButton(window)) {}

void KvControlRow::setUp() {
    _openButton->setStyleSheet(QLatin1String(OpenStyle));
    _screenshotButton->setStyleSheet(QLatin1String(ScreenshotStyle));
    _settingsButton->setStyleSheet(QLatin1String(SettingsStyle));
    _prevButton->setStyleSheet(QLatin1String(PrevStyle));
    _nextButton->setStyleSheet(QLatin1String(NextStyle));
    setPlayButtonSelected(false);
    _stopButton->setStyleSheet(QLatin1String(StopStyle));
    setVolumeButtonSelected(true);
    _volumeSlider->setOrientation(Qt::Horizontal);
    _volumeSlider->setRange(0, VolumeMaximum);
    _volumeSlider->setValue(VolumeMaximum);
    _fullscreenButton->setText(KvLanguage::kvtr(QStringLiteral("fullscreen")));
    _exitButton->setText(KvLanguage::kvtr(QStringLiteral("exit")));
    _stepBackButton->setStyleSheet(QLatin1String(StepBackStyle));
    _stepForwardButton->setStyleSheet(QLatin1String(StepForwardStyle));
    _stepBackButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_back")));
    _stepForwardButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_forward")));
    setStepEnabled(false);
}

void KvControlRow::reloadLanguage() {
    _fullscreenButton->setText(KvLanguage::kvtr(QStringLiteral("fullscreen")));
    _exitButton->setText(KvLanguage::kvtr(QStringLiteral("exit")));
    _stepBackButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_back")));
    _stepForwardButton->setToolTip(KvLanguage::kvtr(QStringLiteral("step_forward")));
}

void KvControlRow::setPlayButtonSelected(bool selected) {
    _playButton->setStyleSheet(QLatin1String(selected ? PlayStyle : PauseStyle));
}

void KvControlRow::setVolumeButtonSelected(bool selected) {
    _volumeButton->setStyleSheet(QLatin1String(selected ? VolumeOnStyle : VolumeMuteStyle));
}

void KvControlRow::showPlaying() {
    setPlayButtonSelected(false);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(true);
}

void KvControlRow::showPaused() {
    setPlayButtonSelected(true);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(true);
}

void KvControlRow::showStopped() {
    setPlayButtonSelected(true);
    _playButton->setEnabled(true);
    _stopButton->setEnabled(false);
}

void KvControlRow::setStepEnabled(bool enabled) {
    _stepBackButton->setEnabled(enabled);
    _stepForwardButton->setEnabled(enabled);
}

void KvControlRow::updateStepButtons() {
    setStepEnabled(_player && _player->isOpenFile() && !_player->isPlaying());
}

void KvControlRow::togglePlayPause() {
    if (_player->isPlaying()) {
        _player->pause();
        showPaused();
    } else {
        _player->play();
        showPlaying();
    }
    updateStepButtons();
}

void KvControlRow::toggleMute() {
    if (_player->getVolume() == 0.0f) {
        _player->setVolume(1.0f);
        setVolumeButtonSelected(true);
        _volumeSlider->setValue(VolumeMaximum);
        return;
    }
    _player->setVolume(0.0f);
    setVolumeButtonSelected(false);
    _volumeSlider->setValue(0);
}

void KvControlRow::applySliderVolume(int value) {
    const float volume = static_cast<float>(value) / VolumeMaximum;
    setVolumeButtonSelected(value != 0);
    if (_player) {
        _player->setVolume(volume);
    }
}

void KvControlRow::layOut(int w, int h) {
    const int c = (w - SidePanelWidth) / 2;
    const int fileTop = h - FileButtonTop;
    const int smallTop = h - SmallButtonTop;
    _openButton->setGeometry(OpenLeft, fileTop, FileButtonWidth, FileButtonHeight);
    _screenshotButton->setGeometry(ScreenshotLeft, fileTop, FileButtonWidth, FileButtonHeight);
    _settingsButton->setGeometry(SettingsLeft, fileTop, FileButtonWidth, FileButtonHeight);
    _prevButton->setGeometry(c + PrevOffset, smallTop, SmallButtonSize, SmallButtonSize);
    _stopButton->setGeometry(c + StopOffset, smallTop, SmallButtonSize, SmallButtonSize);
    _playButton->setGeometry(c, h - PlayButtonTop, PlayButtonSize, PlayButtonSize);
    _nextButton->setGeometry(c + NextOffset, smallTop, SmallButtonSize, SmallButtonSize);
    _volumeButton->setGeometry(c + VolumeOffset, smallTop, VolumeWidth, SmallButtonSize);
    _volumeSlider->setGeometry(c + SliderOffset, smallTop, SliderWidth, SmallButtonSize);
    // Never visible: full screen comes from a double click on the video and ends with Escape or
    // another double click; the application ends when its window is closed.
    _fullscreenButton->setGeometry(Hidden);
    _exitButton->setGeometry(Hidden);
    _stepBackButton->setGeometry(c + StepBackOffset, smallTop, SmallButtonSize, SmallButtonSize);
    _stepForwardButton->setGeometry(c + StepForwardOffset, smallTop, SmallButtonSize,
                                    SmallButtonSize);
}

void KvControlRow::hideAll() {
    QWidget* const controls[] = {
        _openButton,     _playButton,     _stopButton,       _prevButton,       _nextButton,
        _volumeButton,   _volumeSlider,   _screenshotButton, _fullscreenButton, _exitButton,
        _settingsButton, _stepBackButton, _stepForwardButton};
    for (QWidget* control : controls) {
        control->setGeometry(Hidden);
    }
}
