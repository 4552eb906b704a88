#include "KvCameraPairing.h"

#include "KvStringUtil.h"
#include "KvVideoInfo.h"

namespace {
const char* const ScannedExtensions[] = {".mp4", ".MP4", ".avi", ".AVI", ".mov", ".MOV"};
const char* const SupportedExtensions[] = {".mp4", ".avi", ".mov"};

// Replaces the camera letter at the end of a base name with the partner's letter.
QString partnerBaseName(const QString& base, QChar own, QChar partner) {
    return base.endsWith(own) ? base.left(base.size() - 1) + partner : base;
}
} // namespace

bool KvCameraPairing::isSupportsFile(const QString& path) {
    for (const char* ext : SupportedExtensions) {
        if (path.endsWith(QLatin1String(ext), Qt::CaseInsensitive)) {
            return true;
        }
    }
    return false;
}

bool KvCameraPairing::isScannedFile(const QString& name) {
    for (const char* ext : ScannedExtensions) {
        if (name.endsWith(QLatin1String(ext))) {
            return true;
        }
    }
    return false;
}

bool KvCameraPairing::isFrontVideo(const QString& path) {
    return KvStringUtil::pathDup(path).endsWith(QLatin1Char('F'));
}

bool KvCameraPairing::isRearVideo(const QString& path) {
    return KvStringUtil::pathDup(path).endsWith(QLatin1Char('R'));
}

QString KvCameraPairing::findOtherVideo(const QString& path) {
    if (!QFileInfo::exists(path)) {
        return QString();
    }
    const QString dir = KvStringUtil::pathDup(path);
    const QString name = KvStringUtil::getFileName(path);
    const QString base = KvStringUtil::getSingleFileName(name);
    const QString ext = KvStringUtil::getPathExt(name);
    const QString parent = KvStringUtil::pathDup(dir);
    if (dir.endsWith(QLatin1Char('F'))) {
        return QStringLiteral("%1/R/%2.%3")
            .arg(parent, partnerBaseName(base, QLatin1Char('F'), QLatin1Char('R')), ext);
    }
    if (dir.endsWith(QLatin1Char('R'))) {
        return QStringLiteral("%1/F/%2.%3")
            .arg(parent, partnerBaseName(base, QLatin1Char('R'), QLatin1Char('F')), ext);
    }
    return QString();
}

int KvCameraPairing::convertFile(const QString& path, KvVideoInfo* info) {
    info->clear();
    info->name = KvStringUtil::getFileName(path);
    const bool front = isFrontVideo(path);
    const bool rear = !front && isRearVideo(path);
    const QString partner = front || rear ? findOtherVideo(path) : QString();
    const bool paired = !partner.isEmpty() && QFileInfo::exists(partner);
    if (paired && rear) {
        // The front clip always comes first.
        info->appendVideo(partner);
        info->appendVideo(path);
    } else if (paired) {
        info->appendVideo(path);
        info->appendVideo(partner);
    } else {
        info->appendVideo(path);
    }
    return 0;
}

bool KvCameraPairing::isSpecialDirectory(const QFileInfo& info) {
    const QString name = info.fileName();
    return name.endsWith(QLatin1Char('.')) || name.startsWith(QLatin1Char('$'));
}
