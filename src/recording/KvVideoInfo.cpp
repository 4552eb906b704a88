#include "KvVideoInfo.h"

#include <QCryptographicHash>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamWriter>

namespace {
// An entry file holds a name and two clips, well under a few kilobytes. Anything far larger is
// not one of ours, and is read as malformed rather than parsed into memory.
constexpr qint64 MaximumEntryFileSize = 4 * 1024 * 1024;
constexpr int EntryFileIndent = 4;

bool isTag(const QString& tag, const char* name) {
    return tag.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}
} // namespace

KvVideoInfo::KvVideoInfo() = default;

KvVideoInfo::KvVideoInfo(const QString& front, const QString& rear) {
    videos.append(KvVideo(front));
    videos.append(KvVideo(rear));
    name = videos.first().name;
}

KvVideoInfo::KvVideoInfo(const KvVideoInfo& other) = default;

KvVideoInfo& KvVideoInfo::operator=(const KvVideoInfo& other) {
    if (this != &other) {
        videos = other.videos;
        name = other.name;
    }
    return *this;
}

KvVideoInfo::~KvVideoInfo() = default;

void KvVideoInfo::appendVideo(const QString& path) {
    videos.append(KvVideo(path));
}

void KvVideoInfo::clear() {
    videos.resize(0); // keeps the capacity, unlike QVector::clear
    name.clear();
}

bool KvVideoInfo::isEmpty() const {
    return videos.isEmpty();
}

bool KvVideoInfo::isValid() const {
    if (videos.isEmpty()) {
        return false;
    }
    for (const KvVideo& video : videos) {
        if (!QFileInfo::exists(video.path)) {
            return false;
        }
    }
    return true;
}

QString KvVideoInfo::indentifer() const {
    if (videos.isEmpty()) {
        return name;
    }
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (const KvVideo& video : videos) {
        hash.addData(video.path.toUtf8());
    }
    return QString::fromLatin1(hash.result().toHex());
}

bool KvVideoInfo::operator==(const KvVideoInfo& other) const {
    if (videos.size() != other.videos.size() || name != other.name) {
        return false;
    }
    for (int i = 0; i < videos.size(); ++i) {
        if (videos.at(i) != other.videos.at(i)) {
            return false;
        }
    }
    return true;
}

bool KvVideoInfo::operator!=(const KvVideoInfo& other) const {
    return !(*this == other);
}

bool KvVideoInfo::isSameName(const KvVideoInfo& other) const {
    if (videos.isEmpty() || other.videos.isEmpty() || videos.size() != other.videos.size()) {
        return false;
    }
    for (int i = 0; i < videos.size(); ++i) {
        if (videos.at(i).name != other.videos.at(i).name) {
            return false;
        }
    }
    return true;
}

KvVideoInfo KvVideoInfo::readFromFile(const QString& filePath) {
    QDomDocument document(QStringLiteral("KvVideoInfo"));
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaximumEntryFileSize) {
        return KvVideoInfo();
    }
    if (!document.setContent(&file)) {
        return KvVideoInfo();
    }
    file.close();
    return readFromFile(document);
}

KvVideoInfo KvVideoInfo::readFromFile(const QDomDocument& document) {
    KvVideoInfo info;
    for (QDomNode node = document.documentElement().firstChild(); !node.isNull();
         node = node.nextSibling()) {
        if (!node.isElement()) {
            continue;
        }
        const QDomElement element = node.toElement();
        if (isTag(element.tagName(), "Name")) {
            info.name = element.text();
        } else if (isTag(element.tagName(), "Videos")) {
            const QDomNodeList children = element.childNodes();
            for (int i = 0; i < children.count(); ++i) {
                // A child that is not an element yields an all-default clip, appended too.
                QDomElement child = children.at(i).toElement();
                info.videos.append(KvVideo::readFromXML(child));
            }
        }
    }
    return info;
}

bool KvVideoInfo::writeToFile(const QString& filePath) const {
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QXmlStreamWriter writer(&file);
    writeToFile(writer);
    return file.commit();
}

bool KvVideoInfo::writeToFile(QXmlStreamWriter& writer) const {
    const QString ns;
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(EntryFileIndent);
    writer.writeStartDocument();
    writer.writeStartElement(ns, QStringLiteral("KvVideoInfo"));
    writer.writeTextElement(ns, QStringLiteral("Name"), name);
    writer.writeStartElement(ns, QStringLiteral("Videos"));
    for (const KvVideo& video : videos) {
        video.writeToXML(writer);
    }
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return true;
}
