#pragma once

#include "KvLocation.h"

#include <QDateTime>
#include <QString>
#include <QVector>

// Writes recordings' GPS tracks to files that map apps, insurers and the police can open: GPX 1.1
// (one track of points per recording, with their time and, in Garmin's track-point extension,
// their speed), KML 2.2 (one line per recording and one time-stamped point per fix) or CSV (one
// fix per line with the g-sensor axes and the recording it belongs to).
//
// Only fixes that can be placed are written: valid, with a finite position inside the globe's
// range and a complete date and time. Each recording stays a track of its own, in time order, and
// the recordings follow each other by their first fix: recordings taken years and countries apart
// must never be joined by a line a reader would take for a drive. Times are UTC
// with a "Z"; every number is written with a decimal point whatever the desktop's locale. A file
// is written through a temporary file and replaces the old one only when complete, so a failed
// export never leaves a half file in place of a good one. GUI thread or any single thread.
class KvTrackExporter {
public:
    enum Format { Gpx, Kml, Csv };

    // One recording's fixes and the name its track is written under.
    struct Recording {
        QString name;
        QVector<KvLocation> fixes;
    };

    // The format for a save-dialog answer: the file's extension when it names one of the three
    // (case-insensitive), else the chosen filter ("... (*.kml)"), else GPX.
    static Format formatFor(const QString& path, const QString& selectedFilter = QString());
    // The save dialog's filters, GPX first.
    static QString fileFilters();

    // A fix that can be placed on a map at a known instant.
    static bool isExportable(const KvLocation& fix);
    // The fix's UTC date and time; invalid when its date or time is incomplete or impossible.
    static QDateTime fixTime(const KvLocation& fix);
    // The exportable fixes of all tracks, in time order (a stable sort: fixes of one instant keep
    // their order).
    static QVector<KvLocation> mergeTracks(const QVector<QVector<KvLocation>>& tracks);
    // Each recording's exportable fixes in time order, and the recordings ordered by their first
    // fix (recordings that start at the same instant keep their order); recordings without an
    // exportable fix are left out.
    static QVector<Recording> orderRecordings(const QVector<Recording>& recordings);

    // Writes the recordings (already ordered), one track each, in the given format; title names
    // the whole file where the format has a place for it (KML's document). False, with a short
    // reason in *error when given, when there is nothing to write or the file cannot be
    // written; the destination is then left as it was.
    static bool exportRecordings(const QVector<Recording>& recordings, const QString& path,
                                 Format format, const QString& title, QString* error = nullptr);
    // One recording's fixes as a file of one track named name.
    static bool exportTrack(const QVector<KvLocation>& fixes, const QString& path, Format format,
                            const QString& name, QString* error = nullptr);

    static QByteArray toGpx(const QVector<Recording>& recordings);
    static QByteArray toKml(const QVector<Recording>& recordings, const QString& title);
    static QByteArray toCsv(const QVector<Recording>& recordings);
};
