#pragma once

#include <cstdint>
#include <mutex>

// The presentation clock that the player cores of one recording share, so that the front and
// rear pictures stay in step: the leading core anchors it (a picture time and the wall time it
// was shown at) whenever it starts presenting or lands a seek, and a following core paces its
// pictures by that anchor instead of anchoring its own. Both cores then run on one clock and
// cannot drift apart, and a core that is slower to land a seek catches up with the leader.
//
// Called from the GUI thread (invalidate, setLeaderPresenting) and from the cores' video threads;
// every field is guarded by the mutex.
class KvSharedClock {
public:
    // The anchor is stale from now on (the leader was told to play or seek); returns nothing.
    // Anchors made with an older serial are refused.
    void invalidate();
    // The serial an anchor must carry to be accepted; the leader reads it before taking the
    // picture it anchors on.
    unsigned serial() const;
    // Leader's video thread: the picture of mediaTime seconds was shown at wallUs (av_gettime).
    void anchor(unsigned serial, int64_t wallUs, double mediaTime);
    // Whether the leader presents pictures: from its play() (with a picture queue) until it runs
    // out of pictures or stops decoding; a pause does not end it. While it presents, a follower
    // waits for its anchor and does not run ahead of its last picture.
    void setLeaderPresenting(bool presenting);
    bool isLeaderPresenting() const;
    // When the picture of mediaTime seconds is due by the leader's clock; false while there is no
    // valid anchor.
    bool dueTime(double mediaTime, int64_t* wallUs) const;
    // Leader: the picture of mediaTime seconds went to the screen. Ignored while the anchor is
    // stale (a picture from before a newer play or seek).
    void shown(double mediaTime);
    // The time of the picture the leader showed last since the anchor; the lowest double when
    // it has shown none. A follower does not run ahead of it: when the leader falls behind its
    // clock (a busy machine, a slow decoder), the follower waits for it.
    double leaderPosition() const;

private:
    mutable std::mutex _mutex;
    unsigned _serial = 0;
    bool _valid = false;
    int64_t _wallUs = 0;
    double _mediaTime = 0.0;
    bool _leaderPresenting = false;
    double _leaderShown = 0.0;
};
