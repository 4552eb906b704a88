#pragma once

#include <QString>
#include <QVector>

class QWidget;

// One copy or delete batch as the user sees it: the dialog that carries it out, and what it did,
// found by comparing the file system before and after (the dialogs themselves stay silent). GUI
// thread only.
class KvFileBatch {
public:
    enum Operation { Copy, Delete };

    // Where each source goes when copied into folder: under its own file name; a name that an
    // earlier source of the same batch already takes (front and rear clips are often named
    // alike) goes one level down, into a folder named after its own folder ("R/FILE0001.MP4").
    static QVector<QString> copyDestinations(const QVector<QString>& src, const QString& folder);

    // Copies src[i] to dst[i] with a KvCopyFileDialog, shown modally over parent until done.
    static KvFileBatch runCopy(QWidget* parent, const QVector<QString>& src,
                               const QVector<QString>& dst);
    // Deletes files with a KvDeleteFileDialog, shown modally over parent until done.
    static KvFileBatch runDelete(QWidget* parent, const QVector<QString>& files);

    // Looks at the file system before a batch...
    KvFileBatch(Operation operation, const QVector<QString>& src, const QVector<QString>& dst);
    // ...and after it, counting what happened.
    void finish();

    int done() const { return _done; }
    int skipped() const { return _skipped; }
    int failed() const { return _failed; }
    // One translated line: how many files were copied or deleted, skipped and failed.
    QString summary() const;

private:
    Operation _operation;
    QVector<QString> _src;
    QVector<QString> _dst;
    // Per pair, taken before the batch: the source existed, its size, the destination existed.
    QVector<bool> _srcExisted;
    QVector<qint64> _srcSize;
    QVector<bool> _dstExisted;
    int _done = 0;
    int _skipped = 0;
    int _failed = 0;
};
