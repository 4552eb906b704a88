#pragma once

#include "KvLocation.h"

#include <QVector>

#include <cstdint>

// The arithmetic that the GPS readers, the trip panel, the speed graph and the main window share,
// each piece written once: the unit factors, the NMEA ddmm.mmmm form, the distance between two
// fixes and which fix of a track belongs to a play position. Pure functions, any thread.

// NMEA writes ground speed in knots; the player keeps km/h.
constexpr double KvKmhPerKnot = 1.852;
// Speeds and distances are shown in miles when the "Speed" setting is 1: 1 km = 0.6213712 mile.
constexpr double KvMilesPerKm = 0.6213712;
// The trip panel's haversine factor: twice the earth's radius of 6371.393 km. The distances the
// panel has always shown depend on this exact number.
constexpr double KvEarthDiameterKm = 12742.786;
constexpr double KvPi = 3.141592653589793;

// Truncates toward zero like a C cast to a 32-bit int. Values that do not fit (and NaN) give
// INT_MIN, which is what the x86 conversion instruction yields, instead of undefined behaviour:
// a camera that writes "1e300" as its time or position gets nonsense, not a crash.
int32_t truncateToInt32(double value);

// NMEA ddmm.mmmm (or dddmm.mmmm) to decimal degrees: the whole degrees are the value truncated
// toward zero and divided by 100 as integers, so a negative value (a southern or western raw
// position) stays negative.
double ddmmToDegrees(double ddmm);
// The same for the strict readers, which reject what cannot be a coordinate: false (and degrees
// untouched) for a value that is not finite, is negative (the hemisphere comes in a letter), has
// 60 minutes or more, or gives more than maxDegrees.
bool ddmmToDegreesInRange(double ddmm, double maxDegrees, double* degrees);

double degreesToRadians(double degrees);
// Great-circle (haversine) distance in km between two valid fixes; 0 when either is invalid or
// a position is not a number.
double distanceKm(KvLocation const& from, KvLocation const& to);

// The fix shown at a play position: fixes are taken as evenly spread over the clip, so fix
// min(count - 1, int(count * position / duration)) belongs to it (the last fix at and past the
// end). Null when the track is empty, duration is not above 0 or position is not 0 or more (NaN
// included). The pointer is into `track` and valid while it is unchanged.
KvLocation const* fixAt(QVector<KvLocation> const& track, double position, double duration);
