#include "KvCopyFileDialog.h"
#include "KvDeleteFileDialog.h"
#include "KvFileBatch.h"
#include "KvFileDialog.h"
#include "KvLanguage.h"
#include "KvTestMain.h"
#include "files/KvFileTestUtil.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

using namespace KvFileTestUtil;

namespace {
// A batch that has not closed its dialog by then is taken as hung.
constexpr int kBatchTimeoutMs = 120000;
constexpr qint64 kMiB = 1024 * 1024;
} // namespace

class TestFileDialogs : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void messages();
    void emptyListsCloseAtOnce();
    void fiftyFilesCopyByteIdentical();
    void existingDestinationUntouched();
    void missingSourceSkipped();
    void shorterDestinationListCopiesPrefix();
    void missingFolderOneLevelIsCreated();
    void missingFolderTwoLevelsIsNotCopied();
    void nonAsciiAndSpacedPaths();
    void readOnlyDestinationLeavesNothing();
    void fullFileSystemLeavesNothing();
    void sourceVanishingDuringBatch();
    void sparseTwoGigabyteFile();
    void deleteFiles();
    void deleteInReadOnlyFolderLogsAndGoesOn();
    void closingWaitsForTheBatch();
    void copyDestinationsKeepNamesApart();
    void cardRootIsTheFolderHoldingDcim();
    void cardLayoutDestinationsKeepTheCardsFolders();
    void destinationFoldersAreMadeAtAnyDepth();
    void copiesKeepTheirModificationTimes();
    void summaryLine();

private:
    QString _path(const QString& relative) const { return _dir->filePath(relative); }
    // Starts the dialog's batch and runs it modally until it closes itself.
    static int _run(KvFileDialog& dialog);

    QTemporaryDir* _dir = nullptr;
};

void TestFileDialogs::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    // A file that outgrows the size limit of fullFileSystemLeavesNothing must fail its write, not
    // end the process.
    std::signal(SIGXFSZ, SIG_IGN);
}

void TestFileDialogs::init() {
    KvLanguage::setRoot(QStringLiteral(KV_SOURCE_DIR "/data/language"));
    KvLanguage::installLanguage("english");
    _dir = new QTemporaryDir();
    QVERIFY(_dir->isValid());
}

void TestFileDialogs::cleanup() {
    delete _dir;
    _dir = nullptr;
}

int TestFileDialogs::_run(KvFileDialog& dialog) {
    QTimer watchdog;
    watchdog.setSingleShot(true);
    QObject::connect(&watchdog, &QTimer::timeout, &dialog, [&dialog] {
        qWarning("batch did not end in time");
        dialog.done(-1);
    });
    watchdog.start(kBatchTimeoutMs);
    dialog.start();
    return dialog.exec();
}

void TestFileDialogs::messages() {
    KvLanguage::installLanguage("missing-language");
    KvFileDialog base;
    QCOMPARE(base.messageLabel()->text(), QString("copying_file"));
    KvCopyFileDialog copy(nullptr, {}, {});
    QCOMPARE(copy.messageLabel()->text(), QString("copying_file"));
    KvDeleteFileDialog remove(nullptr, {});
    QCOMPARE(remove.messageLabel()->text(), QString("deleting_file"));
    KvLanguage::installLanguage("german");
    KvDeleteFileDialog german(nullptr, {});
    QCOMPARE(german.messageLabel()->text(), QString::fromUtf8("Datei wird gelöscht"));
}

void TestFileDialogs::emptyListsCloseAtOnce() {
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    KvCopyFileDialog copy(nullptr, {_path("a")}, {});
    QCOMPARE(_run(copy), int(QDialog::Accepted));
    QVERIFY(copy.isBatchDone());
    KvDeleteFileDialog remove(nullptr, {});
    QCOMPARE(_run(remove), int(QDialog::Accepted));
}

void TestFileDialogs::fiftyFilesCopyByteIdentical() {
    constexpr int kFiles = 50;
    QVector<QString> src, dst;
    QVector<QByteArray> hashes;
    for (int i = 0; i < kFiles; ++i) {
        src.append(_path(QStringLiteral("card/DCIM/F/clip%1F.MP4").arg(i)));
        dst.append(_path(QStringLiteral("out/clip%1F.MP4").arg(i)));
        QVERIFY(writeFile(src.last(), 2 * kMiB + i * 37 * 1024, i));
        hashes.append(hashOf(src.last()));
    }
    QVERIFY(QDir().mkpath(_path("out")));
    // The GUI thread keeps running while the worker copies.
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, this,
            [&] { longestGap = std::max(longestGap, sinceTick.restart()); });
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    KvCopyFileDialog dialog(nullptr, src, dst);
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    sinceTick.start();
    ticker.start(5);
    QCOMPARE(_run(dialog), int(QDialog::Accepted));
    ticker.stop();
    batch.finish();
    for (int i = 0; i < kFiles; ++i) {
        QCOMPARE(hashOf(dst.at(i)), hashes.at(i));
        QCOMPARE(int(QFile::permissions(dst.at(i)) & 0x6666), 0x6666);
    }
    QCOMPARE(batch.done(), kFiles);
    QCOMPARE(batch.skipped() + batch.failed(), 0);
    QVERIFY(leftovers(_path("out")).isEmpty());
    // Generous: the machine is shared; a copy on the GUI thread would block for seconds.
    QVERIFY2(longestGap < 1000, qPrintable(QString::number(longestGap)));
}

void TestFileDialogs::existingDestinationUntouched() {
    QVERIFY(writeFile(_path("src.MP4"), kMiB, 1));
    QVERIFY(writeFile(_path("dst.MP4"), 1000, 2));
    QFile::setPermissions(_path("dst.MP4"), QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray before = hashOf(_path("dst.MP4"));
    const QFile::Permissions permissions = QFile::permissions(_path("dst.MP4"));
    const QDateTime modified = QFileInfo(_path("dst.MP4")).lastModified();
    KvFileBatch batch(KvFileBatch::Copy, {_path("src.MP4")}, {_path("dst.MP4")});
    KvCopyFileDialog dialog(nullptr, {_path("src.MP4")}, {_path("dst.MP4")});
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    _run(dialog);
    batch.finish();
    QCOMPARE(hashOf(_path("dst.MP4")), before);
    QCOMPARE(QFileInfo(_path("dst.MP4")).lastModified(), modified);
    // Skipped pairs do not reach the permissions step either.
    QCOMPARE(QFile::permissions(_path("dst.MP4")), permissions);
    QCOMPARE(batch.skipped(), 1);
}

void TestFileDialogs::missingSourceSkipped() {
    QVERIFY(writeFile(_path("b.MP4"), 1000, 3));
    const QVector<QString> src{_path("missing.MP4"), _path("b.MP4")};
    const QVector<QString> dst{_path("out/missing.MP4"), _path("out/b.MP4")};
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    KvCopyFileDialog dialog(nullptr, src, dst);
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    _run(dialog);
    batch.finish();
    QVERIFY(!QFile::exists(dst.at(0)));
    QCOMPARE(hashOf(dst.at(1)), hashOf(src.at(1)));
    QCOMPARE(batch.done(), 1);
    QCOMPARE(batch.skipped(), 1);
}

void TestFileDialogs::shorterDestinationListCopiesPrefix() {
    QVector<QString> src;
    for (int i = 0; i < 3; ++i) {
        src.append(_path(QStringLiteral("s%1.MP4").arg(i)));
        QVERIFY(writeFile(src.last(), 100, i));
    }
    const QVector<QString> dst{_path("d0.MP4"), _path("d1.MP4")};
    KvCopyFileDialog dialog(nullptr, src, dst);
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    _run(dialog);
    QVERIFY(QFile::exists(_path("d0.MP4")));
    QVERIFY(QFile::exists(_path("d1.MP4")));
    QCOMPARE(QDir(_dir->path()).entryList({"d*"}).size(), 2);
}

void TestFileDialogs::missingFolderOneLevelIsCreated() {
    QVERIFY(writeFile(_path("a.MP4"), 5000, 4));
    KvCopyFileDialog dialog(nullptr, {_path("a.MP4")}, {_path("new/a.MP4")});
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    _run(dialog);
    QCOMPARE(hashOf(_path("new/a.MP4")), hashOf(_path("a.MP4")));
}

void TestFileDialogs::missingFolderTwoLevelsIsNotCopied() {
    QVERIFY(writeFile(_path("a.MP4"), 5000, 5));
    KvFileBatch batch(KvFileBatch::Copy, {_path("a.MP4")}, {_path("x/y/a.MP4")});
    KvCopyFileDialog dialog(nullptr, {_path("a.MP4")}, {_path("x/y/a.MP4")});
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    QCOMPARE(_run(dialog), int(QDialog::Accepted));
    batch.finish();
    // The single-level mkdir could not make x/y; the permissions step ran on nothing.
    QVERIFY(!QFileInfo::exists(_path("x")));
    QVERIFY(!QFileInfo::exists(_path("x/y/a.MP4")));
    QCOMPARE(batch.failed(), 1);
}

void TestFileDialogs::nonAsciiAndSpacedPaths() {
    const QString src = _path(QString::fromUtf8("行车 记录/Dépôt 1/clip 01F.MP4"));
    const QString dst = _path(QString::fromUtf8("Sauvegarde été/clip 01F.MP4"));
    QVERIFY(writeFile(src, 300000, 6));
    KvCopyFileDialog copy(nullptr, {src}, {dst});
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    _run(copy);
    QCOMPARE(hashOf(dst), hashOf(src));
    KvDeleteFileDialog remove(nullptr, {src, dst});
    _run(remove);
    QVERIFY(!QFile::exists(src));
    QVERIFY(!QFile::exists(dst));
}

void TestFileDialogs::readOnlyDestinationLeavesNothing() {
    QVERIFY(writeFile(_path("a.MP4"), 200000, 7));
    QVERIFY(writeFile(_path("b.MP4"), 200000, 8));
    QVERIFY(QDir().mkpath(_path("locked")));
    const QVector<QString> src{_path("a.MP4"), _path("b.MP4")};
    const QVector<QString> dst{_path("locked/a.MP4"), _path("free/b.MP4")};
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    {
        ReadOnlyFolder locked(_path("locked"));
        PermissionChecksOn checks;
        KvCopyFileDialog dialog(nullptr, src, dst);
        QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
        QCOMPARE(_run(dialog), int(QDialog::Accepted));
    }
    batch.finish();
    QVERIFY(QDir(_path("locked"))
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                .isEmpty());
    // The batch went on after the failure.
    QCOMPARE(hashOf(_path("free/b.MP4")), hashOf(_path("b.MP4")));
    QCOMPARE(batch.done(), 1);
    QCOMPARE(batch.failed(), 1);
}

void TestFileDialogs::fullFileSystemLeavesNothing() {
    // A file-size limit makes writes fail past 1 MiB, as a full card would.
    QVERIFY(writeFile(_path("big.MP4"), 3 * kMiB, 9));
    QVERIFY(writeFile(_path("small.MP4"), 100000, 10));
    const QVector<QString> src{_path("big.MP4"), _path("small.MP4")};
    const QVector<QString> dst{_path("out/big.MP4"), _path("out/small.MP4")};
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    rlimit old{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
    rlimit limited = old;
    limited.rlim_cur = kMiB;
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &limited), 0);
    KvCopyFileDialog dialog(nullptr, src, dst);
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    const int result = _run(dialog);
    setrlimit(RLIMIT_FSIZE, &old);
    QCOMPARE(result, int(QDialog::Accepted));
    batch.finish();
    QVERIFY(!QFile::exists(dst.at(0)));
    QVERIFY(leftovers(_path("out")).isEmpty());
    QCOMPARE(hashOf(dst.at(1)), hashOf(src.at(1)));
    QCOMPARE(batch.failed(), 1);
    QCOMPARE(batch.done(), 1);
}

void TestFileDialogs::sourceVanishingDuringBatch() {
    // Whichever moment the source goes (before its turn, or while being read), the result and
    // the count agree: a complete copy counted as copied, or no copy and counted as failed.
    QVector<QString> src, dst;
    for (int i = 0; i < 6; ++i) {
        src.append(_path(QStringLiteral("card/c%1.MP4").arg(i)));
        dst.append(_path(QStringLiteral("out/c%1.MP4").arg(i)));
        QVERIFY(writeFile(src.last(), 8 * kMiB, 20 + i));
    }
    const QByteArray lastHash = hashOf(src.last());
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    KvCopyFileDialog dialog(nullptr, src, dst);
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    QTimer::singleShot(0, &dialog, [&] {
        QFile::resize(src.at(3), kMiB);
        QFile::remove(src.last());
    });
    QCOMPARE(_run(dialog), int(QDialog::Accepted));
    batch.finish();
    QCOMPARE(batch.done() + batch.failed() + batch.skipped(), src.size());
    if (QFile::exists(dst.last())) {
        QCOMPARE(hashOf(dst.last()), lastHash);
    }
    const bool thirdComplete = QFileInfo(dst.at(3)).size() == 8 * kMiB;
    QCOMPARE(batch.done(), 4 + (thirdComplete ? 1 : 0) + (QFile::exists(dst.last()) ? 1 : 0));
    QVERIFY(leftovers(_path("out")).isEmpty());
}

void TestFileDialogs::sparseTwoGigabyteFile() {
    // 2 GiB of holes: sizes past 32 bits are counted right, a failing copy leaves nothing and a
    // copy onto an existing file does not touch it.
    constexpr qint64 kTwoGiB = qint64(2) * 1024 * kMiB;
    const QString sparse = _path("sparse.MP4");
    {
        QFile file(sparse);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(kTwoGiB));
    }
    QVERIFY(writeFile(_path("existing.MP4"), 10, 30));
    const QVector<QString> src{sparse, sparse};
    const QVector<QString> dst{_path("out/sparse.MP4"), _path("existing.MP4")};
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    rlimit old{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
    rlimit limited = old;
    limited.rlim_cur = 64 * kMiB;
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &limited), 0);
    KvCopyFileDialog copy(nullptr, src, dst);
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    const int result = _run(copy);
    setrlimit(RLIMIT_FSIZE, &old);
    QCOMPARE(result, int(QDialog::Accepted));
    batch.finish();
    QVERIFY(!QFile::exists(dst.first()));
    QVERIFY(leftovers(_path("out")).isEmpty());
    QCOMPARE(QFileInfo(_path("existing.MP4")).size(), qint64(10));
    QCOMPARE(batch.failed(), 1);
    QCOMPARE(batch.skipped(), 1);
    KvDeleteFileDialog remove(nullptr, {sparse});
    _run(remove);
    QVERIFY(!QFile::exists(sparse));
}

void TestFileDialogs::deleteFiles() {
    QVector<QString> files;
    for (int i = 0; i < 5; ++i) {
        files.append(_path(QStringLiteral("d/%1.MP4").arg(i)));
        QVERIFY(writeFile(files.last(), 1000, 40 + i));
    }
    QVERIFY(writeFile(_path("d/keep.MP4"), 1000, 50));
    files.insert(2, _path("d/missing.MP4"));
    KvFileBatch batch(KvFileBatch::Delete, files, {});
    KvDeleteFileDialog dialog(nullptr, files);
    QTest::ignoreMessage(
        QtDebugMsg,
        qPrintable(
            QStringLiteral("remove %1 failed\npermissions = 0").arg(_path("d/missing.MP4"))));
    QCOMPARE(_run(dialog), int(QDialog::Accepted));
    batch.finish();
    QCOMPARE(QDir(_path("d")).entryList(QDir::Files), QStringList{"keep.MP4"});
    QCOMPARE(batch.done(), 5);
    QCOMPARE(batch.skipped(), 1);
}

void TestFileDialogs::deleteInReadOnlyFolderLogsAndGoesOn() {
    const QString locked = _path("locked/a.MP4");
    const QString free = _path("free/b.MP4");
    QVERIFY(writeFile(locked, 1000, 60));
    QVERIFY(writeFile(free, 1000, 61));
    KvFileBatch batch(KvFileBatch::Delete, {locked, free}, {});
    {
        ReadOnlyFolder folder(_path("locked"));
        PermissionChecksOn checks;
        const QString expected = QStringLiteral("remove %1 failed\npermissions = %2")
                                     .arg(locked)
                                     .arg(uint(QFile::permissions(locked)), 0, 16);
        KvDeleteFileDialog dialog(nullptr, {locked, free});
        QTest::ignoreMessage(QtDebugMsg, qPrintable(expected));
        QCOMPARE(_run(dialog), int(QDialog::Accepted));
    }
    batch.finish();
    QVERIFY(QFile::exists(locked));
    QVERIFY(!QFile::exists(free));
    QCOMPARE(batch.done(), 1);
    QCOMPARE(batch.failed(), 1);
}

void TestFileDialogs::closingWaitsForTheBatch() {
    QVector<QString> src, dst;
    for (int i = 0; i < 8; ++i) {
        src.append(_path(QStringLiteral("c%1.MP4").arg(i)));
        dst.append(_path(QStringLiteral("out/c%1.MP4").arg(i)));
        QVERIFY(writeFile(src.last(), 8 * kMiB, 70 + i));
    }
    KvCopyFileDialog dialog(nullptr, src, dst);
    bool wasRunning = false;
    bool stayedUp = false;
    QTimer::singleShot(0, &dialog, [&] {
        wasRunning = !dialog.isBatchDone();
        dialog.reject();
        QTest::keyClick(&dialog, Qt::Key_Escape);
        stayedUp = dialog.isVisible();
    });
    QTest::ignoreMessage(QtDebugMsg, "KvCopyFileDialog run");
    QCOMPARE(_run(dialog), int(QDialog::Accepted));
    if (wasRunning) {
        QVERIFY(stayedUp);
    }
    for (int i = 0; i < src.size(); ++i) {
        QVERIFY(QFile::exists(dst.at(i)));
    }
    // A dialog that never started can be closed.
    KvCopyFileDialog idle(nullptr, {}, {});
    idle.show();
    idle.reject();
    QVERIFY(!idle.isVisible());
}

void TestFileDialogs::copyDestinationsKeepNamesApart() {
    const QVector<QString> src{"/card/DCIM/F/FILE0001.MP4", "/card/DCIM/R/FILE0001.MP4",
                               "/card/DCIM/F/a F.MP4"};
    const QVector<QString> dst = KvFileBatch::copyDestinations(src, _path("out"));
    QCOMPARE(dst, (QVector<QString>{_path("out/FILE0001.MP4"), _path("out/R/FILE0001.MP4"),
                                    _path("out/a F.MP4")}));
}

void TestFileDialogs::cardRootIsTheFolderHoldingDcim() {
    for (const char* folder : {"card/DCIM/F", "card/DCIM/R", "card/DCIM/Movie/F", "front/FRONT",
                               "plain/F", "plain/R", "loose"}) {
        QVERIFY(QDir().mkpath(_path(folder)));
    }
    // A card: the folder holding DCIM (or FRONT), however deep the clip lies below it.
    QCOMPARE(KvFileBatch::cardRoot(_path("card/DCIM/F/a.MP4")), _path("card"));
    QCOMPARE(KvFileBatch::cardRoot(_path("card/DCIM/R/a.MP4")), _path("card"));
    QCOMPARE(KvFileBatch::cardRoot(_path("card/DCIM/Movie/F/a.MP4")), _path("card"));
    QCOMPARE(KvFileBatch::cardRoot(_path("card/DCIM/a.MP4")), _path("card"));
    QCOMPARE(KvFileBatch::cardRoot(_path("front/FRONT/a.MP4")), _path("front"));
    // Not a card: the folder above the clip's own, so the camera folder is kept.
    QCOMPARE(KvFileBatch::cardRoot(_path("plain/F/a.MP4")), _path("plain"));
    QCOMPARE(KvFileBatch::cardRoot(_path("loose/a.MP4")), _dir->path());
    // Too far below a card: its layout is not the clip's.
    QVERIFY(QDir().mkpath(_path("card/x/y/z/w/F")));
    QCOMPARE(KvFileBatch::cardRoot(_path("card/x/y/z/w/F/a.MP4")), _path("card/x/y/z/w"));
}

void TestFileDialogs::cardLayoutDestinationsKeepTheCardsFolders() {
    for (const char* folder : {"card/DCIM/F", "card/DCIM/R", "other/DCIM/F"}) {
        QVERIFY(QDir().mkpath(_path(folder)));
    }
    const QVector<QString> src{_path("card/DCIM/F/FILE0001.MP4"), _path("card/DCIM/R/FILE0001.MP4"),
                               _path("card/DCIM/F/a F.MP4"), _path("other/DCIM/F/FILE0001.MP4")};
    const QVector<QString> dst = KvFileBatch::cardLayoutDestinations(src, _path("out"));
    // The second card's clip would land where the first card's does: below its card's name.
    QCOMPARE(dst, (QVector<QString>{_path("out/DCIM/F/FILE0001.MP4"),
                                    _path("out/DCIM/R/FILE0001.MP4"), _path("out/DCIM/F/a F.MP4"),
                                    _path("out/other/DCIM/F/FILE0001.MP4")}));
}

void TestFileDialogs::destinationFoldersAreMadeAtAnyDepth() {
    QVERIFY(KvFileBatch::makeDestinationFolders(
        {_path("out/DCIM/F/a.MP4"), _path("out/DCIM/R/a.MP4"), _path("out/DCIM/F/b.MP4")}));
    QVERIFY(QDir(_path("out/DCIM/F")).exists());
    QVERIFY(QDir(_path("out/DCIM/R")).exists());
    QVERIFY(writeFile(_path("blocker"), 1, 1));
    QVERIFY(!KvFileBatch::makeDestinationFolders({_path("blocker/F/a.MP4")}));
}

void TestFileDialogs::copiesKeepTheirModificationTimes() {
    QVERIFY(writeFile(_path("a.MP4"), 100, 1));
    QVERIFY(writeFile(_path("b.MP4"), 100, 2));
    QVERIFY(writeFile(_path("out/b.MP4"), 50, 3));
    const QDateTime recorded(QDate(2020, 2, 29), QTime(23, 59, 58), Qt::UTC);
    for (const char* name : {"a.MP4", "b.MP4"}) {
        QFile file(_path(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.setFileTime(recorded, QFileDevice::FileModificationTime));
    }
    const QDateTime existing = QFileInfo(_path("out/b.MP4")).lastModified();
    const QVector<QString> src{_path("a.MP4"), _path("b.MP4")};
    const QVector<QString> dst{_path("out/a.MP4"), _path("out/b.MP4")};
    KvFileBatch batch(KvFileBatch::Copy, src, dst);
    KvCopyFileDialog dialog(nullptr, src, dst);
    QCOMPARE(_run(dialog), int(QDialog::Accepted));
    batch.finish();
    QCOMPARE(batch.keepModificationTimes(), 1);
    QCOMPARE(QFileInfo(_path("out/a.MP4")).lastModified(), recorded.toLocalTime());
    // A file that stood there before is not touched, its time neither.
    QCOMPARE(QFileInfo(_path("out/b.MP4")).lastModified(), existing);
    KvFileBatch remove(KvFileBatch::Delete, {_path("a.MP4")}, {});
    QCOMPARE(remove.keepModificationTimes(), 0);
}

void TestFileDialogs::summaryLine() {
    QVERIFY(writeFile(_path("a.MP4"), 10, 80));
    KvFileBatch copy(KvFileBatch::Copy, {_path("a.MP4"), _path("nope.MP4")},
                     {_path("b.MP4"), _path("c.MP4")});
    QVERIFY(QFile::copy(_path("a.MP4"), _path("b.MP4")));
    copy.finish();
    QCOMPARE(copy.summary(), QString("1 files copied, 1 skipped, 0 failed"));
    KvLanguage::installLanguage("german");
    QCOMPARE(copy.summary(),
             QString::fromUtf8("1 Dateien kopiert, 1 übersprungen, 0 fehlgeschlagen"));
    KvFileBatch remove(KvFileBatch::Delete, {_path("a.MP4")}, {});
    remove.finish();
    QCOMPARE(remove.summary(),
             QString::fromUtf8("0 Dateien gelöscht, 0 übersprungen, 1 fehlgeschlagen"));
    KvLanguage::installLanguage("missing-language");
    QCOMPARE(remove.summary(), QString("delete_summary: 0/0/1"));
}

KV_TEST_MAIN(TestFileDialogs)
#include "tst_filedialogs.moc"
