#include "KvFileBatch.h"

#include "KvCopyFileDialog.h"
#include "KvDeleteFileDialog.h"
#include "KvLanguage.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

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
