#pragma once

#include "KvLocation.h"

#include <QByteArray>
#include <QString>

// Puts a GPS fix into a still image's EXIF GPS tags (position with its hemisphere letters, UTC
// date and time, speed in km/h, the WGS-84 datum), so photo tools and map apps place the still
// where the car was. The still images are JPEG files the player has just written; the tags go
// into an APP1 "Exif" segment right after the file's start (and its JFIF segment), replacing an
// EXIF segment already there. The file is rewritten through a temporary file. Any thread.
class KvExifWriter {
public:
    // False when the fix cannot be placed (invalid, not finite, out of range) or the file is not
    // a JPEG or cannot be rewritten; the file is then left as it was.
    static bool writeGpsTags(const QString& jpegPath, const KvLocation& fix);

    // The APP1 payload ("Exif\0\0" and the TIFF structure) for a fix; empty when the fix cannot
    // be placed.
    static QByteArray exifBlock(const KvLocation& fix);
    // The JPEG with the block inserted; empty when `jpeg` is not a JPEG or the block is too big
    // for one segment.
    static QByteArray insertExif(const QByteArray& jpeg, const QByteArray& block);
};
