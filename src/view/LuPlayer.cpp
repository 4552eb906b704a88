#include "LuPlayer.h"

#include "KvVideoInfo.h"
#include "KvVideoView.h"
#include "LuVideoView.h"

namespace {

constexpr float kFrontVolume = 1.0f;
// The rear camera is always muted.
constexpr float kRearVolume = 0.0f;

} // namespace

LuPlayer::LuPlayer(QObject* parent)
    : QObject(parent), front(new KvFFPlayer()), rear(new KvFFPlayer()) {
    front->setVolume(kFrontVolume);
    rear->setVolume(kRearVolume);
    // Decoding and resampling the rear's sound only to drop it would cost a tenth of the
    // playback's CPU time.
    rear->disableAudio(true);
    front->setSharedClock(&_clock, true);
    rear->setSharedClock(&_clock, false);
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
    front->stopPlay();
    rear->stopPlay();
}

void LuPlayer::start() {
    front->start();
    rear->start();
}

void LuPlayer::stop() {
    front->stop();
    rear->stop();
}

void LuPlayer::play() {
    front->play();
    rear->play();
}

void LuPlayer::pause() {
    front->pause();
    rear->pause();
}

void LuPlayer::seek(double seconds) {
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

void LuPlayer::setVolume(float volume) {
    front->setVolume(volume);
}

float LuPlayer::getVolume() const {
    return front->getVolume();
}
