// KvKeyboardGrab on a plain top-level widget under Xvfb: the grab is taken at once, held while
// the widget is the active window, and handed to a modal dialog, a message box and a popup menu
// while they run, so that the keys a person types reach them; it comes back when the widget is
// active again. Keys are delivered through the window system's path (to the QWindow the person
// types into), which is where a keyboard grab redirects them.

#include "KvDialogAnswers.h"
#include "KvKeyboardGrab.h"
#include "KvTestMain.h"

#include <QAction>
#include <QDialog>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QtTest>

#include <functional>
#include <memory>

namespace {
// Counts the key presses a widget receives.
class KeyCounter : public QObject {
public:
    int presses = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            ++presses;
        }
        return false;
    }
};

// Types keys into a window as the window system delivers them.
void type(QWindow* window, std::initializer_list<Qt::Key> keys) {
    for (Qt::Key key : keys) {
        QTest::keyClick(window, key);
    }
}
} // namespace

class TestKeyboardGrab : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void takenAtOnceAndHeldWhileActive();
    void anotherActiveWindowGetsTheKeyboard();
    void modalDialogGetsItsKeys();
    void messageBoxAnswersReturn();
    void popupMenuGetsItsKeys();

private:
    void _activate(QWidget* window);

    std::unique_ptr<QWidget> _window;
    KvKeyboardGrab* _grab = nullptr;
    KeyCounter _windowKeys;
};

void TestKeyboardGrab::init() {
    _window = std::make_unique<QWidget>();
    _window->resize(400, 300);
    _window->installEventFilter(&_windowKeys);
    _windowKeys.presses = 0;
    _grab = new KvKeyboardGrab(_window.get());
}

void TestKeyboardGrab::cleanup() {
    _window.reset();
}

void TestKeyboardGrab::_activate(QWidget* window) {
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    // There is no window manager under Xvfb: activate as one would, and ask again until the X
    // server has moved the input focus (a request made while another window still takes it
    // over can be lost).
    QVERIFY(QTest::qWaitFor(
        [window] {
            if (QGuiApplication::focusWindow() == window->windowHandle()) {
                return true;
            }
            window->raise();
            window->activateWindow();
            return false;
        },
        5000));
}

void TestKeyboardGrab::takenAtOnceAndHeldWhileActive() {
    QCOMPARE(QWidget::keyboardGrabber(), _window.get());
    QVERIFY(_grab->isHeld());
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
    // A key typed into the window reaches it.
    type(_window->windowHandle(), {Qt::Key_Space});
    QCOMPARE(_windowKeys.presses, 1);
}

void TestKeyboardGrab::anotherActiveWindowGetsTheKeyboard() {
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
    QWidget other;
    auto* edit = new QLineEdit(&other);
    other.resize(200, 100);
    _activate(&other);
    QTRY_VERIFY(!_grab->isHeld());
    QVERIFY(QWidget::keyboardGrabber() == nullptr);
    edit->setFocus();
    type(other.windowHandle(), {Qt::Key_O, Qt::Key_K});
    QCOMPARE(edit->text(), QStringLiteral("ok"));
    QCOMPARE(_windowKeys.presses, 0);
    // Back in front: the window holds the keyboard again.
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
}

void TestKeyboardGrab::modalDialogGetsItsKeys() {
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
    QDialog dialog(_window.get());
    auto* edit = new QLineEdit(&dialog);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(edit);
    bool grabbedWhileShown = true;
    QString typed;
    answerWhenShown([&dialog] { return dialog.isVisible() ? &dialog : nullptr; },
                    [&](QWidget*) {
                        grabbedWhileShown = _grab->isHeld();
                        edit->setFocus();
                        type(dialog.windowHandle(), {Qt::Key_A, Qt::Key_B, Qt::Key_C});
                        typed = edit->text();
                        type(dialog.windowHandle(), {Qt::Key_Escape});
                        // Keys that went elsewhere must fail the test, not hang it.
                        if (dialog.isVisible()) {
                            dialog.accept();
                        }
                    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(!grabbedWhileShown);
    QCOMPARE(typed, QStringLiteral("abc"));
    QCOMPARE(_windowKeys.presses, 0);
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
}

void TestKeyboardGrab::messageBoxAnswersReturn() {
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
    QMessageBox box(_window.get());
    QPushButton* yes = box.addButton(QStringLiteral("Yes"), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("No"), QMessageBox::RejectRole);
    box.setDefaultButton(yes);
    bool closedByKey = false;
    answerWhenShown([&box] { return box.isVisible() ? &box : nullptr; },
                    [&](QWidget*) {
                        type(box.windowHandle(), {Qt::Key_Return});
                        closedByKey = !box.isVisible();
                        if (box.isVisible()) {
                            box.reject();
                        }
                    });
    box.exec();
    QVERIFY(closedByKey);
    QCOMPARE(box.clickedButton(), yes);
}

void TestKeyboardGrab::popupMenuGetsItsKeys() {
    _activate(_window.get());
    QTRY_VERIFY(_grab->isHeld());
    QMenu menu(_window.get());
    QAction* first = menu.addAction(QStringLiteral("first"));
    QAction* second = menu.addAction(QStringLiteral("second"));
    Q_UNUSED(first);
    bool grabbedWhileShown = true;
    answerWhenShown([] { return QApplication::activePopupWidget(); },
                    [&](QWidget* popup) {
                        grabbedWhileShown = _grab->isHeld();
                        type(popup->windowHandle(), {Qt::Key_Down, Qt::Key_Down, Qt::Key_Return});
                        if (popup->isVisible()) {
                            popup->close();
                        }
                    });
    QAction* chosen = menu.exec(_window->mapToGlobal(QPoint(20, 20)));
    QVERIFY(!grabbedWhileShown);
    QCOMPARE(chosen, second);
    QCOMPARE(_windowKeys.presses, 0);
    // The popup has gone; the window is still the active one and takes the keyboard back.
    QTRY_VERIFY(_grab->isHeld());
}

KV_TEST_MAIN(TestKeyboardGrab)
#include "tst_keyboardgrab.moc"
