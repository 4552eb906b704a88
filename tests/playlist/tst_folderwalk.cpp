#include "KvFolderWalk.h"
#include "KvTestMain.h"

#include <QtTest>

#include <atomic>

// The folder walk on trees made in a temporary folder: what it finds, in which order, what it
// skips, and when it stops.
class TestFolderWalk : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void findsClipsWithTheScanExtensionsDepthFirst();
    void entriesComeInTheFileSystemsOrder();
    void specialFoldersAreNotEntered();
    void symbolicLinkLoopsAreWalkedOnce();
    void cancelIsTestedBeforeEveryEntry();
    void cancelStopsBeforeTheNextEntry();
    void cancelInAFolderStopsTheFoldersAbove();
    void cancelledBeforeStartFindsNothing();
    void missingFolderFindsNothing();
    void eachClipIsLogged();

private:
    QString _touch(const QString& relative);
    QString _path(const QString& relative) const { return _dir->filePath(relative); }
    // Walks root and returns the clips found; folders entered go to folders when given.
    QStringList _walk(const QString& root, QStringList* folders = nullptr);

    QTemporaryDir* _dir = nullptr;
};

void TestFolderWalk::init() {
    _dir = new QTemporaryDir();
    QVERIFY(_dir->isValid());
}

void TestFolderWalk::cleanup() {
    delete _dir;
    _dir = nullptr;
}

QString TestFolderWalk::_touch(const QString& relative) {
    const QString path = _path(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write("x");
    return path;
}

QStringList TestFolderWalk::_walk(const QString& root, QStringList* folders) {
    QStringList clips;
    KvFolderWalk walk([&clips](const QString& path) { clips.append(path); });
    if (folders) {
        walk.setFolderEntered([folders](const QString& path) { folders->append(path); });
    }
    walk.walk(QDir(root));
    return clips;
}

void TestFolderWalk::findsClipsWithTheScanExtensionsDepthFirst() {
    const QStringList expected{
        _touch("card/DCIM/F/a_001F.MP4"), _touch("card/DCIM/R/a_001R.MP4"),
        _touch("card/DCIM/F/b_002F.mov"), _touch("card/other/deep/er/c.AVI"),
        _touch("card/.hidden.mp4"),       _touch(QString::fromUtf8("card/行车/d.MOV")),
    };
    _touch("card/DCIM/F/CLIP.Mp4");
    _touch("card/DCIM/F/readme.txt");
    _touch("card/DCIM/F/clip.mkv");
    QStringList folders;
    QStringList clips = _walk(_path("card"), &folders);
    clips.sort();
    QStringList sorted = expected;
    sorted.sort();
    QCOMPARE(clips, sorted);

    // The root first, then every folder once, each before the folders below it.
    QCOMPARE(folders.first(), _path("card"));
    QCOMPARE(folders.size(), 8);
    QCOMPARE(QSet<QString>(folders.begin(), folders.end()).size(), folders.size());
    QVERIFY(folders.indexOf(_path("card/other")) < folders.indexOf(_path("card/other/deep")));
    QVERIFY(folders.indexOf(_path("card/other/deep")) <
            folders.indexOf(_path("card/other/deep/er")));
    // Depth first: a folder's sub-folders are walked as soon as they are met, before any other
    // folder ("other" holds only "deep", which holds only "er").
    QCOMPARE(folders.indexOf(_path("card/other/deep")), folders.indexOf(_path("card/other")) + 1);
    QCOMPARE(folders.indexOf(_path("card/other/deep/er")),
             folders.indexOf(_path("card/other")) + 2);
}

void TestFolderWalk::entriesComeInTheFileSystemsOrder() {
    for (int i = 0; i < 40; ++i) {
        _touch(QString("flat/clip_%1.MP4").arg((i * 17) % 40, 3, 10, QChar('0')));
    }
    _touch("flat/notes.txt");
    QStringList expected;
    const QFileInfoList listed =
        QDir(_path("flat"))
            .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System, QDir::Unsorted);
    for (const QFileInfo& entry : listed) {
        if (entry.fileName().endsWith(".MP4")) {
            expected.append(entry.absoluteFilePath());
        }
    }
    QCOMPARE(expected.size(), 40);
    QCOMPARE(_walk(_path("flat")), expected);
}

void TestFolderWalk::specialFoldersAreNotEntered() {
    const QString kept = _touch("card/DCIM/F/g_001F.MP4");
    _touch("card/$RECYCLE.BIN/g_009F.MP4");
    _touch("card/old./g_010.MP4");
    _touch("card/DCIM/$tmp/g_011.MP4");
    QStringList folders;
    QCOMPARE(_walk(_path("card"), &folders), QStringList{kept});
    for (const QString& folder : folders) {
        QVERIFY2(!folder.contains('$') && !folder.endsWith('.'), qPrintable(folder));
    }
    QCOMPARE(folders.size(), 3);
}

void TestFolderWalk::symbolicLinkLoopsAreWalkedOnce() {
    _touch("card/DCIM/F/l_001F.MP4");
    _touch("elsewhere/e.MP4");
    QVERIFY(QFile::link(_path("card"), _path("card/DCIM/loop")));
    QVERIFY(QFile::link(_path("card/DCIM"), _path("card/DCIM/F/up")));
    // A link to a folder outside the tree is followed: it is not a loop.
    QVERIFY(QFile::link(_path("elsewhere"), _path("card/out")));
    QStringList folders;
    QElapsedTimer timer;
    timer.start();
    QStringList clips = _walk(_path("card"), &folders);
    QVERIFY(timer.elapsed() < 10000);
    clips.sort();
    QCOMPARE(clips, (QStringList{_path("card/DCIM/F/l_001F.MP4"), _path("card/out/e.MP4")}));
    // card, DCIM, F and the linked folder; the links back up are not entered again.
    QCOMPARE(folders.size(), 4);
    QSet<QString> canonical;
    for (const QString& folder : folders) {
        canonical.insert(QDir(folder).canonicalPath());
    }
    QCOMPARE(canonical.size(), folders.size());
}

void TestFolderWalk::cancelIsTestedBeforeEveryEntry() {
    _touch("tree/a.MP4");
    _touch("tree/b.txt");
    _touch("tree/sub/c.MP4");
    _touch("tree/sub/d.MP4");
    const QDir::Filters filters = QDir::AllEntries | QDir::Hidden | QDir::System;
    // Each folder once on entering it, then once per entry ("." and ".." included).
    const int expected = 1 + QDir(_path("tree")).entryInfoList(filters).size() + 1 +
                         QDir(_path("tree/sub")).entryInfoList(filters).size();
    int asked = 0;
    QStringList clips;
    KvFolderWalk walk([&clips](const QString& path) { clips.append(path); });
    walk.setCancelTest([&asked] {
        ++asked;
        return false;
    });
    walk.walk(QDir(_path("tree")));
    QCOMPARE(clips.size(), 3);
    QCOMPARE(asked, expected);
}

void TestFolderWalk::cancelStopsBeforeTheNextEntry() {
    for (int i = 0; i < 5; ++i) {
        _touch(QString("flat/s_%1.MP4").arg(i));
    }
    bool cancelled = false;
    int askedAfterCancel = 0;
    QStringList clips;
    KvFolderWalk walk([&](const QString& path) {
        clips.append(path);
        cancelled = true;
    });
    walk.setCancelTest([&] {
        askedAfterCancel += cancelled ? 1 : 0;
        return cancelled;
    });
    walk.walk(QDir(_path("flat")));
    // Four clips were still to come: the walk looked once more and stopped.
    QCOMPARE(clips.size(), 1);
    QCOMPARE(askedAfterCancel, 1);

    // The same walk starts afresh: nothing of the first run is remembered as visited.
    walk.setCancelTest([] { return false; });
    clips.clear();
    walk.walk(QDir(_path("flat")));
    QCOMPARE(clips.size(), 5);
}

void TestFolderWalk::cancelInAFolderStopsTheFoldersAbove() {
    for (int i = 0; i < 3; ++i) {
        _touch(QString("stop/DCIM/F/s_%1F.MP4").arg(i));
        _touch(QString("stop/DCIM/R/s_%1R.MP4").arg(i));
        _touch(QString("stop/s_%1.MP4").arg(i));
    }
    std::atomic<bool> cancelled{false};
    QStringList clips;
    KvFolderWalk walk([&](const QString& path) {
        clips.append(path);
        cancelled = true;
    });
    walk.setCancelTest([&cancelled] { return cancelled.load(); });
    walk.walk(QDir(_path("stop")));
    QCOMPARE(clips.size(), 1);
}

void TestFolderWalk::cancelledBeforeStartFindsNothing() {
    _touch("tree/h_001.MP4");
    QStringList folders;
    QStringList clips;
    KvFolderWalk walk([&clips](const QString& path) { clips.append(path); });
    walk.setFolderEntered([&folders](const QString& path) { folders.append(path); });
    walk.setCancelTest([] { return true; });
    walk.walk(QDir(_path("tree")));
    QVERIFY(clips.isEmpty());
    QVERIFY(folders.isEmpty());
}

void TestFolderWalk::missingFolderFindsNothing() {
    QStringList folders;
    QVERIFY(_walk(_path("nowhere"), &folders).isEmpty());
    QVERIFY(folders.isEmpty());
}

void TestFolderWalk::eachClipIsLogged() {
    const QString clip = _touch("log/x_001.MP4");
    _touch("log/x_002.txt");
    QTest::ignoreMessage(QtDebugMsg, QByteArray("add file ->  \"" + clip.toUtf8() + "\""));
    QCOMPARE(_walk(_path("log")), QStringList{clip});
}

KV_TEST_GUILESS_MAIN(TestFolderWalk)
#include "tst_folderwalk.moc"
