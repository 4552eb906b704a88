#pragma once

#include "KvLocation.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

// Reading a clip's GPS track. Cameras store it either as text in a subtitle stream (one "$GPRMC"
// sentence, optionally with a "$GSENSOR" line, or the compact fallback line, per cue) or as a
// top-level "gps0" box of fixed-size binary records (recorders built on AIT camera chips). The
// main window tries the subtitle form first, then the box, file by file; its _readGPSFromVideo
// and _readGPSFromAITVideo only delegate here.
//
// Both readers run synchronously on the caller's thread (the GUI thread, before playback starts)
// and open the file themselves; they share nothing with the player. Both empty `locations`
// first, so a reader that finds nothing leaves it empty.

// The subtitle track, demultiplexed to its end with only subtitle packets decoded; of several
// fixes of one second only the first is kept (each new fix is compared with the last one stored).
// Fixes with status "V" are stored too, with valid false. True when at least one fix was stored.
bool readGPSFromVideo(QVector<KvLocation>& locations, QString const& path);
// The same. With discardOtherStreams false the demuxer still reads the payload of the video and
// audio packets (and drops it); the track does not depend on it, which is what the tests and
// the benchmark check. The two-argument form always discards.
bool readGPSFromVideo(QVector<KvLocation>& locations, QString const& path,
                      bool discardOtherStreams);

// The "gps0" box: walks the top-level box headers from the start of the file and reads the
// box's 32-byte records, one fix each, without de-duplication; a record whose position is out of
// range is stored with valid false. True when at least one record was stored.
bool readGPSFromAITVideo(QVector<KvLocation>& locations, QString const& path);

// One way a clip can hold its track: a name for diagnostics ("subtitle", "gps0", "novatek",
// "70mai", "thinkware", "sidecar") and its reader, which empties `locations` first and returns
// true when it stored a fix. Each reader is its own cheap probe: it gives up at the first header,
// box or cue that does not belong to its layout.
struct KvGpsLayout {
    // The primary forms are tried for every clip before any of the other recorders' layouts.
    enum Group { Primary, OtherRecorders };
    char const* name;
    Group group;
    bool (*read)(QVector<KvLocation>& locations, QString const& path);
};

// The layouts in the order readGPSTrack tries them within each group.
QVector<KvGpsLayout> const& gpsLayouts();

// A recording's track: for each clip in the order given (front first), the subtitle track, else
// the "gps0" box; the first clip that yields a track supplies it, so the subtitle form wins over
// the box form. When no clip yields one that way, the other recorders' layouts are tried clip by
// clip, each clip in this order: Novatek "freeGPS " blocks, the 70mai "GPS " box, Thinkware
// subtitle cues, a sidecar file (NMEA text, then GPX). True when a track was found; `locations`
// is empty otherwise. `layout`, when given, receives the name of the layout that supplied it.
bool readGPSTrack(QVector<KvLocation>& locations, QStringList const& paths,
                  QString* layout = nullptr);

// The text a camera wrote into one subtitle rectangle, as locationFromText expects it. FFmpeg
// hands subtitle text over as an ASS dialogue event ("ReadOrder,Layer,Style,Name,MarginL,
// MarginR,MarginV,Effect,Text") with line breaks written "\N"; this returns the Text field with
// each "\N" turned back into the CR LF the camera wrote between the sentence and its "$GSENSOR"
// line. An ASS text with fewer fields is returned whole (breaks converted); without ASS text the
// plain text is returned as it is; a null result means the rectangle has neither.
QByteArray subtitleTextFromAss(char const* ass, char const* plainText);

// Diagnostic: writes every subtitle rectangle's ASS text (else its plain text) of the clip to
// outputPath, back to back with no separator. Always returns -1.
int readVideoSubtitle(char const* videoPath, char const* outputPath);
