#include "KvFollowPacing.h"

#include "KvPlayerTiming.h"

#include <algorithm>

using namespace KvPlayerTiming;

KvFollowStep KvFollowPacing::next(const KvSharedClock& clock, double time, double frameSeconds,
                                  int64_t now, bool more, int64_t* wakeAt) {
    const int64_t step = static_cast<int64_t>(frameSeconds * 1000000);
    int64_t due = 0;
    const bool shared = clock.dueTime(time, &due);
    const bool leading = clock.isLeaderPresenting();
    *wakeAt = now + kPollUs;
    if (!shared) {
        if (leading && now - waitSince < kMaxLeaderWaitUs) {
            return KvFollowStep::Wait; // the leader is about to anchor the clock
        }
        if (!anchored) {
            anchored = true;
            ownTime = time;
            ownWall = now;
        }
        due = ownWall + static_cast<int64_t>((time - ownTime) * 1000000);
    }
    if (lastTime != kNone && time <= lastTime + kTimeEpsilon) {
        due = std::max(due, lastDue + step); // a timestamp that does not advance
    }
    if (now < due) {
        *wakeAt = due;
        return KvFollowStep::Wait;
    }
    KvFollowStep result =
        shared && more && now - due > step ? KvFollowStep::Skip : KvFollowStep::Show;
    if (shared && leading) {
        // Both are due at once: the leader may still be showing the picture before. Only a
        // leader further behind holds the follower back.
        const double leader = clock.leaderPosition();
        if (leader < time - frameSeconds - kTimeEpsilon) {
            gateSince = gateSince < 0 ? now : gateSince;
            if (now - gateSince < kMaxLeaderWaitUs) {
                return KvFollowStep::Wait; // the leader lags its clock: wait for it
            }
        }
        result = more && leader >= time + frameSeconds - kTimeEpsilon ? KvFollowStep::Skip
                                                                      : KvFollowStep::Show;
    }
    gateSince = -1;
    if (result == KvFollowStep::Show) {
        lastTime = time;
        lastDue = due;
    }
    return result;
}
