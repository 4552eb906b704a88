#pragma once

#include "KvVideo.h"

#include <QMetaType>
#include <QString>
#include <QVector>

class QDomDocument;
class QXmlStreamWriter;

// One playlist entry: the clips of one recording, front camera first, rear second, and a display
// name. A value, copied between the list, its loader, the main window and the player. Each entry
// is kept in its own XML file in the playlist folder, named by its identifier.
class KvVideoInfo {
public:
    KvVideoInfo();
    // An entry of the two clips, in that order, whatever the second string holds; named after
    // the front clip's file name.
    KvVideoInfo(const QString& front, const QString& rear);
    KvVideoInfo(const KvVideoInfo& other);
    KvVideoInfo& operator=(const KvVideoInfo& other);
    virtual ~KvVideoInfo();

    void appendVideo(const QString& path);
    void clear();
    bool isEmpty() const;
    // Has clips, and every clip's file exists.
    bool isValid() const;
    // The entry's identifier (spelled so on purpose): the lower-case hex MD5 of the clips' paths
    // in order, or the name when there are no clips. It names the entry's file.
    QString indentifer() const;

    // Same clip count, same name (case-sensitive) and the same clip paths in order, ignoring
    // case. So entries whose paths differ only in case are equal yet have different identifiers.
    bool operator==(const KvVideoInfo& other) const;
    bool operator!=(const KvVideoInfo& other) const;
    // Both have clips, as many, with the same file names (case-sensitive) at each index.
    bool isSameName(const KvVideoInfo& other) const;

    // A missing, unreadable or malformed file reads as an empty entry.
    static KvVideoInfo readFromFile(const QString& filePath);
    static KvVideoInfo readFromFile(const QDomDocument& document);
    // Replaces the file atomically: a crash or a full disk mid-write leaves the earlier file as
    // it was. False when the file cannot be written; the folder is not created here.
    bool writeToFile(const QString& filePath) const;
    bool writeToFile(QXmlStreamWriter& writer) const;

    QVector<KvVideo> videos;
    QString name;
};

// Entries can travel in QVariants (signal spies in the tests, item data).
Q_DECLARE_METATYPE(KvVideoInfo)
