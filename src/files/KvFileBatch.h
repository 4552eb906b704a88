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

    // The folder a clip's path is kept below when it is copied with its card's layout: the
    // nearest folder above it, at most MaxCardDepth levels up and not above the volume it lies on,
    // that holds "DCIM" or "FRONT" (a card's root, KvVolume::isCard); otherwise the folder above
    // the clip's own folder, so that at least the camera folder ("F", "R") is kept.
    static QString cardRoot(const QString& clip);
    static constexpr int MaxCardDepth = 4;
    // Where each source goes when copied into folder keeping its card's layout: its path below
    // its card's root (cardRoot), so "DCIM/F/x.MP4" and "DCIM/R/x.MP4" land in "DCIM/F" and
    // "DCIM/R" of folder and the copy opens and pairs as the card does. A path that an earlier
    // source of the batch already takes (two cards alike) goes below a folder named after its
    // card's root.
    static QVector<QString> cardLayoutDestinations(const QVector<QString>& src,
                                                   const QString& folder);
    // Creates every folder the destinations lie in, with all missing parents (the copy dialog
    // makes one level only). False when one of them cannot be made.
    static bool makeDestinationFolders(const QVector<QString>& dst);

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
    // After a copy: gives each file this batch copied its source's modification time, so the
    // copies sort and read as the originals do. Files that stood at a destination before are left
    // alone. Returns how many files got their time.
    int keepModificationTimes() const;

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
