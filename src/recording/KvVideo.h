#pragma once

#include <QString>

class QDomElement;
class QXmlStreamWriter;

// One clip file of a recording, with the details the playlist shows. A plain value, copied
// freely between the list, its loader thread and the player. Its identity is its path.
class KvVideo {
public:
    KvVideo();
    // A clip at path: name and size from the file system; the file is not opened, so the other
    // details stay 0 until the loader reads them.
    explicit KvVideo(const QString& path);

    // A file exists at path.
    bool isValid() const;
    // Details and thumbnail are known: the thumbnail file exists and every number is positive.
    bool isInfoLoaded() const;

    // Compares paths only, ignoring case.
    bool operator==(const KvVideo& other) const;
    bool operator!=(const KvVideo& other) const;

    // A clip from a "Video" element. Reading "thumb" creates the folder that would hold the
    // thumbnail, so the cache folder exists before the loader writes into it.
    static KvVideo readFromXML(QDomElement& element);
    bool writeToXML(QXmlStreamWriter& writer) const;

    QString thumb;
    QString name;
    QString path;
    double fps;
    double duration; // seconds
    double size;     // bytes, held as floating point on purpose (the entry file keeps 6 digits)
    int width;
    int height;
};
