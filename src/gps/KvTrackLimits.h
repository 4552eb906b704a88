#pragma once

#include <QtGlobal>

// Bounds shared by the readers of the cameras' other GPS layouts. A damaged or hostile file
// must not make the GUI thread (which reads the track before the first picture) allocate or
// work without limit, so every reader stops at these.

// Fixes kept per track: one a second for 24 hours, far beyond any clip. Each fix is a QObject
// (about 200 bytes with its private part), so this caps a track near 20 MB.
constexpr int kMaxTrackFixes = 24 * 60 * 60;

// Sidecar files (NMEA text, GPX) are read up to this size; a one-hour NMEA log with every
// satellite sentence is about 3 MB.
constexpr qint64 kMaxSidecarBytes = 64 * 1024 * 1024;
