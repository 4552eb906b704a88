// KvControlRow on a plain window: the buttons and the slider are the window's own children in
// the window's order, with their images, states and places; full screen hides each one; the
// volume and play/pause controls act on a real player.

#include "KvControlRow.h"
#include "KvLanguage.h"
#include "KvSlider.h"
#include "KvTestMain.h"
#include "KvVideoInfo.h"
#include "LuPlayer.h"

#include <QPushButton>
#include <QtTest>

#include <memory>

namespace {
QString image(const char* name) {
    return QStringLiteral("QPushButton{border-image:url(:resources/%1.png);}")
        .arg(QLatin1String(name));
}
} // namespace

class TestControlRow : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void childrenOfTheWindowInItsOrder();
    void looksAtStart();
    void theThreePlayerStates();
    void windowedLayout();
    void fullScreenHidesEveryControl();
    void volumeButtonAndSlider();
    void playPauseAndSteps();

private:
    std::unique_ptr<QWidget> _window;
    std::unique_ptr<KvControlRow> _row;
};

void TestControlRow::init() {
    _window = std::make_unique<QWidget>();
    _row = std::make_unique<KvControlRow>(_window.get());
    _row->setUp();
}

void TestControlRow::cleanup() {
    _row.reset();
    _window.reset();
}

void TestControlRow::childrenOfTheWindowInItsOrder() {
    const QList<QWidget*> expected = {
        _row->openButton(),       _row->playButton(),       _row->stopButton(),
        _row->prevButton(),       _row->nextButton(),       _row->volumeButton(),
        _row->volumeSlider(),     _row->screenshotButton(), _row->fullscreenButton(),
        _row->exitButton(),       _row->settingsButton(),   _row->stepBackButton(),
        _row->stepForwardButton()};
    QList<QWidget*> children;
    for (QObject* child : _window->children()) {
        if (child->isWidgetType()) {
            children.append(static_cast<QWidget*>(child));
        }
    }
    QCOMPARE(children, expected);
}

void TestControlRow::looksAtStart() {
    QCOMPARE(_row->openButton()->styleSheet(), image("open_file"));
    QCOMPARE(_row->screenshotButton()->styleSheet(), image("capture"));
    QCOMPARE(_row->settingsButton()->styleSheet(), image("configure"));
    QCOMPARE(_row->prevButton()->styleSheet(), image("prev"));
    QCOMPARE(_row->nextButton()->styleSheet(), image("next"));
    QCOMPARE(_row->stopButton()->styleSheet(), image("stop"));
    QCOMPARE(_row->playButton()->styleSheet(), image("pause"));
    QCOMPARE(_row->volumeButton()->styleSheet(), image("volume_on"));
    QCOMPARE(_row->stepBackButton()->styleSheet(), image("step_back"));
    QCOMPARE(_row->stepForwardButton()->styleSheet(), image("step_forward"));
    QCOMPARE(_row->volumeSlider()->orientation(), Qt::Horizontal);
    QCOMPARE(_row->volumeSlider()->minimum(), 0);
    QCOMPARE(_row->volumeSlider()->maximum(), 100);
    QCOMPARE(_row->volumeSlider()->value(), 100);
    QCOMPARE(_row->fullscreenButton()->text(), KvLanguage::kvtr("fullscreen"));
    QCOMPARE(_row->exitButton()->text(), KvLanguage::kvtr("exit"));
    QCOMPARE(_row->stepBackButton()->toolTip(), KvLanguage::kvtr("step_back"));
    QVERIFY(!_row->stepBackButton()->isEnabled());
    QVERIFY(!_row->stepForwardButton()->isEnabled());
    // The play button's enabling is the window's; the row leaves it and the stop button be.
    QVERIFY(_row->playButton()->isEnabled());
    QVERIFY(_row->stopButton()->isEnabled());
}

void TestControlRow::theThreePlayerStates() {
    _row->playButton()->setEnabled(false);
    _row->showPlaying();
    QCOMPARE(_row->playButton()->styleSheet(), image("pause"));
    QVERIFY(_row->playButton()->isEnabled());
    QVERIFY(_row->stopButton()->isEnabled());
    _row->showStopped();
    QCOMPARE(_row->playButton()->styleSheet(), image("play"));
    QVERIFY(_row->playButton()->isEnabled());
    QVERIFY(!_row->stopButton()->isEnabled());
    _row->showPaused();
    QCOMPARE(_row->playButton()->styleSheet(), image("play"));
    QVERIFY(_row->playButton()->isEnabled());
    QVERIFY(_row->stopButton()->isEnabled());
    _row->setVolumeButtonSelected(false);
    QCOMPARE(_row->volumeButton()->styleSheet(), image("volume_mute"));
    _row->setStepEnabled(true);
    QVERIFY(_row->stepBackButton()->isEnabled() && _row->stepForwardButton()->isEnabled());
}

void TestControlRow::windowedLayout() {
    _row->layOut(1280, 720);
    const int c = (1280 - 300) / 2;
    QCOMPARE(_row->openButton()->geometry(), QRect(10, 670, 64, 48));
    QCOMPARE(_row->screenshotButton()->geometry(), QRect(75, 670, 64, 48));
    QCOMPARE(_row->settingsButton()->geometry(), QRect(140, 670, 64, 48));
    QCOMPARE(_row->prevButton()->geometry(), QRect(c - 66, 685, 32, 32));
    QCOMPARE(_row->stopButton()->geometry(), QRect(c - 33, 685, 32, 32));
    QCOMPARE(_row->playButton()->geometry(), QRect(c, 681, 36, 36));
    QCOMPARE(_row->nextButton()->geometry(), QRect(c + 37, 685, 32, 32));
    QCOMPARE(_row->volumeButton()->geometry(), QRect(c + 77, 685, 16, 32));
    QCOMPARE(_row->volumeSlider()->geometry(), QRect(c + 95, 685, 80, 32));
    QCOMPARE(_row->fullscreenButton()->geometry(), QRect(0, 0, 0, 0));
    QCOMPARE(_row->exitButton()->geometry(), QRect(0, 0, 0, 0));
    QCOMPARE(_row->stepBackButton()->geometry(), QRect(c + 185, 685, 32, 32));
    QCOMPARE(_row->stepForwardButton()->geometry(), QRect(c + 218, 685, 32, 32));
    // An odd width: integer division places the centre.
    _row->layOut(1281, 721);
    QCOMPARE(_row->playButton()->geometry(), QRect(490, 682, 36, 36));
}

void TestControlRow::fullScreenHidesEveryControl() {
    _row->layOut(1280, 720);
    _row->hideAll();
    for (QObject* child : _window->children()) {
        QCOMPARE(static_cast<QWidget*>(child)->geometry(), QRect(0, 0, 0, 0));
    }
}

void TestControlRow::volumeButtonAndSlider() {
    // Without a player the slider only changes the look.
    _row->applySliderVolume(0);
    QCOMPARE(_row->volumeButton()->styleSheet(), image("volume_mute"));
    LuPlayer player;
    _row->setPlayer(&player);
    QObject::connect(_row->volumeSlider(), &QSlider::valueChanged,
                     [this](int value) { _row->applySliderVolume(value); });
    _row->volumeSlider()->setValue(50);
    QCOMPARE(player.getVolume(), 0.5f);
    QCOMPARE(player.getRearPlayer()->getVolume(), 0.0f);
    QCOMPARE(_row->volumeButton()->styleSheet(), image("volume_on"));
    _row->toggleMute();
    QCOMPARE(player.getVolume(), 0.0f);
    QCOMPARE(_row->volumeSlider()->value(), 0);
    QCOMPARE(_row->volumeButton()->styleSheet(), image("volume_mute"));
    _row->toggleMute();
    QCOMPARE(player.getVolume(), 1.0f);
    QCOMPARE(_row->volumeSlider()->value(), 100);
    QCOMPARE(_row->volumeButton()->styleSheet(), image("volume_on"));
}

void TestControlRow::playPauseAndSteps() {
    LuPlayer player;
    _row->setPlayer(&player);
    _row->updateStepButtons();
    QVERIFY(!_row->stepBackButton()->isEnabled());
    KvVideoInfo clip;
    clip.appendVideo(QStringLiteral(KV_TEST_MEDIA_DIR "/no-audio.mp4"));
    QCOMPARE(player.startPlay(clip), 0);
    QVERIFY(player.isPlaying());
    _row->togglePlayPause();
    QVERIFY(!player.isPlaying());
    QCOMPARE(_row->playButton()->styleSheet(), image("play"));
    QVERIFY(_row->stopButton()->isEnabled());
    QVERIFY(_row->stepBackButton()->isEnabled());
    QVERIFY(_row->stepForwardButton()->isEnabled());
    _row->togglePlayPause();
    QVERIFY(player.isPlaying());
    QCOMPARE(_row->playButton()->styleSheet(), image("pause"));
    QVERIFY(!_row->stepForwardButton()->isEnabled());
    player.stopPlay();
}

KV_TEST_MAIN(TestControlRow)
#include "tst_controlrow.moc"
