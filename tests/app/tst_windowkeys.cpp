// The window's keyboard grab with the dialogs it and the playlist open: the real window under
// Xvfb with a window manager (openbox, when installed) deciding which window is active, the
// playlist's context menu, its "copy to folder" chooser and its "delete files" confirmation, the
// open and settings dialogs, with keys delivered as the window system delivers them (to the window
// a person types into).

#include "KvConfigure.h"
#include "KvDialogAnswers.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvVideoListWidget.h"
#include "MainWindow.h"
#include "ToolProcess.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include <clocale>
#include <functional>

namespace {
const QString CardPath = QStringLiteral(KV_TEST_MEDIA_DIR "/card");
} // namespace

class TestWindowKeys : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();
    void playlistDialogsGetTheirKeys();
    void escapeCancelsDeleteFiles();
    void windowDialogsTakeEscape();

private:
    // A copy of the card whose clips the test may delete.
    QString _copyCard();
    // Brings the window in front, as a click on it would, and waits for its keyboard grab.
    void _activate();
    // Opens the playlist's context menu on the first row and picks action with the keyboard.
    void _chooseFromContextMenu(QAction* action, bool* lent);

    MainWindow* _window = nullptr;
    QTemporaryDir _dir;
    QProcess _windowManager;
};

void TestWindowKeys::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
    QVERIFY2(QFileInfo::exists(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4"),
             "the generated test card is missing (CTest fixture test_media)");
    // A desktop has a window manager that decides which window gets the keys; without one the
    // X server gives them to whatever window asks. The test runs alone, so the manager it starts
    // manages only its windows.
    if (QStandardPaths::findExecutable(QStringLiteral("openbox")).isEmpty()) {
        qWarning("openbox is not installed: the keys are tested without a window manager");
        return;
    }
    kvtest::startTool(_windowManager, QStringLiteral("openbox"), {"--sm-disable"});
    QVERIFY(_windowManager.waitForStarted());
    // It takes the screen over within a moment; windows shown before that are adopted anyway.
    QTest::qWait(500);
}

void TestWindowKeys::init() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();
    _window = new MainWindow;
    _window->show();
    QVERIFY(QTest::qWaitForWindowExposed(_window));
}

void TestWindowKeys::cleanup() {
    delete _window;
    _window = nullptr;
}

void TestWindowKeys::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    if (_windowManager.state() != QProcess::NotRunning) {
        _windowManager.terminate();
        _windowManager.waitForFinished(5000);
    }
}

void TestWindowKeys::_activate() {
    _window->activateWindow();
    _window->raise();
    QVERIFY(QTest::qWaitForWindowActive(_window));
    QTRY_COMPARE(QWidget::keyboardGrabber(), static_cast<QWidget*>(_window));
}

void TestWindowKeys::_chooseFromContextMenu(QAction* action, bool* lent) {
    answerWhenPopup([this, action, lent](QMenu* menu) {
        *lent = QWidget::keyboardGrabber() != _window;
        const int steps = menu->actions().indexOf(action) + 1;
        for (int i = 0; i < steps; ++i) {
            QTest::keyClick(menu->windowHandle(), Qt::Key_Down);
        }
        QTest::keyClick(menu->windowHandle(), Qt::Key_Return);
        if (menu->isVisible()) {
            menu->close();
        }
    });
}

QString TestWindowKeys::_copyCard() {
    const QString copy = _dir.filePath(QStringLiteral("Karte ü"));
    for (const char* folder : {"F", "R"}) {
        QDir().mkpath(copy + "/DCIM/" + folder);
        for (const QFileInfo& clip :
             QDir(CardPath + "/DCIM/" + folder).entryInfoList(QDir::Files)) {
            QFile::copy(clip.absoluteFilePath(), copy + "/DCIM/" + folder + "/" + clip.fileName());
        }
    }
    return copy;
}

// The playlist's "copy to folder" chooser and "delete files" confirmation, opened from its
// context menu while the window is the active window, get the keys a person types into them:
// the window lends its keyboard grab to the menu and to each dialog, and takes it back after.
void TestWindowKeys::playlistDialogsGetTheirKeys() {
    const QString card = _copyCard();
    _window->videoList()->addDir(card + "/DCIM/F", true);
    QListWidget* list = _window->videoList()->listWidget();
    QTRY_COMPARE(list->count(), 3);
    _activate();

    bool menuLent = false;
    bool chooserLent = false;
    QString typed;
    bool chooserClosedByEscape = false;
    _chooseFromContextMenu(_window->videoList()->copyToFolderAction(), &menuLent);
    answerModal([&](QWidget* modal) {
        auto* chooser = qobject_cast<QFileDialog*>(modal);
        QVERIFY(chooser);
        chooserLent = QWidget::keyboardGrabber() != _window;
        auto* name = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        QVERIFY(name);
        name->setFocus();
        name->clear();
        for (Qt::Key key : {Qt::Key_X, Qt::Key_Y, Qt::Key_Z}) {
            QTest::keyClick(chooser->windowHandle(), key);
        }
        typed = name->text();
        QTest::keyClick(chooser->windowHandle(), Qt::Key_Escape);
        chooserClosedByEscape = !chooser->isVisible();
        // Keys that went elsewhere must fail the test, not hang it.
        if (chooser->isVisible()) {
            chooser->reject();
        }
    });
    _window->videoList()->onListWidgetContentMenuEvent(list->item(0));
    QVERIFY(menuLent);
    QVERIFY(chooserLent);
    QCOMPARE(typed, QStringLiteral("xyz"));
    QVERIFY(chooserClosedByEscape);

    const QString clip = card + "/DCIM/F/" + QDir(card + "/DCIM/F").entryList(QDir::Files).first();
    bool boxLent = false;
    bool boxClosedByReturn = false;
    _chooseFromContextMenu(_window->videoList()->deleteFilesAction(), &menuLent);
    answerModal([&](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        QVERIFY(box);
        boxLent = QWidget::keyboardGrabber() != _window;
        // Return answers the default button, which keeps the files.
        QTest::keyClick(box->windowHandle(), Qt::Key_Return);
        boxClosedByReturn = !box->isVisible();
        if (box->isVisible()) {
            box->reject();
        }
    });
    _window->videoList()->onListWidgetContentMenuEvent(list->item(0));
    QVERIFY(boxLent);
    QVERIFY(boxClosedByReturn);
    QVERIFY(QFileInfo::exists(clip));
    QCOMPARE(list->count(), 3);

    // In front again, the window holds the keyboard for Space and Escape.
    _activate();
}

// Escape answers "Delete files..." with no: the files stay and so does the row.
void TestWindowKeys::escapeCancelsDeleteFiles() {
    const QString card = _copyCard();
    _window->videoList()->addDir(card + "/DCIM/F", true);
    QListWidget* list = _window->videoList()->listWidget();
    QTRY_COMPARE(list->count(), 3);
    _activate();
    const QStringList clips = QDir(card + "/DCIM/F").entryList(QDir::Files);
    bool menuLent = false;
    bool closedByEscape = false;
    _chooseFromContextMenu(_window->videoList()->deleteFilesAction(), &menuLent);
    answerModal([&](QWidget* modal) {
        QVERIFY(qobject_cast<QMessageBox*>(modal));
        QTest::keyClick(modal->windowHandle(), Qt::Key_Escape);
        closedByEscape = !modal->isVisible();
        if (modal->isVisible()) {
            static_cast<QDialog*>(modal)->reject();
        }
    });
    _window->videoList()->onListWidgetContentMenuEvent(list->item(0));
    QVERIFY(menuLent);
    QVERIFY(closedByEscape);
    QCOMPARE(QDir(card + "/DCIM/F").entryList(QDir::Files), clips);
    QCOMPARE(list->count(), 3);
    _activate();
}

// The open and settings dialogs the window's buttons show take the keys while they are up (the
// window has lent them its grab, so its own Space and Escape wait), and Escape closes them.
void TestWindowKeys::windowDialogsTakeEscape() {
    for (QPushButton* button : {_window->openButton(), _window->settingsButton()}) {
        _activate();
        bool lent = false;
        bool closedByEscape = false;
        answerModal([&](QWidget* modal) {
            lent = QWidget::keyboardGrabber() != _window;
            QTest::keyClick(modal->windowHandle(), Qt::Key_Escape);
            closedByEscape = !modal->isVisible();
            if (modal->isVisible()) {
                static_cast<QDialog*>(modal)->reject();
            }
        });
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY2(lent, qPrintable(button->objectName()));
        QVERIFY2(closedByEscape, qPrintable(button->objectName()));
    }
    _activate();
}

int main(int argc, char** argv) {
    // The map's web view and the OpenGL video views share contexts, as in the player's main().
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setOrganizationName(QStringLiteral("dashcam-player"));
    QCoreApplication::setApplicationName(QStringLiteral("dashcam-player"));
    TestWindowKeys test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_windowkeys.moc"
