#pragma once

// What every track of the other recorders' readers must satisfy, whatever the input: a result
// that says whether anything was stored, no more fixes than the track limit, positions and
// speeds in range, and date and time fields that can be real.
#include "KvLocation.h"
#include "KvTrackLimits.h"

#include <QVector>

#include <cmath>
#include <cstdlib>

namespace kvfuzz {

inline void checkFix(KvLocation const& fix) {
    bool const inRange = std::fabs(fix.latitude) <= 90.0 && std::fabs(fix.longitude) <= 180.0 &&
                         fix.speed >= 0.0 && fix.speed <= 1852.0 && fix.hour >= 0 &&
                         fix.hour <= 23 && fix.minute >= 0 && fix.minute < 60 && fix.second >= 0 &&
                         fix.second <= 60 && fix.day >= 0 && fix.day <= 31 && fix.month >= 0 &&
                         fix.month <= 12 && fix.year >= 0 && fix.year < 100;
    if (!inRange) {
        std::abort();
    }
}

inline void checkTrack(bool found, QVector<KvLocation> const& locations) {
    if (found != !locations.isEmpty() || locations.size() > kMaxTrackFixes) {
        std::abort();
    }
    for (KvLocation const& fix : locations) {
        checkFix(fix);
    }
}

} // namespace kvfuzz
