#include "KvFileBatch.h"

#include "KvCopyFileDialog.h"
#include "KvDeleteFileDialog.h"
#include "KvLanguage.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStorageInfo>

#include <algorithm>

QVector<QString> KvFileBatch::copyDestinations(const QVector<QString>& src, const QString& folder) {
    QVector<QString> dst;
    QSet<QString> taken;
    const QString root = QDir(folder).absolutePath();
    for (const QString& path : src) {
        const QFileInfo info(path);
        QString target = QDir(root).filePath(info.fileName());
        if (taken.contains(target)) {
            const QString ownFolder = info.absoluteDir().dirName();
            target = QDir(root).filePath(ownFolder + QLatin1Char('/') + info.fileName());
        }
        taken.insert(target);
        dst.append(target);
    }
    return dst;
}

QString KvFileBatch::cardRoot(const QString& clip) {
    const QFileInfo info(clip);
    const QDir own = info.absoluteDir();
    // Not above the volume: a folder holding "DCIM" up there is not this card's.
    const QString volume = QStorageInfo(own.absolutePath()).rootPath();
    QDir dir = own;
    for (int level = 0; level < MaxCardDepth; ++level) {
        if (!dir.cdUp()) {
            break;
        }
        const QString path = dir.absolutePath();
        if (dir.exists(QStringLiteral("DCIM")) || dir.exists(QStringLiteral("FRONT"))) {
            return path;
        }
        if (path == volume || dir.isRoot()) {
            break;
        }
    }
    QDir above = own;
    return above.cdUp() ? above.absolutePath() : own.absolutePath();
}

QVector<QString> KvFileBatch::cardLayoutDestinations(const QVector<QString>& src,
                                                     const QString& folder) {
    QVector<QString> dst;
    QSet<QString> taken;
    const QDir target(QDir(folder).absolutePath());
    for (const QString& path : src) {
        const QString root = cardRoot(path);
        const QString relative = QDir(root).relativeFilePath(QFileInfo(path).absoluteFilePath());
        QString destination = target.filePath(relative);
        if (taken.contains(destination)) {
            destination = target.filePath(QDir(root).dirName() + QLatin1Char('/') + relative);
        }
        taken.insert(destination);
        dst.append(destination);
    }
    return dst;
}

bool KvFileBatch::makeDestinationFolders(const QVector<QString>& dst) {
    bool ok = true;
    QSet<QString> made;
    for (const QString& path : dst) {
        const QString folder = QFileInfo(path).absolutePath();
        if (!made.contains(folder)) {
            made.insert(folder);
            ok = QDir().mkpath(folder) && ok;
        }
    }
    return ok;
}

KvFileBatch KvFileBatch::runCopy(QWidget* parent, const QVector<QString>& src,
                                 const QVector<QString>& dst) {
    KvFileBatch batch(Copy, src, dst);
    KvCopyFileDialog dialog(parent, src, dst);
    dialog.start();
    dialog.exec();
    // The dialog refuses to close before its batch ends; leaving scope joins the worker.
    batch.finish();
    return batch;
}

KvFileBatch KvFileBatch::runDelete(QWidget* parent, const QVector<QString>& files) {
    KvFileBatch batch(Delete, files, QVector<QString>());
    KvDeleteFileDialog dialog(parent, files);
    dialog.start();
    dialog.exec();
    batch.finish();
    return batch;
}

KvFileBatch::KvFileBatch(Operation operation, const QVector<QString>& src,
                         const QVector<QString>& dst)
    : _operation(operation), _src(src), _dst(dst) {
    if (_operation == Copy) {
        // Surplus entries of the longer list are not copied, so they are not counted either.
        const int n = std::min(_src.size(), _dst.size());
        _src.resize(n);
        _dst.resize(n);
    }
    for (int i = 0; i < _src.size(); ++i) {
        const QFileInfo source(_src.at(i));
        _srcExisted.append(source.exists());
        _srcSize.append(source.exists() ? source.size() : -1);
        _dstExisted.append(_operation == Copy && QFileInfo::exists(_dst.at(i)));
    }
}

void KvFileBatch::finish() {
    _done = _skipped = _failed = 0;
    for (int i = 0; i < _src.size(); ++i) {
        if (!_srcExisted.at(i) || _dstExisted.at(i)) {
            ++_skipped;
            continue;
        }
        bool ok = false;
        if (_operation == Copy) {
            // A copy counts when a file of the source's size now stands at the destination.
            const QFileInfo target(_dst.at(i));
            ok = target.exists() && target.isFile() && target.size() == _srcSize.at(i);
        } else {
            ok = !QFileInfo::exists(_src.at(i));
        }
        ++(ok ? _done : _failed);
    }
}

int KvFileBatch::keepModificationTimes() const {
    if (_operation != Copy) {
        return 0;
    }
    int kept = 0;
    for (int i = 0; i < _src.size(); ++i) {
        if (!_srcExisted.at(i) || _dstExisted.at(i)) {
            continue;
        }
        const QFileInfo source(_src.at(i));
        const QFileInfo target(_dst.at(i));
        if (!target.isFile() || target.size() != _srcSize.at(i)) {
            continue;
        }
        // The time is set through an open file (futimens); reading is all it needs.
        QFile copy(_dst.at(i));
        if (copy.open(QIODevice::ReadOnly) &&
            copy.setFileTime(source.lastModified(), QFileDevice::FileModificationTime)) {
            ++kept;
        }
    }
    return kept;
}

QString KvFileBatch::summary() const {
    const QString key =
        _operation == Copy ? QStringLiteral("copy_summary") : QStringLiteral("delete_summary");
    const QString text = KvLanguage::kvtr(key);
    if (!text.contains(QLatin1String("%3"))) {
        // No language installed (or a file without the three numbers): the key and the numbers.
        return QStringLiteral("%1: %2/%3/%4").arg(text).arg(_done).arg(_skipped).arg(_failed);
    }
    return text.arg(_done).arg(_skipped).arg(_failed);
}
