#include "KvFileUtils.h"
#include "KvPlaylistStore.h"
#include "KvTestMain.h"

#include <QtTest>

// The playlist's entry files, in a temporary folder and in the user's playlist folder (test
// locations).
class TestPlaylistStore : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void writeNamesTheFileByIdentifier();
    void loadKeepsTheFileSystemsOrder();
    void loadSkipsWhatIsNotAnEntryFile();
    void unreadableFileLoadsAsEntryWithoutClips();
    void removedEntryFileIsNamedByName();
    void removeDeletesTheSavedFile();
    void clearEmptiesTheFolderAndKeepsIt();
    void missingFolderIsCreatedForWriting();
    void defaultIsTheUserPlaylistFolder();

private:
    KvVideoInfo _entry(const QString& stem) const;
    QString _folder() const { return _dir->filePath("playlist"); }

    QTemporaryDir* _dir = nullptr;
};

void TestPlaylistStore::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_playliststore");
}

void TestPlaylistStore::init() {
    _dir = new QTemporaryDir();
    QVERIFY(_dir->isValid());
}

void TestPlaylistStore::cleanup() {
    delete _dir;
    _dir = nullptr;
}

void TestPlaylistStore::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

KvVideoInfo TestPlaylistStore::_entry(const QString& stem) const {
    KvVideoInfo info(_dir->filePath("DCIM/F/" + stem + "F.MP4"),
                     _dir->filePath("DCIM/R/" + stem + "R.MP4"));
    info.videos[0].width = 1920;
    return info;
}

void TestPlaylistStore::writeNamesTheFileByIdentifier() {
    const KvPlaylistStore store(_folder());
    const KvVideoInfo info = _entry("2026_0315_101500_001");
    const QString expected = QDir(_folder()).absolutePath() + "/" + info.indentifer() + ".xml";
    QCOMPARE(store.entryFilePath(info), expected);
    QTest::ignoreMessage(QtDebugMsg, QByteArray("path ->  \"" + expected.toUtf8() + "\""));
    QVERIFY(store.write(info));
    QVERIFY(QFile::exists(expected));
    const KvVideoInfo read = KvVideoInfo::readFromFile(expected);
    QVERIFY(read == info);
    QCOMPARE(read.videos.at(0).width, 1920);
}

void TestPlaylistStore::loadKeepsTheFileSystemsOrder() {
    const KvPlaylistStore store(_folder());
    QList<KvVideoInfo> written;
    for (int i = 0; i < 30; ++i) {
        written.append(_entry(QString("2026_0315_%1").arg(i, 6, 10, QChar('0'))));
        QVERIFY(store.write(written.last()));
    }
    // The order the folder lists its files in, not the order they were written.
    QStringList expected;
    const QFileInfoList files = QDir(_folder()).entryInfoList(QDir::Files, QDir::Unsorted);
    for (const QFileInfo& file : files) {
        expected.append(file.absoluteFilePath());
    }
    const QList<KvVideoInfo> loaded = store.load();
    QCOMPARE(loaded.size(), expected.size());
    for (int i = 0; i < loaded.size(); ++i) {
        QCOMPARE(store.entryFilePath(loaded.at(i)), expected.at(i));
    }
    for (const KvVideoInfo& info : written) {
        QVERIFY(loaded.contains(info));
    }
}

void TestPlaylistStore::loadSkipsWhatIsNotAnEntryFile() {
    const KvPlaylistStore store(_folder());
    const KvVideoInfo kept = _entry("kept");
    QVERIFY(store.write(kept));
    const KvVideoInfo hidden = _entry("hidden");
    QVERIFY(hidden.writeToFile(_folder() + "/.hidden.xml"));
    QVERIFY(_entry("upper").writeToFile(_folder() + "/upper.XML"));
    QVERIFY(_entry("text").writeToFile(_folder() + "/notes.txt"));
    QVERIFY(QDir().mkpath(_folder() + "/folder.xml"));
    QVERIFY(QFile::link(store.entryFilePath(kept), _folder() + "/link.xml"));

    const QList<KvVideoInfo> loaded = store.load();
    QCOMPARE(loaded.size(), 2);
    QVERIFY(loaded.contains(kept));
    QVERIFY(loaded.contains(hidden));
}

void TestPlaylistStore::unreadableFileLoadsAsEntryWithoutClips() {
    const KvPlaylistStore store(_folder());
    QFile garbage(store.folder() + "/garbage.xml");
    QVERIFY(garbage.open(QIODevice::WriteOnly));
    garbage.write("<KvVideoInfo><Name>x</Na");
    garbage.close();
    const QList<KvVideoInfo> loaded = store.load();
    QCOMPARE(loaded.size(), 1);
    QVERIFY(loaded.first().isEmpty());
    // Loading reads only: the broken file stays as it was.
    QCOMPARE(QFileInfo(garbage).size(), qint64(24));
}

void TestPlaylistStore::removedEntryFileIsNamedByName() {
    const KvPlaylistStore store(_folder());
    const KvVideoInfo info = _entry("2026_0315_101800_002");
    QCOMPARE(store.removedEntryFilePath(info),
             QDir(_folder()).absolutePath() + "/2026_0315_101800_002F.MP4.xml");
    QVERIFY(store.write(info));
    QVERIFY(info.writeToFile(store.removedEntryFilePath(info)));
    QVERIFY(store.removeByName(info));
    QVERIFY(!QFile::exists(store.removedEntryFilePath(info)));
    // The file saved under the identifier stays, so the entry comes back at the next start.
    QVERIFY(QFile::exists(store.entryFilePath(info)));
    QCOMPARE(store.load().size(), 1);
    QVERIFY(!store.removeByName(info));
}

void TestPlaylistStore::removeDeletesTheSavedFile() {
    const KvPlaylistStore store(_folder());
    const KvVideoInfo gone = _entry("gone");
    const KvVideoInfo kept = _entry("kept");
    QVERIFY(store.write(gone));
    QVERIFY(store.write(kept));
    QVERIFY(store.remove(gone));
    QVERIFY(!QFile::exists(store.entryFilePath(gone)));
    const QList<KvVideoInfo> loaded = store.load();
    QCOMPARE(loaded.size(), 1);
    QVERIFY(loaded.first() == kept);
}

void TestPlaylistStore::clearEmptiesTheFolderAndKeepsIt() {
    const KvPlaylistStore store(_folder());
    QVERIFY(store.write(_entry("a")));
    QVERIFY(store.write(_entry("b")));
    QVERIFY(_entry("c").writeToFile(_folder() + "/.hidden.xml"));
    store.clear();
    QVERIFY(QDir(_folder()).exists());
    QVERIFY(QDir(_folder()).entryList(QDir::Files | QDir::Hidden).isEmpty());
    QVERIFY(store.load().isEmpty());
}

void TestPlaylistStore::missingFolderIsCreatedForWriting() {
    const KvPlaylistStore store(_dir->filePath("not/yet"));
    QVERIFY(!QDir(_dir->filePath("not")).exists());
    QVERIFY(store.load().isEmpty());
    QVERIFY(QDir(_dir->filePath("not")).removeRecursively());
    QVERIFY(store.write(_entry("a")));
    QCOMPARE(store.load().size(), 1);
}

void TestPlaylistStore::defaultIsTheUserPlaylistFolder() {
    const KvPlaylistStore store;
    const QString root = QDir(KvFileUtils().getPlayListRoot()).absolutePath();
    QCOMPARE(store.folder(), root);
    // Removed behind the player's back, it is there again for the next write.
    QVERIFY(QDir(root).removeRecursively());
    const KvVideoInfo info = _entry("user");
    QVERIFY(store.write(info));
    QCOMPARE(store.entryFilePath(info), root + "/" + info.indentifer() + ".xml");
    QVERIFY(QFile::exists(store.entryFilePath(info)));
    const QList<KvVideoInfo> loaded = store.load();
    QCOMPARE(loaded.size(), 1);
    QVERIFY(loaded.first() == info);
}

KV_TEST_GUILESS_MAIN(TestPlaylistStore)
#include "tst_playliststore.moc"
