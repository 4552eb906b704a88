#include "KvGpsMath.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace {
constexpr double kMinutesPerDegree = 60.0;
} // namespace

int32_t truncateToInt32(double value) {
    if (!(value > double(INT_MIN) - 1.0 && value < double(INT_MAX) + 1.0)) {
        return INT_MIN;
    }
    return static_cast<int32_t>(value);
}

double ddmmToDegrees(double ddmm) {
    int32_t const degrees = truncateToInt32(ddmm) / 100;
    return (ddmm - 100.0 * degrees) / kMinutesPerDegree + degrees;
}

bool ddmmToDegreesInRange(double ddmm, double maxDegrees, double* degrees) {
    if (!std::isfinite(ddmm) || ddmm < 0.0) {
        return false;
    }
    double const minutes = ddmm - 100.0 * (truncateToInt32(ddmm) / 100);
    double const value = ddmmToDegrees(ddmm);
    if (minutes >= kMinutesPerDegree || value > maxDegrees) {
        return false;
    }
    *degrees = value;
    return true;
}

double degreesToRadians(double degrees) {
    return degrees * KvPi / 180.0;
}

double distanceKm(KvLocation const& from, KvLocation const& to) {
    if (!from.valid || !to.valid) {
        return 0.0;
    }
    double const lat1 = degreesToRadians(from.latitude);
    double const lat2 = degreesToRadians(to.latitude);
    double const sinLat = std::sin((lat1 - lat2) / 2.0);
    double const sinLng =
        std::sin((degreesToRadians(from.longitude) - degreesToRadians(to.longitude)) / 2.0);
    double const h = sinLat * sinLat + std::cos(lat1) * std::cos(lat2) * sinLng * sinLng;
    // Rounding can put h a hair above 1 for antipodal points; a position that is not a number
    // adds nothing rather than spoiling a whole track's distance.
    double const distance = KvEarthDiameterKm * std::asin(std::sqrt(std::min(h, 1.0)));
    return std::isfinite(distance) ? distance : 0.0;
}

KvLocation const* fixAt(QVector<KvLocation> const& track, double position, double duration) {
    int const count = track.size();
    if (count == 0 || !(duration > 0.0) || !(position >= 0.0)) {
        return nullptr;
    }
    double const index = double(count) * position / duration;
    // At the very end, past it and at an infinite position the last fix is the current one.
    return &track.at(index < double(count) ? int(index) : count - 1);
}
