#include "KvTestMain.h"
#include "MainWindow.h"

#include <QScreen>
#include <QtTest>

class TestMainWindow : public QObject {
    Q_OBJECT
private slots:
    void minimumSizeAndCentred();
};

void TestMainWindow::minimumSizeAndCentred() {
    MainWindow window;
    QCOMPARE(window.minimumSize(), QSize(1280, 720));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.width() >= 1280);
    QVERIFY(window.height() >= 720);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    if (screen.width() >= window.width()) {
        // Centred on the screen, up to the frame the window manager may add.
        QVERIFY(qAbs(window.x() - (screen.width() - window.width()) / 2) <= 20);
    }
    const QImage shot = window.grab().toImage();
    QCOMPARE(shot.size(), window.size());
}

KV_TEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
