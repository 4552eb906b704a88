#pragma once

#include "KvLocation.h"

#include <QString>
#include <QVector>

// Thinkware recorders write one subtitle cue a second whose text is a list of ";"-separated
// records: "gsensori,<range>,<scale>,X,Y,Z" with the accelerometer axes, an RMC sentence
// without its "$" ("GPRMC,..." or "GNRMC,...", with or without its checksum), and others
// ("CAR,...") that are not read. The RMC sentence comes only in some cues.

// Reads the clip's subtitle track cue by cue from the packets themselves (mov_text/tx3g cues
// with their 16-bit length, or QuickTime text samples without it); of several fixes of one
// second only the first is kept. A track whose first cues hold neither record is left at once.
// True when a fix was stored. Empties `locations` first. Runs on the caller's thread.
bool readGPSFromThinkwareVideo(QVector<KvLocation>& locations, QString const& path);

// One cue's text (size bytes, not terminated): 0 with the RMC fix and the cue's axes (0 when
// the cue has none), -1 when the cue holds no readable RMC sentence.
int locationFromThinkwareCue(char const* text, qint64 size, KvLocation* location);
