#pragma once

#include "KvLocation.h"

#include <QByteArray>
#include <QString>
#include <QVector>

// GPX tracks (a sidecar some recorders and most phone apps write): each "trkpt" (or "rtept")
// with "lat" and "lon" attributes in decimal degrees is a fix; its "time" child (ISO 8601, any
// offset, turned into UTC) gives date and time, a "speed" child (GPX 1.0, or a Garmin-style
// extension) the speed in metres per second, and a "fix" child of "none" makes it invalid.
// Points with a position out of range are skipped. Of several fixes of one second only the
// first is kept (points without time are all kept).
//
// Read with QXmlStreamReader as a stream (from the file, not a copy of it), up to
// kMaxSidecarBytes characters and kMaxTrackFixes points. A document
// type declaration is refused outright: GPX has none, and its entities are how an XML bomb
// grows. A document that turns out malformed keeps the points read before the fault.

// Empties `locations` first; true when a track was found.
bool readGPSFromGpxFile(QVector<KvLocation>& locations, QString const& path);
bool readGPSFromGpxText(QVector<KvLocation>& locations, QByteArray const& xml);
