#pragma once

#include <cstdint>

// Pacing of a core that leads the shared clock, or plays alone: the first picture after a play
// or a seek anchors the wall clock, and every later picture is due at its own time after that
// anchor; the fixed step only spaces pictures whose timestamp does not advance. Video thread
// only.
class KvLeadPacing {
public:
    explicit KvLeadPacing(int64_t stepUs) : _stepUs(stepUs) {}

    // The picture of this time is shown first at wall time now (microseconds).
    void anchor(double time, int64_t now) {
        _firstTime = time;
        _anchorUs = now;
    }
    // When the picture of this time, the count-th since the anchor, is due.
    int64_t due(double time, int count) const {
        const double delta = time - _firstTime;
        return delta > 0 ? _anchorUs + static_cast<int64_t>(delta * 1000000)
                         : _anchorUs + count * _stepUs;
    }

private:
    int64_t _stepUs;
    double _firstTime = 0;
    int64_t _anchorUs = 0;
};
