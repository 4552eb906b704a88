// The window's keyboard grab with the dialogs the playlist opens: the real window under Xvfb,
// the playlist's context menu, its "copy to folder" chooser and its "delete files" confirmation,
// with keys delivered as the window system delivers them (to the window a person types into).

#include "KvConfigure.h"
#include "KvDialogAnswers.h"
#include "KvFileUtils.h"
#include "KvListWidget.h"
#include "KvVideoListWidget.h"
#include "MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
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

private:
    // A copy of the card whose clips the test may delete.
    QString _copyCard();

    MainWindow* _window = nullptr;
    QTemporaryDir _dir;
};

void TestWindowKeys::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
    QVERIFY2(QFileInfo::exists(CardPath + "/DCIM/F/2026_0315_101500_001F.MP4"),
             "the generated test card is missing (CTest fixture test_media)");
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
    // There is no window manager under Xvfb: activate the window as one would.
    _window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(_window));
    QTRY_COMPARE(QWidget::keyboardGrabber(), static_cast<QWidget*>(_window));

    // Chooses the action from the menu with the keyboard, through the menu's window.
    auto chooseFromMenu = [this](QAction* action, bool* lent) {
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
    };

    bool menuLent = false;
    bool chooserLent = false;
    QString typed;
    bool chooserClosedByEscape = false;
    chooseFromMenu(_window->videoList()->copyToFolderAction(), &menuLent);
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
    chooseFromMenu(_window->videoList()->deleteFilesAction(), &menuLent);
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
    _window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(_window));
    QTRY_COMPARE(QWidget::keyboardGrabber(), static_cast<QWidget*>(_window));
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
