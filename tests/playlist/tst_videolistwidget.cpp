#include "KvAddFileDialog.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvPlaylistStore.h"
#include "KvTestMain.h"
#include "KvVideoInfoLoadThread.h"
#include "KvVideoItemWidget.h"
#include "KvVideoListWidget.h"

#include <QAction>
#include <QDesktopServices>
#include <QLabel>
#include <QMenu>
#include <QtTest>

#include <functional>

// Catches what the player asks the desktop to open.
class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};

class TestVideoListWidget : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void staticRulesAreThePairingRules();
    void supportedAndScannedExtensions();
    void sameClipOrPartnerAddsOneRow();
    void clipsInAnotherLetterCaseAreTheSameRecording();
    void entriesWithoutClipsCompareAsWholeEntries();
    void removedOrClearedRowsCanBeAddedAgain();
    void partnerAddedLaterGivesNewEntry();
    void unsupportedEntryIsIgnored();
    void savedEntriesComeBackAfterRestart();
    void unreadableEntryFileShowsEmptyRow();
    void playlistFolderRecreatedWhenMissing();
    void addDirDoesNotDescend();
    void addDirDepthSkipsSpecialFoldersAndLinkLoops();
    void addDirDepthCancelledBeforeStart();
    void prevAndNextAtBothEnds();
    void setCurrentByPathAndEntry();
    void setCurrentByPathTakesTheTopmostRow();
    void doubleClickEmitsEntry();
    void menuOnRowAndOnEmptySpace();
    void openInExploreUrl();
    void removeDeletesFileNamedByName();
    void removeInvalidFiles();
    void clearPlaylist();
    void reloadLanguageKeepsKeys();
    void addFileDialogScansCard();
    void cancelledScanStopsBeforeNextEntry();
    void scanOfMissingOrUnreadableFolder();
    void clipVanishingBeforeLoadKeepsZeros();

    // Beyond Parts 5.2 and 5.3: rows come in slices, and a scan stops when it is closed.
    void scanAddsRowsInSlices();
    void closingTheScanStopsTheWalkAtDepth_data();
    void closingTheScanStopsTheWalkAtDepth();
    void savedPlaylistLoadsInSlices();
    void clearingWhileLoadingStopsTheLoad();

private:
    QString _touch(const QString& relative);
    QString _copyClip(const QString& relative);
    QStringList _playlistFiles() const;
    static KvVideoInfo _rowEntry(KvVideoListWidget& widget, int row);
    // Runs check on the next context menu the widget pops up, then closes it.
    void _onNextMenu(const std::function<void(QMenu*)>& check);

    QTemporaryDir* _dir = nullptr;
    QString _sourceClip;
};

void TestVideoListWidget::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_videolistwidget");
    qRegisterMetaType<KvVideoInfo>();
    _sourceClip = QStringLiteral(KV_TEST_MEDIA_DIR "/no-audio.mp4");
    QVERIFY2(QFile::exists(_sourceClip), "test clips missing");
}

void TestVideoListWidget::init() {
    _dir = new QTemporaryDir();
    QVERIFY(_dir->isValid());
    QDir(KvFileUtils().getPlayListRoot()).removeRecursively();
}

void TestVideoListWidget::cleanup() {
    delete _dir;
    _dir = nullptr;
}

void TestVideoListWidget::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    QDir(KvFileUtils::getTempRoot()).removeRecursively();
}

QString TestVideoListWidget::_touch(const QString& relative) {
    const QString path = _dir->filePath(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write("not really a clip");
    return path;
}

QString TestVideoListWidget::_copyClip(const QString& relative) {
    const QString path = _dir->filePath(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile::copy(_sourceClip, path);
    return path;
}

QStringList TestVideoListWidget::_playlistFiles() const {
    QStringList files = QDir(KvFileUtils().getPlayListRoot()).entryList(QDir::Files);
    files.sort();
    return files;
}

KvVideoInfo TestVideoListWidget::_rowEntry(KvVideoListWidget& widget, int row) {
    auto* item = qobject_cast<KvVideoItemWidget*>(widget.listWidget()->widgetAt(row));
    return item ? item->videoInfo() : KvVideoInfo();
}

void TestVideoListWidget::_onNextMenu(const std::function<void(QMenu*)>& check) {
    QTimer::singleShot(100, this, [check] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        check(menu);
        menu->close();
    });
}

void TestVideoListWidget::staticRulesAreThePairingRules() {
    // The rules themselves are tested in tst_camerapairing; the list answers as they do.
    const QString front = _touch("DCIM/F/r_001F.MP4");
    const QString rear = _touch("DCIM/R/r_001R.MP4");
    QVERIFY(KvVideoListWidget::isFrontVideo(front));
    QVERIFY(KvVideoListWidget::isRearVideo(rear));
    QCOMPARE(KvVideoListWidget::findOtherVideo(front), rear);
    KvVideoInfo info;
    QCOMPARE(KvVideoListWidget::convertFile(rear, &info), 0);
    QCOMPARE(info.videos.size(), 2);
    QCOMPARE(info.videos.at(0).path, front);
    QCOMPARE(info.name, QString("r_001R.MP4"));
    QVERIFY(KvVideoListWidget::isSpecialDirectory(QFileInfo(_dir->filePath("$RECYCLE.BIN"))));
    QVERIFY(!KvVideoListWidget::isSpecialDirectory(QFileInfo(_dir->filePath("DCIM"))));
}

void TestVideoListWidget::supportedAndScannedExtensions() {
    QVERIFY(KvVideoListWidget::isSupportsFile("/x/CLIP.Mp4"));
    QVERIFY(!KvVideoListWidget::isSupportsFile("/x/clip.mkv"));
    QVERIFY(!KvVideoListWidget::isScannedFile("CLIP.Mp4"));
    QVERIFY(KvVideoListWidget::isScannedFile("CLIP.MP4"));

    _touch("mixed/CLIP.Mp4");
    _touch("mixed/clip.MOV");
    KvVideoListWidget widget;
    widget.addDir(_dir->filePath("mixed"), false);
    QCOMPARE(widget.listWidget()->count(), 1);
    widget.addFile(_dir->filePath("mixed/CLIP.Mp4"), false);
    QCOMPARE(widget.listWidget()->count(), 2);
}

void TestVideoListWidget::sameClipOrPartnerAddsOneRow() {
    const QString front = _touch("DCIM/F/a_001F.MP4");
    const QString rear = _touch("DCIM/R/a_001R.MP4");
    KvVideoListWidget widget;
    widget.addFile(front, false);
    widget.addFile(front, false);
    QCOMPARE(widget.listWidget()->count(), 1);
    // The partner gives the same clips under another name: still the same recording.
    widget.addFile(rear, false);
    QCOMPARE(widget.listWidget()->count(), 1);
    QCOMPARE(_rowEntry(widget, 0).name, QString("a_001F.MP4"));
    widget.addFile(QUrl::fromLocalFile(front), false);
    widget.addFiles(QStringList{front, rear}, false);
    QCOMPARE(widget.listWidget()->count(), 1);
}

void TestVideoListWidget::clipsInAnotherLetterCaseAreTheSameRecording() {
    const QString clip = _touch(QString::fromUtf8("case/Fahrt_Ä.mp4"));
    KvVideoListWidget widget;
    widget.addFile(clip, false);
    KvVideoInfo shouted;
    shouted.appendVideo(clip.toUpper());
    shouted.name = "another name";
    widget.addFile(shouted, false);
    QCOMPARE(widget.listWidget()->count(), 1);
    KvVideoInfo other;
    other.appendVideo(_touch("case/other.mp4"));
    widget.addFile(other, false);
    QCOMPARE(widget.listWidget()->count(), 2);
    QCOMPARE(widget.listWidget()->entryIndex().size(), 2);
}

void TestVideoListWidget::entriesWithoutClipsCompareAsWholeEntries() {
    KvVideoListWidget widget;
    KvVideoInfo unnamed;
    KvVideoInfo named;
    named.name = "broken";
    widget.addFile(unnamed, false);
    widget.addFile(named, false);
    widget.addFile(named, false);
    QCOMPARE(widget.listWidget()->count(), 2);
    // A clip entry with that name is another recording.
    KvVideoInfo clip;
    clip.appendVideo(_touch("noclips/broken.mp4"));
    clip.name = "broken";
    widget.addFile(clip, false);
    QCOMPARE(widget.listWidget()->count(), 3);
    QVERIFY(widget.findNextVideoInfo(unnamed) == named);
    QVERIFY(widget.findPrevVideoInfo(clip) == named);
    widget.setCurrentItem(named);
    QCOMPARE(widget.listWidget()->currentRow(), 1);
}

void TestVideoListWidget::removedOrClearedRowsCanBeAddedAgain() {
    KvVideoListWidget widget;
    const QString a = _touch("again/a.mp4");
    const QString b = _touch("again/b.mp4");
    widget.addFiles(QStringList{a, b}, false);
    _onNextMenu([](QMenu*) {});
    widget.onListWidgetContentMenuEvent(widget.listWidget()->item(0));
    widget.onPopMenuTriggered(widget.removeAction());
    QCOMPARE(widget.listWidget()->count(), 1);
    QCOMPARE(widget.listWidget()->entryIndex().size(), 1);
    widget.addFile(a, false);
    QCOMPARE(widget.listWidget()->count(), 2);
    QCOMPARE(_rowEntry(widget, 1).videos.first().path, a);

    widget.onPopMenuTriggered(widget.clearPlaylistAction());
    QCOMPARE(widget.listWidget()->entryIndex().size(), 0);
    widget.addFiles(QStringList{b, a}, false);
    QCOMPARE(widget.listWidget()->count(), 2);
    QVERIFY(widget.findNextVideoInfo(_rowEntry(widget, 0)) == _rowEntry(widget, 1));
}

void TestVideoListWidget::partnerAddedLaterGivesNewEntry() {
    const QString front = _touch("DCIM/F/b_001F.MP4");
    KvVideoListWidget widget;
    widget.addFile(front, false);
    QCOMPARE(_rowEntry(widget, 0).videos.size(), 1);
    _touch("DCIM/R/b_001R.MP4");
    widget.addFile(front, false);
    QCOMPARE(widget.listWidget()->count(), 2);
    QCOMPARE(_rowEntry(widget, 1).videos.size(), 2);
}

void TestVideoListWidget::unsupportedEntryIsIgnored() {
    KvVideoListWidget widget;
    widget.addFile(_touch("notes.txt"), true);
    KvVideoInfo mixed;
    mixed.appendVideo(_touch("DCIM/F/c_001F.MP4"));
    mixed.appendVideo(_touch("DCIM/R/c_001R.jpg"));
    widget.addFile(mixed, true);
    QCOMPARE(widget.listWidget()->count(), 0);
    QVERIFY(_playlistFiles().isEmpty());
}

void TestVideoListWidget::savedEntriesComeBackAfterRestart() {
    const QString front = _touch("DCIM/F/d_001F.MP4");
    const QString rear = _touch("DCIM/R/d_001R.MP4");
    const QString single = _touch(QString::fromUtf8("行车 记录/clip 1.mov"));
    QStringList ids;
    {
        KvVideoListWidget widget;
        widget.addFile(front, true);
        widget.addFile(single, true);
        widget.addFile(_touch("DCIM/F/unsaved_001F.MP4"), false);
        QCOMPARE(widget.listWidget()->count(), 3);
        ids << _rowEntry(widget, 0).indentifer() + ".xml"
            << _rowEntry(widget, 1).indentifer() + ".xml";
        ids.sort();
    }
    QCOMPARE(_playlistFiles(), ids);
    const QString written = KvFileUtils().getPlayListRoot() + "/" + ids.first();
    const QDateTime modified = QFileInfo(written).lastModified();

    KvVideoListWidget restarted;
    // The saved entries come a slice at a time (KvRowFeeder), once the event loop runs.
    QTRY_VERIFY(!restarted.isLoadingPlayList());
    QCOMPARE(restarted.listWidget()->count(), 2);
    QSet<QString> paths;
    for (int row = 0; row < 2; ++row) {
        for (const KvVideo& video : _rowEntry(restarted, row).videos) {
            paths.insert(video.path);
        }
    }
    QCOMPARE(paths, (QSet<QString>{front, rear, single}));
    // Loading does not write the files back.
    QCOMPARE(QFileInfo(written).lastModified(), modified);
}

void TestVideoListWidget::unreadableEntryFileShowsEmptyRow() {
    const QString folder = KvFileUtils().getPlayListRoot();
    QFile garbage(folder + "/garbage.xml");
    QVERIFY(garbage.open(QIODevice::WriteOnly));
    garbage.write("<KvVideoInfo><Name>x</Na");
    garbage.close();
    QFile upper(folder + "/upper.XML");
    QVERIFY(upper.open(QIODevice::WriteOnly));
    upper.write("<KvVideoInfo><Name>upper</Name></KvVideoInfo>");
    upper.close();
    QVERIFY(QDir().mkpath(folder + "/folder.xml"));

    KvVideoListWidget widget;
    QTRY_VERIFY(!widget.isLoadingPlayList());
    QCOMPARE(widget.listWidget()->count(), 1);
    QVERIFY(_rowEntry(widget, 0).isEmpty());
    QVERIFY(QFile::exists(folder + "/garbage.xml"));
}

void TestVideoListWidget::playlistFolderRecreatedWhenMissing() {
    KvVideoListWidget widget;
    QVERIFY(QDir(KvFileUtils().getPlayListRoot()).removeRecursively());
    widget.addFile(_touch("DCIM/F/e_001F.MP4"), true);
    QCOMPARE(_playlistFiles().size(), 1);
}

void TestVideoListWidget::addDirDoesNotDescend() {
    _touch("DCIM/F/f_001F.MP4");
    _touch("DCIM/F/f_002F.MP4");
    _touch("DCIM/R/f_001R.MP4");
    _touch("DCIM/F/sub/f_003F.MP4");
    _touch("DCIM/F/.hidden_004F.MP4");
    KvVideoListWidget widget;
    widget.addDir(_dir->filePath("DCIM/F"), true);
    QCOMPARE(widget.listWidget()->count(), 3);
    // The rear folder's clips came in through the pairing: nothing new.
    widget.addDir(QDir(_dir->filePath("DCIM/R")), true);
    QCOMPARE(widget.listWidget()->count(), 3);
    widget.addDir(QDir(_dir->filePath("missing")), true);
    QCOMPARE(widget.listWidget()->count(), 3);
}

void TestVideoListWidget::addDirDepthSkipsSpecialFoldersAndLinkLoops() {
    _touch("card/DCIM/F/g_001F.MP4");
    _touch("card/DCIM/R/g_001R.MP4");
    _touch("card/$RECYCLE.BIN/g_009F.MP4");
    _touch("card/old./g_010.MP4");
    _touch(QString::fromUtf8("card/Fahrt ü/g_011.mov"));
    QVERIFY(QFile::link(_dir->filePath("card"), _dir->filePath("card/DCIM/loop")));
    QVERIFY(QFile::link(_dir->filePath("card/DCIM"), _dir->filePath("card/DCIM/F/up")));
    KvVideoListWidget widget;
    QElapsedTimer timer;
    timer.start();
    widget.addDrive(QDir(_dir->filePath("card")), false);
    QVERIFY(timer.elapsed() < 10000);
    QStringList names;
    for (int row = 0; row < widget.listWidget()->count(); ++row) {
        names << _rowEntry(widget, row).videos.first().name;
    }
    names.sort();
    QCOMPARE(names, (QStringList{"g_001F.MP4", QString::fromUtf8("g_011.mov")}));
}

void TestVideoListWidget::addDirDepthCancelledBeforeStart() {
    _touch("tree/h_001.MP4");
    KvVideoListWidget widget;
    bool cancel = true;
    widget.addDirDepth(QDir(_dir->filePath("tree")), false, &cancel);
    QCOMPARE(widget.listWidget()->count(), 0);
    cancel = false;
    widget.addDirDepth(QDir(_dir->filePath("tree")), false, &cancel);
    QCOMPARE(widget.listWidget()->count(), 1);
}

void TestVideoListWidget::prevAndNextAtBothEnds() {
    KvVideoListWidget widget;
    KvVideoInfo a, b, c, stranger;
    a.appendVideo(_touch("list/a.mp4"));
    b.appendVideo(_touch("list/b.mp4"));
    c.appendVideo(_touch("list/c.mp4"));
    stranger.appendVideo(_touch("list/z.mp4"));
    widget.addFile(a, false);
    QVERIFY(widget.findNextVideoInfo(a).isEmpty());
    QVERIFY(widget.findPrevVideoInfo(a).isEmpty());
    widget.addFile(b, false);
    widget.addFile(c, false);
    QVERIFY(widget.findNextVideoInfo(a) == b);
    QVERIFY(widget.findNextVideoInfo(b) == c);
    QVERIFY(widget.findNextVideoInfo(c).isEmpty());
    QVERIFY(widget.findPrevVideoInfo(c) == b);
    QVERIFY(widget.findPrevVideoInfo(b) == a);
    QVERIFY(widget.findPrevVideoInfo(a).isEmpty());
    QVERIFY(widget.findNextVideoInfo(stranger).isEmpty());
    QVERIFY(widget.findPrevVideoInfo(stranger).isEmpty());
}

void TestVideoListWidget::setCurrentByPathAndEntry() {
    KvVideoListWidget widget;
    const QString a = _touch("cur/a.mp4");
    const QString b = _touch("cur/b.mp4");
    widget.addFile(a, false);
    widget.addFile(b, false);
    widget.setCurrentItem(b.toUpper());
    QVERIFY(widget.getCurrentItem().isEmpty());
    widget.setCurrentItem(b);
    QCOMPARE(widget.getCurrentItem().videos.first().path, b);
    QCOMPARE(widget.listWidget()->currentRow(), 1);
    widget.setCurrentItem(_rowEntry(widget, 0));
    QCOMPARE(widget.getCurrentItem().videos.first().path, a);
    QCOMPARE(widget.listWidget()->currentRow(), 0);
}

void TestVideoListWidget::setCurrentByPathTakesTheTopmostRow() {
    // A front clip added before its partner existed, then again as a pair: two rows share the
    // first clip, and the upper one becomes current.
    const QString front = _touch("top/DCIM/F/t_001F.MP4");
    KvVideoListWidget widget;
    widget.addFile(_touch("top/first.mp4"), false);
    widget.addFile(front, false);
    _touch("top/DCIM/R/t_001R.MP4");
    widget.addFile(front, false);
    QCOMPARE(widget.listWidget()->count(), 3);
    widget.setCurrentItem(front);
    QCOMPARE(widget.listWidget()->currentRow(), 1);
    QCOMPARE(widget.getCurrentItem().videos.size(), 1);
    widget.setCurrentItem(_rowEntry(widget, 2));
    QCOMPARE(widget.listWidget()->currentRow(), 2);
    QCOMPARE(widget.getCurrentItem().videos.size(), 2);
}

void TestVideoListWidget::doubleClickEmitsEntry() {
    KvVideoListWidget widget;
    const QString a = _touch("dbl/a.mp4");
    widget.addFile(a, false);
    // The signal passes the row's entry by reference, which QSignalSpy cannot record.
    QList<KvVideoInfo> emitted;
    connect(&widget, &KvVideoListWidget::onDoubleClickVideoInfo, this,
            [&emitted](KvVideoInfo& info) { emitted.append(info); });
    widget.onDoubleClickListWidgetItem(widget.listWidget()->model()->index(0, 0));
    QCOMPARE(emitted.size(), 1);
    QCOMPARE(emitted.first().videos.first().path, a);
}

void TestVideoListWidget::menuOnRowAndOnEmptySpace() {
    KvVideoListWidget widget;
    widget.addFile(_touch("menu/a.mp4"), false);
    QList<QAction*> onRow, onEmpty;
    _onNextMenu([&onRow](QMenu* menu) { onRow = menu->actions(); });
    widget.onListWidgetContentMenuEvent(widget.listWidget()->item(0));
    _onNextMenu([&onEmpty](QMenu* menu) { onEmpty = menu->actions(); });
    widget.onListWidgetContentMenuEvent(nullptr);

    // The four come first; the copy and delete actions follow them (tst_videolistfileactions).
    QCOMPARE(onRow.mid(0, 4),
             (QList<QAction*>{widget.openInExploreAction(), widget.removeAction(),
                              widget.removeInvalidFilesAction(), widget.clearPlaylistAction()}));
    QCOMPARE(onEmpty,
             (QList<QAction*>{widget.removeInvalidFilesAction(), widget.clearPlaylistAction()}));
    QVERIFY(widget.popMenu()->styleSheet().startsWith("QMenu{background-color: #989898;"));
}

void TestVideoListWidget::openInExploreUrl() {
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("file", &catcher, "open");
    KvVideoListWidget widget;
    const QString clip = _touch(QString::fromUtf8("行车/a.mp4"));
    widget.addFile(clip, false);
    _onNextMenu([](QMenu*) {});
    widget.onListWidgetContentMenuEvent(widget.listWidget()->item(0));
    widget.onPopMenuTriggered(widget.openInExploreAction());
    QDesktopServices::unsetUrlHandler("file");
    QCOMPARE(catcher.urls.size(), 1);
    QCOMPARE(catcher.urls.first(), QUrl("file:///" + QFileInfo(clip).absolutePath()));
    QVERIFY(catcher.urls.first().toString().startsWith("file:////"));
}

void TestVideoListWidget::removeDeletesFileNamedByName() {
    KvVideoListWidget widget;
    widget.addFile(_touch("rm/a_001F.MP4"), true);
    widget.addFile(_touch("rm/b_001F.MP4"), true);
    const KvVideoInfo first = _rowEntry(widget, 0);
    // An entry file named after the entry's name, which is what "remove" deletes.
    const QString byName = KvFileUtils().getPlayListRoot() + "/" + first.name + ".xml";
    QVERIFY(first.writeToFile(byName));
    QCOMPARE(_playlistFiles().size(), 3);

    _onNextMenu([](QMenu*) {});
    widget.onListWidgetContentMenuEvent(widget.listWidget()->item(0));
    widget.onPopMenuTriggered(widget.removeAction());
    QCOMPARE(widget.listWidget()->count(), 1);
    QVERIFY(!QFile::exists(byName));
    // The file named by the identifier stays, so the entry returns at the next start.
    QVERIFY(QFile::exists(KvVideoListWidget::entryFilePath(first)));
    KvVideoListWidget restarted;
    QTRY_VERIFY(!restarted.isLoadingPlayList());
    QCOMPARE(restarted.listWidget()->count(), 2);
}

void TestVideoListWidget::removeInvalidFiles() {
    KvVideoListWidget widget;
    const QString keep1 = _touch("inv/keep1.mp4");
    const QString gone = _touch("inv/gone.mp4");
    const QString keep2 = _touch("inv/keep2.mp4");
    widget.addFiles(QStringList{keep1, gone, keep2}, false);
    KvVideoInfo goneEntry = _rowEntry(widget, 1);
    const QString byName = KvFileUtils().getPlayListRoot() + "/" + goneEntry.name + ".xml";
    QVERIFY(goneEntry.writeToFile(byName));
    QVERIFY(QFile::remove(gone));

    widget.onPopMenuTriggered(widget.removeInvalidFilesAction());
    QCOMPARE(widget.listWidget()->count(), 2);
    QCOMPARE(_rowEntry(widget, 0).videos.first().path, keep1);
    QCOMPARE(_rowEntry(widget, 1).videos.first().path, keep2);
    QVERIFY(!QFile::exists(byName));
}

void TestVideoListWidget::clearPlaylist() {
    KvVideoListWidget widget;
    widget.addFile(_touch("clr/a.mp4"), true);
    widget.addFile(_touch("clr/b.mp4"), true);
    QCOMPARE(_playlistFiles().size(), 2);
    widget.onPopMenuTriggered(widget.clearPlaylistAction());
    QCOMPARE(widget.listWidget()->count(), 0);
    QVERIFY(_playlistFiles().isEmpty());
    QVERIFY(QDir(KvFileUtils().getPlayListRoot()).exists());
    KvVideoListWidget restarted;
    QTRY_VERIFY(!restarted.isLoadingPlayList());
    QCOMPARE(restarted.listWidget()->count(), 0);
}

void TestVideoListWidget::reloadLanguageKeepsKeys() {
    KvVideoListWidget widget;
    widget.reloadLanguage();
    // No language is installed in this test: every text shows its key.
    QCOMPARE(widget.openInExploreAction()->text(), QString("open_in_explore"));
    QCOMPARE(widget.removeAction()->text(), QString("remove"));
    QCOMPARE(widget.removeInvalidFilesAction()->text(), QString("remove_invalid_files"));
    QCOMPARE(widget.clearPlaylistAction()->text(), QString("clear_playlist"));
}

void TestVideoListWidget::addFileDialogScansCard() {
    // Ten pairs and two front clips without a partner, under a non-ASCII card name.
    const QString card = QString::fromUtf8("卡 card");
    for (int i = 1; i <= 12; ++i) {
        const QString stem =
            QString("2026_0315_1015%1_%2").arg(i, 2, 10, QChar('0')).arg(i, 3, 10, QChar('0'));
        _copyClip(card + "/DCIM/F/" + stem + "F.MP4");
        if (i <= 10) {
            _copyClip(card + "/DCIM/R/" + stem + "R.MP4");
        }
    }
    _touch(card + "/DCIM/F/readme.txt");
    QStringList ids;
    {
        KvVideoListWidget widget;
        KvAddFileDialog dialog(&widget, _dir->filePath(card));
        QCOMPARE(dialog.windowTitle(), QString("adding_files"));
        dialog.start();
        dialog.exec();
        KvListWidget* list = widget.listWidget();
        QCOMPARE(list->count(), 12);
        int pairs = 0;
        for (int row = 0; row < list->count(); ++row) {
            const KvVideoInfo info = _rowEntry(widget, row);
            ids << info.indentifer() + ".xml";
            QVERIFY(info.videos.first().path.contains("/DCIM/F/"));
            if (info.videos.size() == 2) {
                ++pairs;
                QVERIFY(info.videos.at(1).path.contains("/DCIM/R/"));
            }
        }
        QCOMPARE(pairs, 10);
        // Rows complete themselves with the clips' real details.
        auto* last = qobject_cast<KvVideoItemWidget*>(list->widgetAt(list->count() - 1));
        QTRY_COMPARE_WITH_TIMEOUT(last->durationLabel()->text(), QString("00:00:02"), 30000);
        QVERIFY(last->formatLabel()->text().startsWith("320x240 25fps"));
    }
    ids.sort();
    QCOMPARE(_playlistFiles(), ids);
    KvVideoListWidget restarted;
    QTRY_VERIFY(!restarted.isLoadingPlayList());
    QCOMPARE(restarted.listWidget()->count(), 12);
}

void TestVideoListWidget::cancelledScanStopsBeforeNextEntry() {
    for (int i = 0; i < 5; ++i) {
        _touch(QString("stop/DCIM/F/s_%1F.MP4").arg(i));
    }
    KvVideoListWidget widget;
    KvAddFileDialog dialog(&widget, _dir->filePath("stop"));
    int found = 0;
    // The walk runs on this thread here, so closing from the handler happens between entries.
    connect(&dialog, &KvAddFileDialog::addFileSignal, this, [&](const QString&) {
        ++found;
        dialog.close();
    });
    dialog.addDirectory(QDir(_dir->filePath("stop")));
    QCOMPARE(found, 1);
    QCOMPARE(widget.listWidget()->count(), 1);
}

void TestVideoListWidget::scanOfMissingOrUnreadableFolder() {
    KvVideoListWidget widget;
    KvAddFileDialog missing(&widget, _dir->filePath("nowhere"));
    missing.start();
    QCOMPARE(missing.exec(), int(QDialog::Accepted));
    QCOMPARE(widget.listWidget()->count(), 0);

    _touch("locked/inner/l_001.MP4");
    QFile::setPermissions(_dir->filePath("locked/inner"), QFileDevice::Permissions());
    KvAddFileDialog locked(&widget, _dir->filePath("locked"));
    // No message or dialog of any kind about the folder it cannot read: only the scan's own.
    QStringList otherDialogs;
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (top != &locked && top->isVisible() && qobject_cast<QDialog*>(top)) {
                otherDialogs << top->metaObject()->className();
            }
        }
    });
    watch.start(1);
    locked.start();
    QCOMPARE(locked.exec(), int(QDialog::Accepted));
    watch.stop();
    QVERIFY2(otherDialogs.isEmpty(), qPrintable(otherDialogs.join(", ")));
    QFile::setPermissions(_dir->filePath("locked/inner"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    // Root reads the folder anyway; anyone else finds nothing in it. Either way, no hang.
    QVERIFY(widget.listWidget()->count() <= 1);
}

void TestVideoListWidget::clipVanishingBeforeLoadKeepsZeros() {
    KvVideoListWidget widget;
    const QString clip = _copyClip("vanish/v.mp4");
    KvVideoInfo info;
    info.appendVideo(clip);
    QVERIFY(QFile::remove(clip));
    widget.addFile(info, false);
    KvListWidget* list = widget.listWidget();
    QTRY_VERIFY_WITH_TIMEOUT(!list->loader()->isRunning(), 10000);
    QCOMPARE(_rowEntry(widget, 0).videos.first().width, 0);
    auto* row = qobject_cast<KvVideoItemWidget*>(list->widgetAt(0));
    QCOMPARE(row->formatLabel()->text(), QString("0x0 0fps"));
}

namespace {
// Counts the turns the event loop gets while rows are added: a timer that fires whenever the loop
// is free, noting the row count each time.
class TurnWatch : public QObject {
public:
    explicit TurnWatch(QListWidget* list) : _list(list) {
        connect(&_timer, &QTimer::timeout, this, [this] { counts.insert(_list->count()); });
        _timer.start(1);
    }
    // Row counts seen strictly between none and all.
    int between(int all) const {
        int n = 0;
        for (int count : counts) {
            n += count > 0 && count < all ? 1 : 0;
        }
        return n;
    }
    QSet<int> counts;

private:
    QListWidget* _list;
    QTimer _timer;
};
} // namespace

void TestVideoListWidget::scanAddsRowsInSlices() {
    // 1500 clips in 150 folders: far more rows than one turn of the event loop adds.
    const int clips = 1500;
    for (int i = 0; i < clips; ++i) {
        _touch(QString("big/%1/DCIM/F/b_%2F.MP4").arg(i / 10).arg(i, 5, 10, QChar('0')));
    }
    KvVideoListWidget widget;
    widget.show();
    KvAddFileDialog dialog(&widget, _dir->filePath("big"));
    TurnWatch watch(widget.listWidget());
    dialog.start();
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    // The dialog closed once every clip found was a row.
    QCOMPARE(widget.listWidget()->count(), clips);
    QCOMPARE(dialog.waitingClips(), 0);
    // The event loop ran again and again while the rows came in.
    QVERIFY2(watch.between(clips) >= 3, qPrintable(QString::number(watch.between(clips))));
}

void TestVideoListWidget::closingTheScanStopsTheWalkAtDepth_data() {
    QTest::addColumn<bool>("escape");
    QTest::newRow("close button") << false;
    QTest::newRow("Escape") << true;
}

void TestVideoListWidget::closingTheScanStopsTheWalkAtDepth() {
    QFETCH(bool, escape);
    // A chain 150 folders deep, three clips at every level.
    QString relative = "chain";
    for (int level = 0; level < 150; ++level) {
        for (int k = 0; k < 3; ++k) {
            _touch(relative + QString("/c_%1_%2.MP4").arg(level, 3, 10, QChar('0')).arg(k));
        }
        relative += "/d";
    }
    KvVideoListWidget widget;
    KvAddFileDialog dialog(&widget, _dir->filePath("chain"));
    std::atomic<bool> reached{false};
    std::atomic<int> foundAfterCancel{0};
    std::atomic<int> foundBefore{0};
    // On the walking thread: 100 folders down, the walk waits until the user has closed the
    // dialog, then goes on to its next entry, which it must not reach.
    connect(
        &dialog, &KvAddFileDialog::addFileSignal, this,
        [&](const QString& path) {
            if (dialog.isScanCancelled()) {
                ++foundAfterCancel;
                return;
            }
            ++foundBefore;
            if (path.count("/d/") >= 100 && !reached.exchange(true)) {
                while (!dialog.isScanCancelled()) {
                    QThread::msleep(1);
                }
            }
        },
        Qt::DirectConnection);
    int rowsAtClose = -1;
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, [&] {
        if (!reached || !dialog.isVisible()) {
            return;
        }
        poll.stop();
        if (escape) {
            QTest::keyClick(&dialog, Qt::Key_Escape);
        } else {
            dialog.close();
        }
        rowsAtClose = widget.listWidget()->count();
    });
    poll.start(1);
    dialog.start();
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(reached);
    // Joins the walk (the close button has already).
    dialog.cancel();
    QTest::qWait(200);
    QCOMPARE(foundAfterCancel.load(), 0);
    QVERIFY(foundBefore.load() < 450);
    QVERIFY(rowsAtClose >= 0);
    // No row came after the close: the clips found but not yet added were dropped.
    QCOMPARE(widget.listWidget()->count(), rowsAtClose);
    QVERIFY(widget.listWidget()->count() <= foundBefore.load());
    QCOMPARE(dialog.waitingClips(), 0);
}

void TestVideoListWidget::savedPlaylistLoadsInSlices() {
    const int entries = 1500;
    KvPlaylistStore store;
    for (int i = 0; i < entries; ++i) {
        KvVideoInfo info;
        info.appendVideo(_touch(QString("saved/%1/s_%2.MP4").arg(i / 100).arg(i)));
        info.name = info.videos.first().name;
        QVERIFY(store.write(info));
    }
    QElapsedTimer clock;
    clock.start();
    KvVideoListWidget widget;
    // The window can show before the saved entries are read: none is read in the constructor.
    QVERIFY(widget.isLoadingPlayList());
    QCOMPARE(widget.listWidget()->count(), 0);
    QSignalSpy loaded(&widget, &KvVideoListWidget::playListLoaded);
    widget.show();
    TurnWatch watch(widget.listWidget());
    QTRY_VERIFY_WITH_TIMEOUT(!widget.isLoadingPlayList(), 60000);
    QCOMPARE(widget.listWidget()->count(), entries);
    QCOMPARE(loaded.size(), 1);
    QVERIFY2(watch.between(entries) >= 3, qPrintable(QString::number(watch.between(entries))));
    // In the folder's order, as before.
    QStringList expected;
    for (const QString& file : store.entryFiles()) {
        expected << KvPlaylistStore::read(file).name;
    }
    QStringList shown;
    for (int row = 0; row < entries; ++row) {
        shown << _rowEntry(widget, row).name;
    }
    QCOMPARE(shown, expected);
}

void TestVideoListWidget::clearingWhileLoadingStopsTheLoad() {
    KvPlaylistStore store;
    for (int i = 0; i < 800; ++i) {
        KvVideoInfo info;
        info.appendVideo(_touch(QString("clr/c_%1.MP4").arg(i)));
        QVERIFY(store.write(info));
    }
    KvVideoListWidget widget;
    QTRY_VERIFY(widget.listWidget()->count() > 0);
    QVERIFY(widget.isLoadingPlayList());
    widget.onPopMenuTriggered(widget.clearPlaylistAction());
    QVERIFY(!widget.isLoadingPlayList());
    QTest::qWait(100);
    QCOMPARE(widget.listWidget()->count(), 0);
    QVERIFY(_playlistFiles().isEmpty());
}

KV_TEST_MAIN(TestVideoListWidget)
#include "tst_videolistwidget.moc"
