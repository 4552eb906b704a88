#include "KvSharedClock.h"

#include <limits>

namespace {

// The leader's position before it has shown a picture.
constexpr double kNothingShown = std::numeric_limits<double>::lowest();

} // namespace

void KvSharedClock::invalidate() {
    std::lock_guard<std::mutex> guard(_mutex);
    ++_serial;
    _valid = false;
    _leaderShown = kNothingShown;
}

unsigned KvSharedClock::serial() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _serial;
}

void KvSharedClock::anchor(unsigned serial, int64_t wallUs, double mediaTime) {
    std::lock_guard<std::mutex> guard(_mutex);
    if (serial != _serial) {
        return; // the picture predates a newer play or seek
    }
    _valid = true;
    _wallUs = wallUs;
    _mediaTime = mediaTime;
    _leaderShown = kNothingShown;
}

void KvSharedClock::setLeaderPresenting(bool presenting) {
    std::lock_guard<std::mutex> guard(_mutex);
    _leaderPresenting = presenting;
}

bool KvSharedClock::isLeaderPresenting() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _leaderPresenting;
}

bool KvSharedClock::dueTime(double mediaTime, int64_t* wallUs) const {
    std::lock_guard<std::mutex> guard(_mutex);
    if (!_valid) {
        return false;
    }
    *wallUs = _wallUs + static_cast<int64_t>((mediaTime - _mediaTime) * 1000000);
    return true;
}

void KvSharedClock::shown(double mediaTime) {
    std::lock_guard<std::mutex> guard(_mutex);
    if (_valid) {
        _leaderShown = mediaTime;
    }
}

double KvSharedClock::leaderPosition() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _valid ? _leaderShown : kNothingShown;
}
