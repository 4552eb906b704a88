#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <limits>

// The player core's timing and caching constants, shared by the core and its helpers (pacing,
// single-picture steps), each with its reason.
namespace KvPlayerTiming {

// Longest single sleep of the video thread while it waits for a picture's due time.
inline constexpr int64_t kMaxPacingSleepUs = 10000;
// Seek flags of a requested seek: land on the key frame at or before the target.
inline constexpr int kSeekFlags = AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_FRAME;
// Pictures the decode thread keeps ahead: twice the encoder's GOP, within these bounds.
inline constexpr int kMinFrameCache = 30;
inline constexpr int kMaxFrameCache = 60;
// Below this GOP size the cache keeps its minimum.
inline constexpr int kSmallGop = 15;
// The cache for a stream with this GOP size.
inline constexpr int frameCacheFor(int gop) {
    return gop < kSmallGop ? kMinFrameCache : (2 * gop < kMaxFrameCache ? 2 * gop : kMaxFrameCache);
}
// Pacing step when the stream does not tell its frame rate (about 30 pictures a second).
inline constexpr long long kDefaultStepUs = 33000;
inline constexpr int kDefaultIntervalMs = 33;
// A backward step first seeks this far before the current picture, so that the cache refills
// with the pictures before it (to the start when the picture is within the first second).
inline constexpr double kStepBackSeconds = 0.5;
inline constexpr double kStepBackFromStart = 1.0;
// Timestamps of pictures are rounded to the container's time base: two times this close are
// the same instant.
inline constexpr double kTimeEpsilon = 0.001;
// Keep every picture and audio frame (no seek is landing).
inline constexpr double kKeepAll = std::numeric_limits<double>::lowest();
// The follower looks at its held picture again after this long when nothing else wakes it.
inline constexpr int64_t kPollUs = 1000;
// A following core waits this long for the leading core to anchor the shared clock after a play
// or a seek, then paces on its own (the leader may have nothing to show, or be stuck).
inline constexpr int64_t kMaxLeaderWaitUs = 1000000;

} // namespace KvPlayerTiming
