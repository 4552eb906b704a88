#include "KvAlertDialog.h"
#include "KvFileUtils.h"
#include "KvLanguage.h"
#include "KvListWidget.h"
#include "KvTestMain.h"
#include "KvVideoItemWidget.h"
#include "KvVideoListWidget.h"
#include "files/KvFileTestUtil.h"

#include <QAction>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include <functional>

using namespace KvFileTestUtil;

namespace {
constexpr int kPollMs = 20;
const char* const Pair1Front = "card/DCIM/F/2026_0315_101500_001F.MP4";
const char* const Pair1Rear = "card/DCIM/R/2026_0315_101500_001R.MP4";
const char* const SingleFront = "card/DCIM/F/2026_0315_102100_003F.MP4";
const char* const SameNameFront = "card/DCIM/F/FILE0001.MP4";
const char* const SameNameRear = "card/DCIM/R/FILE0001.MP4";

// Answers a folder chooser with folder: opened in it, nothing selected, accepted. (Selecting a
// name races with the chooser's asynchronous listing of the folder it starts in.)
void chooseFolder(QFileDialog* chooser, const QString& folder) {
    chooser->setDirectory(folder);
    QMetaObject::invokeMethod(chooser, "accept");
}
} // namespace

class TestVideoListFileActions : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void menuOffersCopyAndDeleteAfterTheFour();
    void copySelectedEntriesToAFolder();
    void copyChooserCancelledCopiesNothing();
    void copyKeepsSameNamedClipsApart();
    void copyNeverOverwrites();
    void copyKeepsTheCardLayoutAndTimes();
    void copyLocationIsElidedInItsMiddle();
    void deleteConfirmedRemovesFilesAndRows();
    void deleteNotConfirmedDeletesNothing();
    void deleteThatPartlyFailsKeepsTheRow();
    void deleteEntryWithAMissingClip();
    void contextRowOutsideSelectionActsAlone();
    void reloadLanguageRelabelsTheActions();

private:
    QString _path(const QString& relative) const { return _dir->filePath(relative); }
    void _makeCard();
    int _rowOf(KvVideoListWidget& widget, const QString& clip) const;
    // Opens the context menu on row (or empty space), picks action in it, and returns when the
    // whole action is over (every dialog it opened has been answered).
    void _pick(KvVideoListWidget& widget, int row, QAction* action);
    // Answers the next modal dialog of type T once it is on screen.
    template <typename T> void _answer(const std::function<void(T*)>& answer);

    QTemporaryDir* _dir = nullptr;
    QString _clip;
};

void TestVideoListFileActions::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_videolistfileactions");
    qRegisterMetaType<KvVideoInfo>();
    qRegisterMetaType<QList<KvVideoInfo>>();
    _clip = QStringLiteral(KV_TEST_MEDIA_DIR "/no-audio.mp4");
    QVERIFY2(QFile::exists(_clip), "test clips missing");
}

void TestVideoListFileActions::init() {
    KvLanguage::setRoot(QStringLiteral(KV_SOURCE_DIR "/data/language"));
    KvLanguage::installLanguage("english");
    QDir(KvFileUtils().getPlayListRoot()).removeRecursively();
    _dir = new QTemporaryDir();
    QVERIFY(_dir->isValid());
    _makeCard();
}

void TestVideoListFileActions::cleanup() {
    delete _dir;
    _dir = nullptr;
}

void TestVideoListFileActions::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    QDir(KvFileUtils::getTempRoot()).removeRecursively();
}

void TestVideoListFileActions::_makeCard() {
    for (const char* clip : {Pair1Front, Pair1Rear, SingleFront, SameNameFront, SameNameRear}) {
        QVERIFY(QDir().mkpath(QFileInfo(_path(clip)).absolutePath()));
        QVERIFY(QFile::copy(_clip, _path(clip)));
    }
}

int TestVideoListFileActions::_rowOf(KvVideoListWidget& widget, const QString& clip) const {
    for (int row = 0; row < widget.listWidget()->count(); ++row) {
        auto* item = qobject_cast<KvVideoItemWidget*>(widget.listWidget()->widgetAt(row));
        if (item && !item->videoInfo().videos.isEmpty() &&
            item->videoInfo().videos.first().path == clip) {
            return row;
        }
    }
    return -1;
}

template <typename T>
void TestVideoListFileActions::_answer(const std::function<void(T*)>& answer) {
    auto* poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [poll, answer] {
        auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget());
        if (dialog && dialog->isVisible()) {
            poll->stop();
            poll->deleteLater();
            answer(dialog);
        }
    });
    poll->start(kPollMs);
}

void TestVideoListFileActions::_pick(KvVideoListWidget& widget, int row, QAction* action) {
    QTimer::singleShot(100, this, [action] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        menu->setActiveAction(action);
        QTest::keyClick(menu, Qt::Key_Return);
    });
    widget.onListWidgetContentMenuEvent(row >= 0 ? widget.listWidget()->item(row) : nullptr);
}

void TestVideoListFileActions::menuOffersCopyAndDeleteAfterTheFour() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), false);
    QList<QAction*> onRow, onEmpty;
    QTimer::singleShot(100, this, [&onRow] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        onRow = menu->actions();
        menu->close();
    });
    widget.onListWidgetContentMenuEvent(widget.listWidget()->item(0));
    QTimer::singleShot(100, this, [&onEmpty] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        onEmpty = menu->actions();
        menu->close();
    });
    widget.onListWidgetContentMenuEvent(nullptr);
    QCOMPARE(onRow, (QList<QAction*>{widget.openInExploreAction(), widget.removeAction(),
                                     widget.removeInvalidFilesAction(),
                                     widget.clearPlaylistAction(), widget.copyToFolderAction(),
                                     widget.deleteFilesAction(), widget.exportTrackAction()}));
    // Without a row there is nothing to copy or delete.
    QCOMPARE(onEmpty,
             (QList<QAction*>{widget.removeInvalidFilesAction(), widget.clearPlaylistAction()}));
    QCOMPARE(widget.copyToFolderAction()->text(), QString::fromUtf8("Copy to folder…"));
    QCOMPARE(widget.deleteFilesAction()->text(), QString::fromUtf8("Delete files…"));
    QCOMPARE(widget.exportTrackAction()->text(), QString::fromUtf8("Export GPS track…"));
}

void TestVideoListFileActions::copySelectedEntriesToAFolder() {
    KvVideoListWidget widget;
    widget.show();
    widget.addFile(_path(Pair1Front), true);
    widget.addFile(_path(SingleFront), true);
    QCOMPARE(widget.listWidget()->count(), 2);
    widget.listWidget()->item(0)->setSelected(true);
    widget.listWidget()->item(1)->setSelected(true);
    const QString out = _path(QString::fromUtf8("Sauvegarde été"));
    QVERIFY(QDir().mkpath(out));
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    QSignalSpy beforeDelete(&widget, &KvVideoListWidget::onBeforeDeleteFiles);
    QString title;
    _answer<QFileDialog>([&](QFileDialog* chooser) {
        title = chooser->windowTitle();
        chooseFolder(chooser, out);
    });
    _pick(widget, 0, widget.copyToFolderAction());

    QCOMPARE(title, QString::fromUtf8("Copy to folder…"));
    // Each clip keeps its path below the card's root ("card", which holds DCIM).
    for (const char* clip : {Pair1Front, Pair1Rear, SingleFront}) {
        const QString copy = out + "/" + QString(clip).mid(QString("card/").size());
        QCOMPARE(hashOf(copy), hashOf(_path(clip)));
    }
    QCOMPARE(finished.size(), 1);
    const QStringList lines = finished.first().first().toString().split('\n');
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), QString("3 files copied, 0 skipped, 0 failed"));
    QCOMPARE(lines.at(1), KvVideoListWidget::copyLocationText(out, widget.fontMetrics(), 300));
    QVERIFY(lines.at(1).startsWith("The copies are in "));
    QVERIFY(beforeDelete.isEmpty());
    QVERIFY(widget.summaryAlert());
    QVERIFY(widget.summaryAlert()->isVisible());
    QCOMPARE(widget.summaryAlert()->contentLabel()->text(), finished.first().first().toString());
    // Copying leaves the card and the playlist as they were.
    QVERIFY(QFile::exists(_path(Pair1Rear)));
    QCOMPARE(widget.listWidget()->count(), 2);
}

void TestVideoListFileActions::copyChooserCancelledCopiesNothing() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), false);
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    _answer<QFileDialog>([](QFileDialog* chooser) { chooser->reject(); });
    _pick(widget, 0, widget.copyToFolderAction());
    QVERIFY(finished.isEmpty());
    QVERIFY(!widget.summaryAlert());
}

void TestVideoListFileActions::copyKeepsSameNamedClipsApart() {
    KvVideoListWidget widget;
    widget.addFile(_path(SameNameFront), false);
    QCOMPARE(widget.listWidget()->count(), 1);
    const QString out = _path("out");
    QVERIFY(QDir().mkpath(out));
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    _answer<QFileDialog>([&](QFileDialog* chooser) { chooseFolder(chooser, out); });
    _pick(widget, 0, widget.copyToFolderAction());
    QCOMPARE(hashOf(out + "/DCIM/F/FILE0001.MP4"), hashOf(_path(SameNameFront)));
    QCOMPARE(hashOf(out + "/DCIM/R/FILE0001.MP4"), hashOf(_path(SameNameRear)));
    QVERIFY(
        finished.first().first().toString().startsWith("2 files copied, 0 skipped, 0 failed\n"));
}

void TestVideoListFileActions::copyNeverOverwrites() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), false);
    const QString out = _path("out");
    const QString existing = out + "/DCIM/R/" + QFileInfo(_path(Pair1Rear)).fileName();
    QVERIFY(writeFile(existing, 1234, 1));
    const QByteArray before = hashOf(existing);
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    _answer<QFileDialog>([&](QFileDialog* chooser) { chooseFolder(chooser, out); });
    _pick(widget, 0, widget.copyToFolderAction());
    QCOMPARE(hashOf(existing), before);
    QVERIFY(
        finished.first().first().toString().startsWith("1 files copied, 1 skipped, 0 failed\n"));
}

// The copy of a card opens and pairs exactly like the card.
void TestVideoListFileActions::copyKeepsTheCardLayoutAndTimes() {
    // The card's clips carry times of their own, as a camera writes them.
    const QDateTime recorded(QDate(2021, 5, 6), QTime(7, 8, 9), Qt::UTC);
    int minute = 0;
    for (const char* clip : {Pair1Front, Pair1Rear, SameNameFront, SameNameRear}) {
        QFile file(_path(clip));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(
            file.setFileTime(recorded.addSecs(60 * minute++), QFileDevice::FileModificationTime));
    }
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), false);
    widget.addFile(_path(SameNameRear), false);
    QCOMPARE(widget.listWidget()->count(), 2);
    widget.listWidget()->item(0)->setSelected(true);
    widget.listWidget()->item(1)->setSelected(true);
    const QString out = _path(QString::fromUtf8("Kopie ü/of the card"));
    QVERIFY(QDir().mkpath(out));
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    _answer<QFileDialog>([&](QFileDialog* chooser) { chooseFolder(chooser, out); });
    _pick(widget, 1, widget.copyToFolderAction());

    // The same paths below the chosen folder as below the card's root, with the same times.
    for (const char* clip : {Pair1Front, Pair1Rear, SameNameFront, SameNameRear}) {
        const QString relative = QString(clip).mid(QString("card/").size());
        const QString copy = out + "/" + relative;
        QVERIFY2(QFileInfo(copy).isFile(), qPrintable(relative));
        QCOMPARE(hashOf(copy), hashOf(_path(clip)));
        QCOMPARE(QFileInfo(copy).lastModified(), QFileInfo(_path(clip)).lastModified());
    }
    QCOMPARE(QDir(out).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"DCIM"});
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().toString(),
             QString("4 files copied, 0 skipped, 0 failed\n") +
                 KvVideoListWidget::copyLocationText(out, widget.fontMetrics(), 300));

    // Added to a playlist, the copied folder pairs as the card did: two recordings, front and
    // rear, both from the copy.
    QDir(KvFileUtils().getPlayListRoot()).removeRecursively();
    KvVideoListWidget other;
    other.addDrive(QDir(out), false);
    QCOMPARE(other.listWidget()->count(), 2);
    QSet<QString> pairs;
    for (int row = 0; row < other.listWidget()->count(); ++row) {
        auto* item = qobject_cast<KvVideoItemWidget*>(other.listWidget()->widgetAt(row));
        const KvVideoInfo info = item->videoInfo();
        QCOMPARE(info.videos.size(), 2);
        QVERIFY(info.videos.at(0).path.startsWith(out + "/DCIM/F/"));
        QVERIFY(info.videos.at(1).path.startsWith(out + "/DCIM/R/"));
        pairs.insert(info.videos.at(0).name + "+" + info.videos.at(1).name);
    }
    QCOMPARE(pairs, (QSet<QString>{"2026_0315_101500_001F.MP4+2026_0315_101500_001R.MP4",
                                   "FILE0001.MP4+FILE0001.MP4"}));
}

void TestVideoListFileActions::copyLocationIsElidedInItsMiddle() {
    const QFontMetrics metrics(QApplication::font());
    const QString shortFolder = "/tmp/x";
    QCOMPARE(KvVideoListWidget::copyLocationText(shortFolder, metrics, 300),
             QString("The copies are in /tmp/x"));
    const QString longFolder =
        "/media/someone/SOME_LONG_CARD_NAME/" + QString(40, 'a') + "/Backup of the card";
    const QString text = KvVideoListWidget::copyLocationText(longFolder, metrics, 300);
    QVERIFY(metrics.horizontalAdvance(text) <= 300);
    QVERIFY(text.startsWith("The copies are in /media"));
    // The folder's own name is what a person looks for: it stays whole.
    QVERIFY(text.endsWith("Backup of the card"));
    QVERIFY(text.contains(QChar(0x2026)));
    // Without a language: the key and the whole folder.
    KvLanguage::installLanguage("none");
    const QString bare = KvVideoListWidget::copyLocationText(longFolder, metrics, 300);
    KvLanguage::installLanguage("english");
    QVERIFY(bare.endsWith(longFolder));
}

void TestVideoListFileActions::deleteConfirmedRemovesFilesAndRows() {
    KvVideoListWidget widget;
    widget.show();
    widget.addFile(_path(Pair1Front), true);
    widget.addFile(_path(SingleFront), true);
    const int row = _rowOf(widget, _path(Pair1Front));
    QVERIFY(row >= 0);
    auto* item = qobject_cast<KvVideoItemWidget*>(widget.listWidget()->widgetAt(row));
    const KvVideoInfo pair = item->videoInfo();
    const QString entryFile = KvVideoListWidget::entryFilePath(pair);
    QVERIFY(QFile::exists(entryFile));
    const qint64 bytes = QFileInfo(_path(Pair1Front)).size() + QFileInfo(_path(Pair1Rear)).size();

    bool filesPresentAtSignal = false;
    QList<KvVideoInfo> announced;
    connect(&widget, &KvVideoListWidget::onBeforeDeleteFiles, this,
            [&](const QList<KvVideoInfo>& entries) {
                announced = entries;
                filesPresentAtSignal =
                    QFile::exists(_path(Pair1Front)) && QFile::exists(_path(Pair1Rear));
            });
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    QString question;
    _answer<QMessageBox>([&](QMessageBox* box) {
        question = box->text();
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == "Delete") {
                button->click();
            }
        }
    });
    _pick(widget, row, widget.deleteFilesAction());

    QCOMPARE(question, QStringLiteral("Delete 2 clips (%1) from the disk? This cannot be undone.")
                           .arg(QLocale().formattedDataSize(bytes)));
    QCOMPARE(announced, QList<KvVideoInfo>{pair});
    QVERIFY(filesPresentAtSignal);
    QVERIFY(!QFile::exists(_path(Pair1Front)));
    QVERIFY(!QFile::exists(_path(Pair1Rear)));
    QVERIFY(QFile::exists(_path(SingleFront)));
    QCOMPARE(widget.listWidget()->count(), 1);
    QCOMPARE(_rowOf(widget, _path(SingleFront)), 0);
    QVERIFY(!QFile::exists(entryFile));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().toString(), QString("2 files deleted, 0 skipped, 0 failed"));
    KvVideoListWidget restarted;
    QTRY_VERIFY(!restarted.isLoadingPlayList());
    QCOMPARE(restarted.listWidget()->count(), 1);
}

void TestVideoListFileActions::deleteNotConfirmedDeletesNothing() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), true);
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    QSignalSpy beforeDelete(&widget, &KvVideoListWidget::onBeforeDeleteFiles);
    _answer<QMessageBox>([](QMessageBox* box) {
        // Return on the dialog presses its default button, which must not be "Delete".
        QTest::keyClick(box, Qt::Key_Return);
    });
    _pick(widget, 0, widget.deleteFilesAction());
    _answer<QMessageBox>([](QMessageBox* box) { QTest::keyClick(box, Qt::Key_Escape); });
    _pick(widget, 0, widget.deleteFilesAction());
    QVERIFY(QFile::exists(_path(Pair1Front)));
    QVERIFY(QFile::exists(_path(Pair1Rear)));
    QCOMPARE(widget.listWidget()->count(), 1);
    QVERIFY(beforeDelete.isEmpty());
    QVERIFY(finished.isEmpty());
}

void TestVideoListFileActions::deleteThatPartlyFailsKeepsTheRow() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), true);
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    _answer<QMessageBox>([](QMessageBox* box) {
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == "Delete") {
                button->click();
            }
        }
    });
    {
        ReadOnlyFolder rear(QFileInfo(_path(Pair1Rear)).absolutePath());
        PermissionChecksOn checks;
        QTest::ignoreMessage(QtDebugMsg,
                             QRegularExpression("^remove .*_001R\\.MP4 failed\npermissions = "));
        _pick(widget, 0, widget.deleteFilesAction());
    }
    QVERIFY(!QFile::exists(_path(Pair1Front)));
    QVERIFY(QFile::exists(_path(Pair1Rear)));
    // A recording with a clip left keeps its row.
    QCOMPARE(widget.listWidget()->count(), 1);
    QCOMPARE(finished.first().first().toString(), QString("1 files deleted, 0 skipped, 1 failed"));
}

void TestVideoListFileActions::deleteEntryWithAMissingClip() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), true);
    QVERIFY(QFile::remove(_path(Pair1Rear)));
    QSignalSpy finished(&widget, &KvVideoListWidget::onFileBatchFinished);
    QString question;
    _answer<QMessageBox>([&](QMessageBox* box) {
        question = box->text();
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == "Delete") {
                button->click();
            }
        }
    });
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^remove .*_001R\\.MP4 failed"));
    _pick(widget, 0, widget.deleteFilesAction());
    QVERIFY(question.startsWith("Delete 1 clips ("));
    QCOMPARE(widget.listWidget()->count(), 0);
    QCOMPARE(finished.first().first().toString(), QString("1 files deleted, 1 skipped, 0 failed"));
}

void TestVideoListFileActions::contextRowOutsideSelectionActsAlone() {
    KvVideoListWidget widget;
    widget.addFile(_path(Pair1Front), false);
    widget.addFile(_path(SingleFront), false);
    const int single = _rowOf(widget, _path(SingleFront));
    widget.listWidget()->item(1 - single)->setSelected(true);
    widget.listWidget()->item(single)->setSelected(false);
    QSignalSpy beforeDelete(&widget, &KvVideoListWidget::onBeforeDeleteFiles);
    _answer<QMessageBox>([](QMessageBox* box) {
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == "Delete") {
                button->click();
            }
        }
    });
    _pick(widget, single, widget.deleteFilesAction());
    QVERIFY(!QFile::exists(_path(SingleFront)));
    QVERIFY(QFile::exists(_path(Pair1Front)));
    QCOMPARE(beforeDelete.size(), 1);
    QCOMPARE(widget.listWidget()->count(), 1);
}

void TestVideoListFileActions::reloadLanguageRelabelsTheActions() {
    KvVideoListWidget widget;
    KvLanguage::installLanguage("german");
    widget.reloadLanguage();
    QCOMPARE(widget.copyToFolderAction()->text(), QString::fromUtf8("In Ordner kopieren…"));
    QCOMPARE(widget.deleteFilesAction()->text(), QString::fromUtf8("Dateien löschen…"));
}

KV_TEST_MAIN(TestVideoListFileActions)
#include "tst_videolistfileactions.moc"
