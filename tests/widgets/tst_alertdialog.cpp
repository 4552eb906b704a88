#include "KvTestMain.h"
#include "KvAlertDialog.h"

#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

namespace {

constexpr int kWatchdogMs = 10000;

const char* const kCloseButtonStyle =
    "QPushButton{border-image: url(:resource/exit_normal.png);}"
    "QPushButton:hover{border-image: url(:resource/exit_hover.png);}"
    "QPushButton:pressed{border-image: url(:resource/exit_pressed.png);}";

bool isWhitish(QRgb pixel) {
    return qRed(pixel) > 200 && qGreen(pixel) > 200 && qBlue(pixel) > 200;
}

} // namespace

class TestAlertDialog : public QObject {
    Q_OBJECT
private slots:
    void construction();
    void layout();
    void closeButtonShowsItsImage();
    void dismissAfterClosesItselfAndLogs();
    void escapeAndReturnDoNotClose();
    void clickOnCloseButtonAccepts();
    void stopTimerCancelsTheDismissal();
    void secondDismissAfterReplacesTheFirst();
};

void TestAlertDialog::construction() {
    KvAlertDialog alert;
    QCOMPARE(alert.size(), QSize(320, 180));
    QVERIFY(alert.windowFlags() & Qt::FramelessWindowHint);
    QCOMPARE(alert.windowFlags() & Qt::WindowType_Mask, Qt::Dialog);
    QCOMPARE(alert.styleSheet(), QString("QDialog{background-color:#2b2b2b;}"));
    QCOMPARE(alert.contentLabel()->styleSheet(), QString("color:#ffffff;"));
    QCOMPARE(alert.contentLabel()->alignment(), Qt::AlignCenter);
    QCOMPARE(alert.closeButton()->styleSheet(), QString(kCloseButtonStyle));
    alert.setContentText("Card removed");
    QCOMPARE(alert.contentLabel()->text(), QString("Card removed"));
}

void TestAlertDialog::layout() {
    KvAlertDialog alert;
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    QCOMPARE(alert.closeButton()->geometry(), QRect(285, 5, 30, 30));
    QCOMPARE(alert.contentLabel()->geometry(), QRect(0, 0, 320, 180));
    alert.resize(400, 200);
    QCOMPARE(alert.closeButton()->geometry(), QRect(365, 5, 30, 30));
    QCOMPARE(alert.contentLabel()->geometry(), QRect(0, 0, 400, 200));
}

void TestAlertDialog::closeButtonShowsItsImage() {
    // The close button's style sheet names images of the resource file; a white cross in the
    // middle of the button proves they load.
    KvAlertDialog alert;
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    const QImage image = alert.grab().toImage();
    const QRect button = alert.closeButton()->geometry();
    QVERIFY(isWhitish(image.pixel(button.center())));
    // The dialog background around it.
    const QRgb background = image.pixel(button.left() - 10, button.bottom() + 10);
    QCOMPARE(QColor(background).name(), QString("#2b2b2b"));
}

void TestAlertDialog::dismissAfterClosesItselfAndLogs() {
    KvAlertDialog alert;
    alert.dismissAfter(2000);
    bool watchdogFired = false;
    QTimer::singleShot(kWatchdogMs, &alert, [&] {
        watchdogFired = true;
        alert.reject();
    });
    QTest::ignoreMessage(QtDebugMsg, "close accept()");
    QElapsedTimer clock;
    clock.start();
    const int result = alert.exec();
    const qint64 elapsed = clock.elapsed();
    QVERIFY(!watchdogFired);
    QCOMPARE(result, int(QDialog::Accepted));
    QVERIFY2(elapsed >= 1950 && elapsed < 4000, qPrintable(QString::number(elapsed)));
}

void TestAlertDialog::escapeAndReturnDoNotClose() {
    KvAlertDialog alert;
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    alert.activateWindow();

    QTest::ignoreMessage(QtDebugMsg, QString("Alert %1").arg(int(Qt::Key_Escape)).toLatin1());
    QTest::keyClick(&alert, Qt::Key_Escape);
    QVERIFY(alert.isVisible());

    QTest::ignoreMessage(QtDebugMsg, QString("Alert %1").arg(int(Qt::Key_Return)).toLatin1());
    QTest::keyClick(&alert, Qt::Key_Return);
    QVERIFY(alert.isVisible());

    // Keys never go to the close button, where Return would click it.
    QCOMPARE(alert.closeButton()->focusPolicy(), Qt::NoFocus);
    QCOMPARE(alert.result(), 0);
}

void TestAlertDialog::clickOnCloseButtonAccepts() {
    KvAlertDialog alert;
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    QTest::ignoreMessage(QtDebugMsg, "close accept()");
    QTest::mouseClick(alert.closeButton(), Qt::LeftButton);
    QVERIFY(!alert.isVisible());
    QCOMPARE(alert.result(), int(QDialog::Accepted));
}

void TestAlertDialog::stopTimerCancelsTheDismissal() {
    KvAlertDialog alert;
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    alert.dismissAfter(50);
    alert.stopTimer();
    QTest::qWait(300);
    QVERIFY(alert.isVisible());
    alert.stopTimer(); // no timer: nothing happens
}

void TestAlertDialog::secondDismissAfterReplacesTheFirst() {
    KvAlertDialog alert;
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    alert.dismissAfter(50);
    alert.dismissAfter(600);
    QTest::qWait(300);
    QVERIFY(alert.isVisible());
    QTest::ignoreMessage(QtDebugMsg, "close accept()");
    QTRY_VERIFY(!alert.isVisible());
    QTRY_COMPARE(alert.findChildren<QTimer*>().size(), 0);
}

KV_TEST_MAIN(TestAlertDialog)
#include "tst_alertdialog.moc"
