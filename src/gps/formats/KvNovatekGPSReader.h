#pragma once

#include "KvLocation.h"

#include <QString>
#include <QVector>

// Novatek "freeGPS " blocks: recorders built on Novatek chips write one block a second, each a
// box of type "free" whose payload opens with "GPS ", either inside the media data (listed by a
// "gps " index box inside "moov": big-endian offset and size per block) or as top-level boxes of
// their own. The index is used when it lists readable blocks, else the top-level "free" and
// "skip" boxes are walked.
//
// Three layouts of the record inside a block are read (little-endian, from offset 48 of the
// block, after hour, minute and second as 32-bit numbers):
// - float: status "A"/"V" (32-bit), latitude ddmm.mmmm as a float, "N"/"S" (32-bit), longitude,
//   "E"/"W", speed in knots and course as floats, then year, month, day (32-bit);
// - double: the same with 64-bit doubles and 64-bit hemisphere fields;
// - date first: year, month, day (32-bit), then the letters status, "N"/"S", "E"/"W" and a pad
//   byte, then latitude, longitude, speed in knots and course as floats.
// Blocks whose position cannot be a real one (minutes of 60 or more, as the scrambled
// coordinates of some firmware give) are skipped.

// Reads the clip's blocks; of several fixes of one second only the first is kept. True when a
// track was found. Empties `locations` first. Runs on the caller's thread.
bool readGPSFromNovatekVideo(QVector<KvLocation>& locations, QString const& path);

// One block, from its box header on, as a fix: 0 when a fix was read (valid for status "A"),
// -1 when the block is not a readable "freeGPS " block. Never reads past size bytes.
int locationFromNovatekBlock(unsigned char const* block, qint64 size, KvLocation* location);
