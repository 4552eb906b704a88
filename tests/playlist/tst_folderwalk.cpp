#include "KvFolderWalk.h"
#include "KvTestMain.h"

#include <QtTest>

#include <atomic>

#include <unistd.h>

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

    // The walk stays on its file system, skips what it cannot read, and stops at any depth.
    void deviceIdsTellFileSystemsApart();
    void mountTableListsTheKernelsFileSystems();
    void linkIntoAnotherFileSystemIsNotFollowed();
    void mountPointsBelowTheRootAreNotEntered();
    void walkOfTheRootStaysOnItsFileSystem();
    void unreadableFolderIsSkippedSilently();
    void cancelDeepInTheTreeStopsEverything();

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

namespace {
// The other file systems a test can reach without mounting anything: the kernel's and the shared
// memory folder, where the system has them as separate mounts.
QStringList otherFileSystems(const QString& from) {
    quint64 own = 0;
    if (!KvFolderWalk::deviceOf(from, &own)) {
        return {};
    }
    QStringList found;
    for (const char* candidate : {"/dev/shm", "/proc", "/sys", "/dev", "/run"}) {
        quint64 device = 0;
        if (KvFolderWalk::deviceOf(candidate, &device) && device != own) {
            found.append(candidate);
        }
    }
    return found;
}

bool isUnder(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + '/');
}
} // namespace

void TestFolderWalk::deviceIdsTellFileSystemsApart() {
    _touch("dev/sub/a.MP4");
    quint64 root = 0;
    quint64 sub = 0;
    quint64 clip = 0;
    QVERIFY(KvFolderWalk::deviceOf(_path("dev"), &root));
    QVERIFY(KvFolderWalk::deviceOf(_path("dev/sub"), &sub));
    QVERIFY(KvFolderWalk::deviceOf(_path("dev/sub/a.MP4"), &clip));
    QCOMPARE(sub, root);
    QCOMPARE(clip, root);
    quint64 none = 0;
    QVERIFY(!KvFolderWalk::deviceOf(_path("dev/missing"), &none));
    // A link is followed to what it names.
    QVERIFY(QFile::link(_path("dev/sub"), _path("dev/link")));
    quint64 linked = 0;
    QVERIFY(KvFolderWalk::deviceOf(_path("dev/link"), &linked));
    QCOMPARE(linked, root);
    for (const QString& other : otherFileSystems(_path("dev"))) {
        quint64 device = 0;
        QVERIFY(KvFolderWalk::deviceOf(other, &device));
        QVERIFY2(device != root, qPrintable(other));
    }
}

void TestFolderWalk::mountTableListsTheKernelsFileSystems() {
    if (!QFile::exists("/proc/self/mountinfo")) {
        QSKIP("no mount table on this system");
    }
    const QSet<QString> points = KvFolderWalk::mountPoints();
    QVERIFY(points.contains("/"));
    QVERIFY(points.contains("/proc"));
    for (const QString& point : points) {
        QVERIFY2(point.startsWith('/'), qPrintable(point));
    }
}

void TestFolderWalk::linkIntoAnotherFileSystemIsNotFollowed() {
    const QStringList others = otherFileSystems(_dir->path());
    if (others.isEmpty()) {
        QSKIP("no other file system reachable without mounting one");
    }
    const QString kept = _touch("tree/DCIM/F/k_001F.MP4");
    // A clip on the other file system, where it can be written (the shared memory folder).
    QTemporaryDir elsewhere(others.first() + "/kv-walk-XXXXXX");
    QString foreignClip;
    if (elsewhere.isValid()) {
        foreignClip = elsewhere.filePath("far_001F.MP4");
        QFile file(foreignClip);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(QFile::link(elsewhere.path(), _path("tree/shared")));
    }
    QStringList links;
    for (const QString& other : others) {
        const QString link = _path("tree/link" + QString::number(links.size()));
        QVERIFY(QFile::link(other, link));
        links.append(link);
    }
    QStringList folders;
    QList<QPair<QString, KvFolderWalk::Skip>> skipped;
    QStringList clips;
    KvFolderWalk walk([&clips](const QString& path) { clips.append(path); });
    walk.setFolderEntered([&folders](const QString& path) { folders.append(path); });
    walk.setFolderSkipped([&skipped](const QString& path, KvFolderWalk::Skip why) {
        skipped.append({path, why});
    });
    walk.walk(QDir(_path("tree")));

    QCOMPARE(clips, QStringList{kept});
    for (const QString& folder : folders) {
        QVERIFY2(isUnder(folder, _path("tree")), qPrintable(folder));
        QVERIFY2(!folder.contains("/link") && !folder.contains("/shared"), qPrintable(folder));
    }
    for (const QString& link : links) {
        QVERIFY2(skipped.contains({link, KvFolderWalk::Skip::OtherFileSystem}), qPrintable(link));
    }
    if (elsewhere.isValid()) {
        QVERIFY(skipped.contains({_path("tree/shared"), KvFolderWalk::Skip::OtherFileSystem}));
    }
}

void TestFolderWalk::mountPointsBelowTheRootAreNotEntered() {
    // /dev is a file system of its own with others mounted in it (/dev/shm, /dev/pts, ...) on
    // most Linux systems: a walk from it leaves them out without looking inside.
    const QSet<QString> points = KvFolderWalk::mountPoints();
    if (!points.contains("/dev")) {
        QSKIP("/dev is not a mount point here");
    }
    QStringList inside;
    for (const QString& point : points) {
        if (point.startsWith("/dev/") && QFileInfo(point).isDir()) {
            inside.append(point);
        }
    }
    if (inside.isEmpty()) {
        QSKIP("nothing is mounted below /dev here");
    }
    QStringList folders;
    QStringList skipped;
    KvFolderWalk walk([](const QString&) {});
    walk.setFolderEntered([&folders](const QString& path) { folders.append(path); });
    walk.setFolderSkipped(
        [&skipped](const QString& path, KvFolderWalk::Skip) { skipped.append(path); });
    walk.walk(QDir("/dev"));
    QVERIFY(folders.contains("/dev"));
    for (const QString& point : inside) {
        for (const QString& folder : folders) {
            QVERIFY2(!isUnder(folder, point), qPrintable(folder));
        }
        // A mount point lies directly in a folder the walk entered, or below one it skipped.
        const QString parent = QFileInfo(point).absolutePath();
        if (folders.contains(parent)) {
            QVERIFY2(skipped.contains(point), qPrintable(point));
        }
    }
}

void TestFolderWalk::walkOfTheRootStaysOnItsFileSystem() {
    // The "Drives" default: "/". Walked for two seconds at most; whatever it reached lies on
    // the root's file system, never under /proc, /sys, /dev or another mount.
    QSet<QString> others = KvFolderWalk::mountPoints();
    others.remove("/");
    quint64 rootDevice = 0;
    QVERIFY(KvFolderWalk::deviceOf("/", &rootDevice));
    QStringList folders;
    QStringList clips;
    QElapsedTimer clock;
    clock.start();
    KvFolderWalk walk([&clips](const QString& path) { clips.append(path); });
    walk.setFolderEntered([&folders](const QString& path) { folders.append(path); });
    walk.setCancelTest([&clock] { return clock.elapsed() > 2000; });
    walk.walk(QDir("/"));
    QVERIFY(folders.size() > 1);
    for (const QString& folder : folders) {
        for (const QString& other : others) {
            QVERIFY2(!isUnder(folder, other), qPrintable(folder + " in " + other));
        }
        quint64 device = 0;
        if (KvFolderWalk::deviceOf(folder, &device)) {
            QCOMPARE(device, rootDevice);
        }
    }
    for (const QString& clip : clips) {
        QVERIFY2(!isUnder(clip, "/proc") && !isUnder(clip, "/sys"), qPrintable(clip));
    }
}

void TestFolderWalk::unreadableFolderIsSkippedSilently() {
    const QString kept = _touch("perm/open/o_001.MP4");
    _touch("perm/locked/l_001.MP4");
    _touch("perm/locked/deeper/l_002.MP4");
    const QString kept2 = _touch("perm/z_001.MP4");
    QVERIFY(QFile::setPermissions(_path("perm/locked"), QFileDevice::Permissions()));
    const bool restricts = ::access(QFile::encodeName(_path("perm/locked")).constData(), R_OK) != 0;
    if (!restricts) {
        QFile::setPermissions(_path("perm/locked"), QFileDevice::ReadOwner |
                                                        QFileDevice::WriteOwner |
                                                        QFileDevice::ExeOwner);
        QSKIP("permissions do not restrict this user (root): nothing is unreadable");
    }
    QStringList folders;
    QList<QPair<QString, KvFolderWalk::Skip>> skipped;
    QStringList clips;
    KvFolderWalk walk([&clips](const QString& path) { clips.append(path); });
    walk.setFolderEntered([&folders](const QString& path) { folders.append(path); });
    walk.setFolderSkipped([&skipped](const QString& path, KvFolderWalk::Skip why) {
        skipped.append({path, why});
    });
    walk.walk(QDir(_path("perm")));
    QFile::setPermissions(_path("perm/locked"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    clips.sort();
    QCOMPARE(clips, (QStringList{kept, kept2}));
    QVERIFY(!folders.contains(_path("perm/locked")));
    QCOMPARE(skipped.size(), 1);
    QCOMPARE(skipped.first().first, _path("perm/locked"));
    QVERIFY(skipped.first().second == KvFolderWalk::Skip::Unreadable);
}

void TestFolderWalk::cancelDeepInTheTreeStopsEverything() {
    // A chain 60 folders deep with a clip and a side folder at every level.
    QString relative = "deep";
    for (int level = 0; level < 60; ++level) {
        _touch(relative + QString("/c_%1.MP4").arg(level, 3, 10, QChar('0')));
        _touch(relative + QString("/side/s_%1.MP4").arg(level, 3, 10, QChar('0')));
        relative += "/d";
    }
    std::atomic<bool> cancelled{false};
    int foundAfterCancel = 0;
    int enteredAfterCancel = 0;
    int askedAfterCancel = 0;
    QStringList clips;
    KvFolderWalk walk([&](const QString& path) {
        foundAfterCancel += cancelled ? 1 : 0;
        clips.append(path);
        // Cancelled from the callback, 40 folders down.
        if (path.count("/d/") >= 40) {
            cancelled = true;
        }
    });
    walk.setFolderEntered([&](const QString&) { enteredAfterCancel += cancelled ? 1 : 0; });
    walk.setCancelTest([&] {
        askedAfterCancel += cancelled ? 1 : 0;
        return cancelled.load();
    });
    walk.walk(QDir(_path("deep")));
    QVERIFY(cancelled);
    QCOMPARE(foundAfterCancel, 0);
    QCOMPARE(enteredAfterCancel, 0);
    // Asked once, before the next entry, and the 40 folders above stopped without asking again.
    QCOMPARE(askedAfterCancel, 1);
    QVERIFY(clips.size() <= 2 * 41);
}

KV_TEST_GUILESS_MAIN(TestFolderWalk)
#include "tst_folderwalk.moc"
