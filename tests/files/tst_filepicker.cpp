#include "KvConfigure.h"
#include "KvFilePickerDialog.h"
#include "KvFileUtils.h"
#include "KvTestMain.h"
#include "KvVolume.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>

namespace {
// Answers a file chooser with path as a person does: in the file's folder, its name typed in.
// (selectFile() leaves the name field alone while it has the keyboard focus.)
void chooseFile(QFileDialog* chooser, const QString& path) {
    chooser->setDirectory(QFileInfo(path).absolutePath());
    auto* edit = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    QVERIFY(edit);
    edit->setText(QFileInfo(path).fileName());
    QMetaObject::invokeMethod(chooser, "accept");
}
} // namespace

class TestFilePicker : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    // The desktop folder is used only by the first chooser of each button in the process, so
    // this test runs first.
    void choosersStartOnDesktopOnlyTheFirstTime();
    void storedIndexChoosesTheRadioButton_data();
    void storedIndexChoosesTheRadioButton();
    void userClicksSaveIndexAndSetKind();
    void programmaticChecksDoNotSave();
    void okReturnsKindAndPath();
    void okWithFilesAndNoFileGivesEmptyPath();
    void cancelRejects();
    void fileChooserAnswerAndCancel();
    void directoryChooserAnswerAndCancel();
    void choosingADriveChecksDrives();
    void volumesOfferedCardsFirst();
    void volumeItemsShowNameAndSize();
    void realVolumesListTheRoot();
    void textsFramesAndLayout();

private:
    // Runs answer on the chooser the picker opens next, once it is on screen.
    void _onChooser(KvFilePickerDialog& picker, const std::function<void(QFileDialog*)>& answer);
    static int _storedIndex();

    QTemporaryDir _home;
    QString _desktop;
};

void TestFilePicker::initTestCase() {
    QVERIFY(_home.isValid());
    // The desktop folder the first chooser opens on lies in a home of the test's own.
    qputenv("HOME", _home.path().toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_filepicker");
    _desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    QVERIFY(_desktop.startsWith(_home.path()));
    QVERIFY(QDir().mkpath(_desktop));
    QVERIFY(QDir().mkpath(_home.filePath("clips")));
    QVERIFY(QDir().mkpath(_home.filePath("other")));
    for (const char* name : {"clips/a.MP4", "clips/b.mov", "other/c.avi"}) {
        QFile file(_home.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
}

void TestFilePicker::init() {
    QFile::remove(KvConfigure::filePath());
}

void TestFilePicker::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

int TestFilePicker::_storedIndex() {
    return KvConfigure().getInt("SelectFileIndexKey", -99);
}

void TestFilePicker::_onChooser(KvFilePickerDialog& picker,
                                const std::function<void(QFileDialog*)>& answer) {
    auto* poll = new QTimer(&picker);
    connect(poll, &QTimer::timeout, this, [poll, &picker, answer] {
        // The chooser that runs now: the modal window on top, and the picker's last chooser.
        QFileDialog* chooser = picker.getFileDialog();
        if (chooser && chooser->isVisible() && QApplication::activeModalWidget() == chooser) {
            poll->deleteLater();
            poll->stop();
            answer(chooser);
        }
    });
    poll->start(20);
}

void TestFilePicker::choosersStartOnDesktopOnlyTheFirstTime() {
    KvFilePickerDialog picker;
    picker.show();
    QVERIFY(QTest::qWaitForWindowExposed(&picker));
    QString first, second, firstFolder;
    const QString clip = _home.filePath("clips/a.MP4");
    _onChooser(picker, [&](QFileDialog* chooser) {
        first = chooser->directory().absolutePath();
        chooseFile(chooser, clip);
    });
    QTest::mouseClick(picker.fileButton(), Qt::LeftButton);
    QCOMPARE(first, _desktop);
    QCOMPARE(picker.fileLabel()->text(), clip);

    _onChooser(picker, [&](QFileDialog* chooser) {
        second = chooser->directory().absolutePath();
        chooser->reject();
    });
    QTest::mouseClick(picker.fileButton(), Qt::LeftButton);
    // Not given a folder: the chooser is where the last one was left.
    QCOMPARE(second, _home.filePath("clips"));

    // The folder button has a first time of its own.
    _onChooser(picker, [&](QFileDialog* chooser) {
        firstFolder = chooser->directory().absolutePath();
        chooser->reject();
    });
    QTest::mouseClick(picker.directoryButton(), Qt::LeftButton);
    QCOMPARE(firstFolder, _desktop);
}

void TestFilePicker::storedIndexChoosesTheRadioButton_data() {
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("checked");
    QTest::newRow("missing") << QVariant() << 0;
    QTest::newRow("0") << QVariant(0) << 0;
    QTest::newRow("1") << QVariant(1) << 1;
    QTest::newRow("2") << QVariant(2) << 2;
    QTest::newRow("5") << QVariant(5) << 0;
    QTest::newRow("-1") << QVariant(-1) << 0;
    QTest::newRow("text") << QVariant("files") << 0;
}

void TestFilePicker::storedIndexChoosesTheRadioButton() {
    QFETCH(QVariant, stored);
    QFETCH(int, checked);
    if (stored.isValid()) {
        KvConfigure configure;
        if (stored.type() == QVariant::String) {
            configure.setString("SelectFileIndexKey", stored.toString());
        } else {
            configure.setInt("SelectFileIndexKey", stored.toInt());
        }
    }
    KvFilePickerDialog picker;
    QCOMPARE(picker.buttonGroup()->checkedId(), checked);
    QCOMPARE(picker.getType(), -1);
    // Opening the picker writes nothing.
    QCOMPARE(KvConfigure().contains("SelectFileIndexKey"), stored.isValid());
}

void TestFilePicker::userClicksSaveIndexAndSetKind() {
    KvFilePickerDialog picker;
    picker.show();
    QVERIFY(QTest::qWaitForWindowExposed(&picker));
    picker.fileLabel()->setText("/x/clip.MP4");
    picker.directoryLabel()->setText("/x/folder");

    QTest::mouseClick(picker.filesRadio(), Qt::LeftButton);
    QCOMPARE(_storedIndex(), 1);
    QCOMPARE(picker.getType(), 0);
    QCOMPARE(picker.getSelectedPath(), QString("/x/clip.MP4"));

    QTest::mouseClick(picker.directoryRadio(), Qt::LeftButton);
    QCOMPARE(_storedIndex(), 2);
    // Kind 2 for the folder button before OK, as the player has always reported it.
    QCOMPARE(picker.getType(), 2);
    QCOMPARE(picker.getSelectedPath(), picker.driveBox()->currentText());

    QTest::mouseClick(picker.drivesRadio(), Qt::LeftButton);
    QCOMPARE(_storedIndex(), 0);
    QCOMPARE(picker.getType(), 2);
    QCOMPARE(picker.getSelectedPath(), picker.driveBox()->currentText());

    // A click on the button that is already checked saves again.
    KvConfigure().setInt("SelectFileIndexKey", 7);
    QTest::mouseClick(picker.drivesRadio(), Qt::LeftButton);
    QCOMPARE(_storedIndex(), 0);
}

void TestFilePicker::programmaticChecksDoNotSave() {
    KvConfigure().setInt("SelectFileIndexKey", 2);
    KvFilePickerDialog picker;
    picker.fillDriveBox(
        {KvVolume("/media/u/A", "A", "vfat", 1000), KvVolume("/media/u/B", "B", "exfat", 1000)});
    picker.filesRadio()->setChecked(true);
    picker.drivesRadio()->setChecked(true);
    picker.driveBox()->setCurrentIndex(2);
    _onChooser(picker, [](QFileDialog* chooser) { chooser->reject(); });
    QTest::mouseClick(picker.fileButton(), Qt::LeftButton);
    QVERIFY(picker.filesRadio()->isChecked());
    QCOMPARE(_storedIndex(), 2);
}

void TestFilePicker::okReturnsKindAndPath() {
    {
        KvFilePickerDialog picker;
        picker.show();
        picker.drivesRadio()->setChecked(true);
        QTest::ignoreMessage(QtDebugMsg, "_onClickOkButton(0)");
        QTest::mouseClick(picker.okButton(), Qt::LeftButton);
        QCOMPARE(picker.result(), int(QDialog::Accepted));
        QCOMPARE(picker.getType(), 2);
        QCOMPARE(picker.getSelectedPath(), picker.driveBox()->currentText());
        QVERIFY(!picker.getSelectedPath().isEmpty());
    }
    {
        KvFilePickerDialog picker;
        picker.show();
        picker.directoryLabel()->setText("/x/folder");
        QTest::mouseClick(picker.directoryRadio(), Qt::LeftButton);
        QCOMPARE(picker.getType(), 2);
        QTest::ignoreMessage(QtDebugMsg, "_onClickOkButton(2)");
        QTest::mouseClick(picker.okButton(), Qt::LeftButton);
        QCOMPARE(picker.getType(), 1);
        QCOMPARE(picker.getSelectedPath(), QString("/x/folder"));
    }
    {
        KvFilePickerDialog picker;
        picker.show();
        QTimer::singleShot(0, &picker, [&picker] {
            picker.fileLabel()->setText("/x/a.MP4");
            picker.filesRadio()->setChecked(true);
            QTest::ignoreMessage(QtDebugMsg, "_onClickOkButton(1)");
            QTest::mouseClick(picker.okButton(), Qt::LeftButton);
        });
        QCOMPARE(picker.showModes(), 1);
        QCOMPARE(picker.getType(), 0);
        QCOMPARE(picker.getSelectedPath(), QString("/x/a.MP4"));
    }
}

void TestFilePicker::okWithFilesAndNoFileGivesEmptyPath() {
    KvFilePickerDialog picker;
    picker.show();
    QTest::mouseClick(picker.filesRadio(), Qt::LeftButton);
    QTest::ignoreMessage(QtDebugMsg, "_onClickOkButton(1)");
    QTest::mouseClick(picker.okButton(), Qt::LeftButton);
    QCOMPARE(picker.result(), int(QDialog::Accepted));
    QCOMPARE(picker.getType(), 0);
    QCOMPARE(picker.getSelectedPath(), QString());
}

void TestFilePicker::cancelRejects() {
    KvFilePickerDialog picker;
    QTimer::singleShot(0, &picker,
                       [&picker] { QTest::mouseClick(picker.cancelButton(), Qt::LeftButton); });
    QCOMPARE(picker.showModes(), 0);
    QCOMPARE(picker.getType(), -1);
}

void TestFilePicker::fileChooserAnswerAndCancel() {
    KvFilePickerDialog picker;
    picker.show();
    QVERIFY(QTest::qWaitForWindowExposed(&picker));
    QCOMPARE(picker.getFileDialog(), nullptr);
    const QString clip = _home.filePath("other/c.avi");
    QSize size, minimum;
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    QFileDialog::ViewMode view = QFileDialog::Detail;
    QStringList filters;
    QDir::Filters filter;
    _onChooser(picker, [&](QFileDialog* chooser) {
        size = chooser->size();
        minimum = chooser->minimumSizeHint();
        mode = chooser->fileMode();
        view = chooser->viewMode();
        filters = chooser->nameFilters();
        filter = chooser->filter();
        chooseFile(chooser, clip);
    });
    QTest::mouseClick(picker.fileButton(), Qt::LeftButton);
    // 240 x 320, or as narrow as the chooser's own widgets allow.
    QCOMPARE(size, QSize(std::max(240, minimum.width()), 320));
    QCOMPARE(mode, QFileDialog::ExistingFiles);
    QCOMPARE(view, QFileDialog::List);
    QCOMPARE(filters, QStringList{"*.mp4 *.mov *.avi *.MP4 *.MOV *.AVI"});
    QVERIFY(filter & QDir::Files);
    QCOMPARE(picker.fileLabel()->text(), clip);
    QVERIFY(picker.filesRadio()->isChecked());
    // The chooser was cleared before it opened, which resets the kind.
    QCOMPARE(picker.getType(), -1);
    QPointer<QFileDialog> first = picker.getFileDialog();
    QVERIFY(first);

    _onChooser(picker, [](QFileDialog* chooser) { chooser->reject(); });
    QTest::mouseClick(picker.fileButton(), Qt::LeftButton);
    // A cancelled chooser empties its label; the earlier chooser is gone.
    QCOMPARE(picker.fileLabel()->text(), QString());
    QVERIFY(first.isNull());
    QTest::ignoreMessage(QtDebugMsg, "_onClickOkButton(1)");
    QTest::mouseClick(picker.okButton(), Qt::LeftButton);
    QCOMPARE(picker.getType(), 0);
    QCOMPARE(picker.getSelectedPath(), QString());
}

void TestFilePicker::directoryChooserAnswerAndCancel() {
    KvFilePickerDialog picker;
    picker.show();
    QVERIFY(QTest::qWaitForWindowExposed(&picker));
    const QString folder = _home.filePath("other");
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    bool dirsOnly = false;
    QDir::Filters filter;
    _onChooser(picker, [&](QFileDialog* chooser) {
        mode = chooser->fileMode();
        dirsOnly = chooser->testOption(QFileDialog::ShowDirsOnly);
        filter = chooser->filter();
        // Opened in the folder with nothing selected: the folder itself is the answer.
        chooser->setDirectory(folder);
        QMetaObject::invokeMethod(chooser, "accept");
    });
    QTest::mouseClick(picker.directoryButton(), Qt::LeftButton);
    QCOMPARE(mode, QFileDialog::Directory);
    QVERIFY(dirsOnly);
    QVERIFY(!(filter & QDir::Files));
    QCOMPARE(picker.directoryLabel()->text(), folder);
    QVERIFY(picker.directoryRadio()->isChecked());
    QTest::ignoreMessage(QtDebugMsg, "_onClickOkButton(2)");
    QTest::mouseClick(picker.okButton(), Qt::LeftButton);
    QCOMPARE(picker.getType(), 1);
    QCOMPARE(picker.getSelectedPath(), folder);

    _onChooser(picker, [](QFileDialog* chooser) { chooser->reject(); });
    QTest::mouseClick(picker.directoryButton(), Qt::LeftButton);
    QCOMPARE(picker.directoryLabel()->text(), QString());
}

void TestFilePicker::choosingADriveChecksDrives() {
    KvFilePickerDialog picker;
    picker.show();
    picker.fillDriveBox({KvVolume("/media/u/CAM", "CAM", "vfat", 1000)});
    QCOMPARE(picker.driveBox()->count(), 2);
    QTest::mouseClick(picker.filesRadio(), Qt::LeftButton);
    QCOMPARE(_storedIndex(), 1);
    picker.driveBox()->setCurrentIndex(1);
    QVERIFY(picker.drivesRadio()->isChecked());
    QCOMPARE(picker.getType(), 2);
    QCOMPARE(picker.getSelectedPath(), QString("/media/u/CAM/"));
    // Choosing a drive is not a click on the radio buttons: the stored choice stays.
    QCOMPARE(_storedIndex(), 1);
}

void TestFilePicker::volumesOfferedCardsFirst() {
    QTemporaryDir volumes;
    QVERIFY(QDir().mkpath(volumes.filePath("card/DCIM")));
    QVERIFY(QDir().mkpath(volumes.filePath("frontcard/FRONT")));
    QVERIFY(QDir().mkpath(volumes.filePath("stick/Music")));
    const QString card = volumes.filePath("card");
    const QString front = volumes.filePath("frontcard");
    const QString stick = volumes.filePath("stick");
    const QList<KvVolume> mounted{
        KvVolume("/", "", "ext4", 100),
        KvVolume(stick, "STICK", "exfat", 100),
        KvVolume("/boot/efi", "", "vfat", 100),
        KvVolume("/snap/core/1", "", "squashfs", 100, true),
        KvVolume("/run/user/0", "", "tmpfs", 100),
        KvVolume("/home", "", "ext4", 100),
        KvVolume("/mnt/backup", "BACKUP", "ext4", 100),
        KvVolume(card, "CARD", "vfat", 100),
        KvVolume("/run/media/u/DVD", "DVD", "iso9660", 100, true),
        KvVolume(front, "", "ntfs3", 100),
        KvVolume(card + "/", "CARD", "vfat", 100),
    };
    QStringList paths;
    for (const KvVolume& volume : KvVolume::pickerVolumes({"/"}, mounted)) {
        paths.append(volume.itemPath());
    }
    QCOMPARE(paths, (QStringList{card + "/", front + "/", "/", stick + "/", "/mnt/backup/",
                                 "/run/media/u/DVD/"}));
    QVERIFY(KvVolume(card, "", "", 0).isCard());
    QVERIFY(!KvVolume(stick, "", "", 0).isCard());
    // What the picker's list shows, in the same order.
    KvFilePickerDialog picker;
    picker.fillDriveBox(mounted);
    QStringList items;
    for (int i = 0; i < picker.driveBox()->count(); ++i) {
        items.append(picker.driveBox()->itemText(i));
    }
    QCOMPARE(items, paths);
    QCOMPARE(picker.driveBox()->currentText(), card + "/");
}

void TestFilePicker::volumeItemsShowNameAndSize() {
    const qint64 size = qint64(31914983424);
    const KvVolume card("/media/u/SD CARD", "SD CARD", "vfat", size);
    QCOMPARE(card.toolTip(), QStringLiteral("SD CARD (%1)").arg(QLocale().formattedDataSize(size)));
    QCOMPARE(KvVolume("/media/u/X", "", "vfat", 0).toolTip(), QString("/media/u/X"));
    KvFilePickerDialog picker;
    picker.fillDriveBox({KvVolume("/", "root", "ext4", 1000), card});
    QCOMPARE(picker.driveBox()->itemText(0), QString("/"));
    QCOMPARE(picker.driveBox()->itemData(0, Qt::ToolTipRole).toString(),
             QStringLiteral("root (%1)").arg(QLocale().formattedDataSize(1000)));
    QCOMPARE(picker.driveBox()->itemText(1), QString("/media/u/SD CARD/"));
    QCOMPARE(picker.driveBox()->itemData(1, Qt::ToolTipRole).toString(), card.toolTip());
}

void TestFilePicker::realVolumesListTheRoot() {
    KvFilePickerDialog picker;
    QVERIFY(picker.driveBox()->count() >= 1);
    QVERIFY(picker.driveBox()->findText("/") >= 0);
    for (const KvVolume& volume : KvVolume::mountedVolumes()) {
        QVERIFY(!volume.rootPath.isEmpty());
    }
}

void TestFilePicker::textsFramesAndLayout() {
    KvFilePickerDialog picker;
    // No language installed: every text shows its key.
    QCOMPARE(picker.windowTitle(), QString("select_files"));
    QCOMPARE(picker.drivesRadio()->text(), QString("drives"));
    QCOMPARE(picker.filesRadio()->text(), QString("files"));
    QCOMPARE(picker.directoryRadio()->text(), QString("directory"));
    QCOMPARE(picker.fileButton()->text(), QString("..."));
    QCOMPARE(picker.directoryButton()->text(), QString("..."));
    QCOMPARE(picker.okButton()->text(), QString("ok"));
    QCOMPARE(picker.cancelButton()->text(), QString("cancel"));
    QCOMPARE(picker.buttonGroup()->id(picker.drivesRadio()), 0);
    QCOMPARE(picker.buttonGroup()->id(picker.filesRadio()), 1);
    QCOMPARE(picker.buttonGroup()->id(picker.directoryRadio()), 2);
    for (QLabel* label : {picker.fileLabel(), picker.directoryLabel()}) {
        QCOMPARE(label->frameShape(), QFrame::Box);
        QCOMPARE(label->styleSheet(),
                 QString("border-width: 1px;border-style: solid;border-color: rgb(200, 200, "
                         "200);"));
    }
    QVERIFY(picker.windowFlags() & Qt::WindowCloseButtonHint);
    QVERIFY(!(picker.windowFlags() & Qt::WindowContextHelpButtonHint));
    picker.show();
    QCOMPARE(picker.size(), QSize(700, 220));
    for (const QSize& size : {QSize(700, 220), QSize(900, 300)}) {
        picker.resize(size);
        const int w = size.width();
        const int h = size.height();
        auto rect = [](int l, int t, int r, int b) { return QRect(QPoint(l, t), QPoint(r, b)); };
        QCOMPARE(picker.drivesRadio()->geometry(), rect(15, 40, 114, 64));
        QCOMPARE(picker.filesRadio()->geometry(), rect(15, 80, 114, 104));
        QCOMPARE(picker.directoryRadio()->geometry(), rect(15, 120, 114, 144));
        QCOMPARE(picker.driveBox()->geometry(), rect(200, 40, 399, 64));
        QCOMPARE(picker.fileLabel()->geometry(), rect(200, 80, w - 161, 104));
        QCOMPARE(picker.directoryLabel()->geometry(), rect(200, 120, w - 161, 144));
        QCOMPARE(picker.fileButton()->geometry(), rect(w - 155, 80, w - 106, 104));
        QCOMPARE(picker.directoryButton()->geometry(), rect(w - 155, 120, w - 106, 144));
        QCOMPARE(picker.okButton()->geometry(), rect(w - 230, h - 35, w - 131, h - 11));
        QCOMPARE(picker.cancelButton()->geometry(), rect(w - 120, h - 35, w - 21, h - 11));
    }
}

KV_TEST_MAIN(TestFilePicker)
#include "tst_filepicker.moc"
