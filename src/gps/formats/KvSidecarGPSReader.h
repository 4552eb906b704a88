#pragma once

#include "KvLocation.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

// GPS logs that recorders write beside a clip, with the clip's base name: NMEA text (".nmea",
// ".NMEA", ".gps", ".GPS") or a GPX track (".gpx", ".GPX"), tried in that order.
//
// NMEA text: one sentence a line, optionally after a "[milliseconds since 1970]" prefix. RMC
// sentences make the track; when a log has none, GGA sentences do (without date or speed).
// "$GSENSOR"/"$GSENSORD" lines give the axes of the fix they belong to: the fix just before
// them when it has none yet, else the next one. Of several fixes of one second only the first
// is kept. Sentences whose checksum does not match are kept when they otherwise read (logs are
// often edited by hand); one debug line per file says how many.
//
// Files are read up to kMaxSidecarBytes and tracks kept up to kMaxTrackFixes.

// The sidecar candidates of a clip, in the order they are tried.
QStringList sidecarPaths(QString const& videoPath);

// The first sidecar of the clip that yields a track. Empties `locations` first.
bool readGPSFromSidecar(QVector<KvLocation>& locations, QString const& videoPath);

// One NMEA sidecar file / NMEA text in memory. Empty `locations` first; true for a track.
bool readGPSFromNmeaFile(QVector<KvLocation>& locations, QString const& path);
bool readGPSFromNmeaText(QVector<KvLocation>& locations, char const* text, qint64 size);
