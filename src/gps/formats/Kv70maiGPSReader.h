#pragma once

#include "KvLocation.h"

#include <QDateTime>
#include <QString>
#include <QVector>

// The top-level "GPS " box of 70mai recorders (and Kenwood ones built the same way): a packed
// array of 36-byte little-endian records, one a second:
//
//   0  u32  fix status (0: no fix)      16  char "N"/"S"
//   4  u32  (not read)                  17  u32  latitude, ddmm.mmm x 1000
//   8  u32  second of the clip          21  char "E"/"W"
//  12  i32  speed in metres per hour    22  u32  longitude, dddmm.mmm x 1000
//                                       26  10 bytes padding
//
// The records carry no date: the time of a fix is the clip's start, taken from a
// "yyyymmdd-hhmmss" stamp in the file name (as these recorders name their clips), plus the
// record's second; without a stamp the date is 0 and the time counts from 00:00:00.
// A record with status 0 and no hemisphere letters is a fix the camera did not get: it is kept
// with valid false. Records that are all zero are the unused end of the box (the recorder
// sizes it for its longest clip) and are skipped. A record whose fields cannot be real (other
// letters, minutes of 60 or more, a speed below 0 or above 1,000 km/h, a second beyond a day) is
// skipped.

// True when the clip has the box and at least one record was read. Empties `locations` first.
bool readGPSFrom70maiVideo(QVector<KvLocation>& locations, QString const& path);

// The records of a box payload of size bytes (a partial record at the end is skipped), timed
// from clipStart (invalid: no date). Appends to `locations` up to the track limit.
void read70maiRecords(QVector<KvLocation>& locations, unsigned char const* payload, qint64 size,
                      QDateTime const& clipStart);

// The start of a clip as its file name tells it ("NO20191130-120256-000122.MP4" starts at
// 2019-11-30 12:02:56, read as UTC); invalid when the name holds no such stamp.
QDateTime clipStartFromFileName(QString const& path);
