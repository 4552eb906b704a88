// KvRecordingOpener on a real video list and the generated card: a picked file is added, made
// the current row and handed back to be played (the player finds whether it plays); a picked folder
// is added without descending, unless it is a card's root, which is scanned like a picked drive;
// dropped files and folders are added. Nothing is played by the opener itself.

#include "KvConfigure.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvRecordingOpener.h"
#include "KvTestMain.h"
#include "KvVideoInfo.h"
#include "KvVideoListWidget.h"

#include <QtTest>

#include <memory>

namespace {
const QString CardPath = QStringLiteral(KV_TEST_MEDIA_DIR "/card");
} // namespace

class TestRecordingOpener : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void pickedClipIsAddedAndPlayed();
    void pickedNonClipIsHandedOnUnlisted();
    void pickedFolderIsAddedWithoutDescending();
    void pickedCardRootIsScanned();
    void pickedDriveIsScanned();
    void unknownKindAddsNothing();
    void droppedFilesAndFolders();

private:
    int _rows() const { return _list->listWidget()->count(); }

    std::unique_ptr<KvVideoListWidget> _list;
    std::unique_ptr<KvRecordingOpener> _opener;
    QTemporaryDir _dir;
};

void TestRecordingOpener::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_recordingopener");
    QVERIFY(_dir.isValid());
    QVERIFY2(QFileInfo::exists(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4"),
             "the generated test card is missing (CTest fixture test_media)");
}

void TestRecordingOpener::init() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();
    _list = std::make_unique<KvVideoListWidget>();
    _opener = std::make_unique<KvRecordingOpener>(_list.get());
}

void TestRecordingOpener::cleanup() {
    _opener.reset();
    _list.reset();
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

void TestRecordingOpener::pickedClipIsAddedAndPlayed() {
    KvVideoInfo info;
    const QString rear = CardPath + "/DCIM/R/2026_0315_101800_002R.MP4";
    QVERIFY(_opener->addPicked(KvRecordingOpener::PickedFile, rear, &info));
    QCOMPARE(_rows(), 1);
    // The rear clip is paired with its front, which plays first.
    QCOMPARE(info.videos.size(), 2);
    QVERIFY(info.videos[0].path.endsWith("002F.MP4"));
    const QString front = CardPath + "/DCIM/F/2026_0315_101500_001F.MP4";
    QVERIFY(_opener->addPicked(KvRecordingOpener::PickedFile, front, &info));
    QCOMPARE(_rows(), 2);
    QCOMPARE(info.videos[0].path, front);
    // The picked clip's row is the current one.
    QCOMPARE(_list->getCurrentItem().videos.first().path, front);
}

void TestRecordingOpener::pickedNonClipIsHandedOnUnlisted() {
    const QString text = _dir.filePath("notes.txt");
    QFile file(text);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not a clip");
    file.close();
    KvVideoInfo info;
    // The list does not take it; its record goes to the player, which cannot open it.
    QVERIFY(_opener->addPicked(KvRecordingOpener::PickedFile, text, &info));
    QCOMPARE(info.videos.size(), 1);
    QCOMPARE(_rows(), 0);
}

void TestRecordingOpener::pickedFolderIsAddedWithoutDescending() {
    KvVideoInfo info;
    QVERIFY(!_opener->addPicked(KvRecordingOpener::PickedDirectory, CardPath + "/DCIM/F", &info));
    // Pairs 001 and 002, and the unpaired front 003.
    QCOMPARE(_rows(), 3);
    _list->listWidget()->clear();
    // DCIM holds no clip itself and is no card's root: nothing.
    QVERIFY(!_opener->addPicked(KvRecordingOpener::PickedDirectory, CardPath + "/DCIM", &info));
    QCOMPARE(_rows(), 0);
}

void TestRecordingOpener::pickedCardRootIsScanned() {
    KvVideoInfo info;
    QVERIFY(!_opener->addPicked(KvRecordingOpener::PickedDirectory, CardPath, &info));
    QTRY_COMPARE(_rows(), 3);
}

void TestRecordingOpener::pickedDriveIsScanned() {
    KvVideoInfo info;
    QVERIFY(!_opener->addPicked(KvRecordingOpener::PickedDrive, CardPath, &info));
    QTRY_COMPARE(_rows(), 3);
}

void TestRecordingOpener::unknownKindAddsNothing() {
    KvVideoInfo info;
    QVERIFY(!_opener->addPicked(-1, CardPath, &info));
    QVERIFY(!_opener->addPicked(3, CardPath + "/DCIM/F/2026_0315_101500_001F.MP4", &info));
    QCOMPARE(_rows(), 0);
}

void TestRecordingOpener::droppedFilesAndFolders() {
    _opener->addDropped({QUrl::fromLocalFile(CardPath + "/DCIM/F/2026_0315_102100_003F.MP4")});
    QCOMPARE(_rows(), 1);
    _opener->addDropped({QUrl::fromLocalFile(CardPath)});
    QTRY_COMPARE(_rows(), 3);
}

KV_TEST_MAIN(TestRecordingOpener)
#include "tst_recordingopener.moc"
