#include "LuPlayer.h"

#include "KvVideoInfo.h"
#include "KvVideoView.h"
#include "LuVideoView.h"

#include <QTimer>

namespace {

constexpr float kFrontVolume = 1.0f;
// The rear camera is always muted.
constexpr float kRearVolume = 0.0f;
// The core gives no notice when the refill for a step back is done (its decode thread fills the
// queue), so a waiting step is tried again once per picture interval of the channels it waits
// for: a delay nobody can tell from an immediate step, and a half to a quarter of the wake-ups
// of a fixed 15 ms poll. This interval (25 pictures a second) when no channel knows its rate.
constexpr int kDefaultStepRetryMs = 40;
// Front and rear.
constexpr int kChannels = 2;

} // namespace

LuPlayer::LuPlayer(QObject* parent)
    : QObject(parent), front(new KvFFPlayer()), rear(new KvFFPlayer()),
      _stepRetry(new QTimer(this)) {
    front->setVolume(kFrontVolume);
    rear->setVolume(kRearVolume);
    // Decoding and resampling the rear's sound only to drop it would cost a tenth of the
    // playback's CPU time.
    rear->disableAudio(true);
    front->setSharedClock(&_clock, true);
    rear->setSharedClock(&_clock, false);
    _stepRetry->setSingleShot(true);
    connect(_stepRetry, &QTimer::timeout, this, &LuPlayer::_retryStep);
}

LuPlayer::~LuPlayer() {
    delete rear;
    delete front;
}

void LuPlayer::setVideoView(LuVideoView* newView) {
    view = newView;
    // Without a view the cores drop their pictures rather than keep a view that may go away.
    front->setVideoView(view != nullptr ? view->frontView : nullptr);
    rear->setVideoView(view != nullptr ? view->rearView : nullptr);
}

void LuPlayer::setCallback(void* context, void (*callback)(void*, int, double, double)) {
    front->setCallback(context, callback);
}

int LuPlayer::startPlay(const KvVideoInfo& info) {
    _cancelStep();
    if (info.isEmpty()) {
        return 0;
    }
    front->setVolume(kFrontVolume);
    rear->setVolume(kRearVolume);
    if (info.videos.size() < 2) {
        // A rear clip of the previous recording must not play on behind the layout.
        rear->stopPlay();
        if (front->startPlay(info.videos[0].path.toUtf8().constData()) < 0) {
            return -1;
        }
        if (view != nullptr) {
            view->setPlayerCount(1);
        }
        return 0;
    }
    const int frontResult = front->startPlay(info.videos[0].path.toUtf8().constData());
    const int rearResult = rear->startPlay(info.videos[1].path.toUtf8().constData());
    // One channel that fails to open is tolerated: the other plays alone.
    if ((frontResult & rearResult) < 0) {
        return -1;
    }
    if (view != nullptr) {
        view->setPlayerCount(2);
    }
    return 0;
}

void LuPlayer::stopPlay() {
    _cancelStep();
    front->stopPlay();
    rear->stopPlay();
}

void LuPlayer::start() {
    _cancelStep();
    front->start();
    rear->start();
}

void LuPlayer::stop() {
    _cancelStep();
    front->stop();
    rear->stop();
}

void LuPlayer::play() {
    _cancelStep();
    front->play();
    rear->play();
}

void LuPlayer::pause() {
    front->pause();
    rear->pause();
}

void LuPlayer::seek(double seconds) {
    _cancelStep();
    front->seek(seconds);
    rear->seek(seconds);
}

bool LuPlayer::isOpenFile() const {
    return front->isOpenFile() || rear->isOpenFile();
}

bool LuPlayer::isPlaying() const {
    return front->isPlaying() || rear->isPlaying();
}

void LuPlayer::playNextVideo() {
    front->playNextVideo();
    rear->playNextVideo();
}

void LuPlayer::playPrevVideo() {
    front->playPrevVideo();
    rear->playPrevVideo();
}

bool LuPlayer::hasShownPicture() const {
    return front->hasShownPicture() || rear->hasShownPicture();
}

bool LuPlayer::stepPicture(bool forward) {
    if (!isOpenFile() || isPlaying() || isStepping()) {
        return false;
    }
    KvFFPlayer* const cores[kChannels] = {front, rear};
    // Without a view the channel count is what was opened.
    const int channels =
        view != nullptr ? (view->getPlayerCount() >= 2 ? 2 : 1) : (rear->isOpenFile() ? 2 : 1);
    _stepForward = forward;
    for (int i = 0; i < kChannels; ++i) {
        _stepWaiting[i] = i < channels && cores[i]->isOpenFile();
        _stepFrom[i] = _stepWaiting[i] ? _pictureTime(i) : -1.0;
    }
    _stepClock.start();
    if (_advanceStep()) {
        _finishStep();
        return true;
    }
    int retryMs = -1;
    for (int i = 0; i < kChannels; ++i) {
        const int interval = cores[i]->getVideoInterval();
        if (_stepWaiting[i] && interval > 0 && (retryMs < 0 || interval < retryMs)) {
            retryMs = interval;
        }
    }
    _stepRetry->start(retryMs > 0 ? retryMs : kDefaultStepRetryMs);
    return true;
}

bool LuPlayer::isStepping() const {
    return _stepRetry->isActive();
}

bool LuPlayer::_advanceStep() {
    const KvStepCache::Target direction =
        _stepForward ? KvStepCache::Target::After : KvStepCache::Target::Before;
    // The front moves one picture from the one it showed.
    if (_stepWaiting[0]) {
        _stepWaiting[0] =
            _stepFrom[0] >= 0 && front->stepTo(direction, _stepFrom[0]) == KvStepResult::Waiting;
    }
    // The rear then shows the instant the front shows, whatever it showed before (it may have
    // been a picture ahead or behind when the pair was paused); alone, it moves one picture.
    if (_stepWaiting[1] && !_stepWaiting[0]) {
        const double frontTime = _stepFrom[0] >= 0 ? _pictureTime(0) : -1.0;
        KvStepResult result = KvStepResult::None;
        if (frontTime >= 0) {
            result = rear->stepTo(KvStepCache::Target::At, frontTime);
        } else if (_stepFrom[1] >= 0) {
            result = rear->stepTo(direction, _stepFrom[1]);
        }
        _stepWaiting[1] = result == KvStepResult::Waiting;
    }
    return !_stepWaiting[0] && !_stepWaiting[1];
}

void LuPlayer::_retryStep() {
    if (_advanceStep() || _stepClock.elapsed() >= kStepGiveUpMs) {
        _stepWaiting[0] = _stepWaiting[1] = false;
        _finishStep();
        return;
    }
    _stepRetry->start();
}

void LuPlayer::_finishStep() {
    emit stepFinished(_pictureTime(0), front->duration());
}

void LuPlayer::_cancelStep() {
    _stepRetry->stop();
    _stepWaiting[0] = _stepWaiting[1] = false;
}

double LuPlayer::_pictureTime(int channel) const {
    if (view == nullptr) {
        // No view to ask: the core's own position, once it has shown a picture.
        const KvFFPlayer* core = channel == 0 ? front : rear;
        return core->hasShownPicture() ? core->current() : -1.0;
    }
    return (channel == 0 ? view->frontView : view->rearView)->getPictureTime();
}

void LuPlayer::setVolume(float volume) {
    front->setVolume(volume);
}

float LuPlayer::getVolume() const {
    return front->getVolume();
}
