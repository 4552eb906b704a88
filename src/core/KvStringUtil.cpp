#include "KvStringUtil.h"

QString KvStringUtil::getSingleFileName(const QString& path) {
    const int dot = path.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? path : path.left(dot);
}

QString KvStringUtil::getFileName(const QString& path) {
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? path : path.mid(slash + 1);
}

QString KvStringUtil::getDir(const QString& path) {
    if (!path.contains(QLatin1Char('.'))) {
        return path;
    }
    const int sep = _lastSeparator(path);
    return sep < 0 ? path : path.left(sep);
}

QString KvStringUtil::pathDup(const QString& path) {
    const int sep = _lastSeparator(path);
    return sep < 0 ? path : path.left(sep);
}

QString KvStringUtil::getPathExt(const QString& path) {
    const int dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot < 0 || dot == path.size() - 1) {
        return QString();
    }
    return path.mid(dot + 1);
}

bool KvStringUtil::isFileSeparator(const QString& path, int index) {
    return isFileSeparator(path.at(index));
}

bool KvStringUtil::isFileSeparator(QChar c) {
    return c == QLatin1Char('/') || c == QLatin1Char('\\');
}

bool KvStringUtil::startWithIgnoreCase(const QString& text, const QString& prefix) {
    return text.startsWith(prefix, Qt::CaseInsensitive);
}

int KvStringUtil::_lastSeparator(const QString& path) {
    return qMax(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
}
