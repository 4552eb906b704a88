#include "KvVideo.h"

#include <QDir>
#include <QDomElement>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamWriter>

namespace {
// Numbers are written as printf "%g" does: shortest form, 6 significant digits, so that a size
// of 123456789 bytes is written as 1.23457e+08. The precision loss is part of the file format.
QString formatNumber(double value) {
    return QString::asprintf("%g", value);
}

void createThumbFolder(const QString& thumb) {
    const QString folder = QFileInfo(thumb).absolutePath();
    if (!QDir(folder).exists()) {
        QDir().mkpath(folder);
    }
}
} // namespace

KvVideo::KvVideo() : fps(0), duration(0), size(0), width(0), height(0) {}

KvVideo::KvVideo(const QString& path) : KvVideo() {
    const QFileInfo info(path);
    this->path = path;
    name = info.fileName();
    size = static_cast<double>(info.size());
}

bool KvVideo::isValid() const {
    return QFileInfo::exists(path);
}

bool KvVideo::isInfoLoaded() const {
    return QFile::exists(thumb) && fps > 0 && duration > 0 && width > 0 && height > 0;
}

bool KvVideo::operator==(const KvVideo& other) const {
    return path.compare(other.path, Qt::CaseInsensitive) == 0;
}

bool KvVideo::operator!=(const KvVideo& other) const {
    return !(*this == other);
}

KvVideo KvVideo::readFromXML(QDomElement& element) {
    KvVideo video;
    const QDomNodeList children = element.childNodes();
    for (int i = 0; i < children.count(); ++i) {
        // A node that is not an element has an empty tag and matches nothing.
        const QDomElement child = children.at(i).toElement();
        const QString tag = child.tagName();
        const QString text = child.text();
        auto is = [&tag](const char* name) {
            return tag.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
        };
        if (is("name")) {
            video.name = text;
        } else if (is("path")) {
            video.path = text;
        } else if (is("thumb")) {
            createThumbFolder(text);
            video.thumb = text;
        } else if (is("width")) {
            video.width = text.toInt(nullptr, 10);
        } else if (is("height")) {
            video.height = text.toInt(nullptr, 10);
        } else if (is("size")) {
            video.size = text.toDouble();
        } else if (is("fps")) {
            video.fps = text.toDouble();
        } else if (is("duration")) {
            video.duration = text.toDouble();
        }
        // "gps" and unknown tags are ignored.
    }
    return video;
}

bool KvVideo::writeToXML(QXmlStreamWriter& writer) const {
    const QString ns;
    writer.writeStartElement(ns, QStringLiteral("Video"));
    writer.writeTextElement(ns, QStringLiteral("name"), name);
    writer.writeTextElement(ns, QStringLiteral("path"), path);
    writer.writeTextElement(ns, QStringLiteral("thumb"), thumb);
    writer.writeTextElement(ns, QStringLiteral("width"), QString::number(width, 10));
    writer.writeTextElement(ns, QStringLiteral("height"), QString::number(height, 10));
    writer.writeTextElement(ns, QStringLiteral("size"), formatNumber(size));
    writer.writeTextElement(ns, QStringLiteral("fps"), formatNumber(fps));
    writer.writeTextElement(ns, QStringLiteral("duration"), formatNumber(duration));
    writer.writeEndElement();
    return true;
}
