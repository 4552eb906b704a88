#pragma once

#include "KvSharedClock.h"

#include <cstdint>
#include <limits>

// What a following core does with the picture it holds.
enum class KvFollowStep {
    Wait, // until wakeAt
    Show,
    Skip, // behind the leader: drop it to catch up
};

// Pacing of a core that follows a shared clock: a picture is due by the leader's anchor, and is
// held back while the leader has not yet shown the picture before it, so the follower neither
// runs ahead of a leader that falls behind nor lags when it is slower itself (it skips pictures
// then). While there is no anchor, after waiting a little for one, the follower paces by an
// anchor of its own. Video thread only.
class KvFollowPacing {
public:
    // A play or a seek: the next picture starts the pacing afresh.
    void restart(int64_t now) {
        anchored = false;
        waitSince = now;
        gateSince = -1;
        lastTime = kNone;
    }
    // What to do with the held picture of this time at wall time now (microseconds); *wakeAt is
    // when to look again after Wait. more: whether another picture is queued behind it.
    KvFollowStep next(const KvSharedClock& clock, double time, double frameSeconds, int64_t now,
                      bool more, int64_t* wakeAt);

    // The last shown time while nothing has been shown since the restart.
    static constexpr double kNone = std::numeric_limits<double>::lowest();

private:
    bool anchored = false;
    double ownTime = 0;
    int64_t ownWall = 0;
    int64_t waitSince = 0;
    int64_t gateSince = -1;  // since when the held picture waits for the leader
    double lastTime = kNone; // the picture shown last and when it was due
    int64_t lastDue = 0;
};
