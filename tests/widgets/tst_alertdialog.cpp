#include "KvAlertDialog.h"
#include "KvTestMain.h"

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

// Where the label draws its text: its word-wrapped extent, centred in its margins.
QRect textRect(const QLabel* label) {
    return label->fontMetrics().boundingRect(
        label->contentsRect(), int(label->alignment()) | Qt::TextWordWrap, label->text());
}

// The label shows all of its text: inside the label, clear of the close button.
void verifyTextFits(const KvAlertDialog& alert) {
    const QLabel* label = alert.contentLabel();
    const QRect text = textRect(label);
    QVERIFY2(label->contentsRect().contains(text),
             qPrintable(QStringLiteral("text %1,%2 %3x%4 in %5x%6")
                            .arg(text.x())
                            .arg(text.y())
                            .arg(text.width())
                            .arg(text.height())
                            .arg(label->contentsRect().width())
                            .arg(label->contentsRect().height())));
    QVERIFY(!text.intersects(alert.closeButton()->geometry()));
    QCOMPARE(label->geometry(), alert.rect());
}

// A sentence about a file deep in folders with long names, as an export writes it.
QString longPathSentence(const QString& folderName, int depth) {
    QString path = QStringLiteral("/home/driver");
    for (int i = 0; i < depth; ++i) {
        path += QLatin1Char('/') + folderName + QString::number(i);
    }
    return QStringLiteral("1234 GPS fixes written to ") + path + QStringLiteral("/Unfall.gpx");
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
    void shortMessageKeepsTheSize();
    void longSentenceShowsWhole_data();
    void longSentenceShowsWhole();
    void unbreakableNameIsElidedInTheMiddle();
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

void TestAlertDialog::shortMessageKeepsTheSize() {
    KvAlertDialog alert;
    alert.setContentText("Card removed");
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    QCOMPARE(alert.size(), QSize(320, 180));
    QCOMPARE(alert.contentLabel()->text(), QString("Card removed"));
    QVERIFY(alert.contentLabel()->toolTip().isEmpty());
    verifyTextFits(alert);
}

void TestAlertDialog::longSentenceShowsWhole_data() {
    QTest::addColumn<QString>("sentence");
    QTest::newRow("path with spaces")
        << longPathSentence(QStringLiteral("Unfall vom 23. November auf der A9 "), 4);
    QTest::newRow("path without spaces")
        << longPathSentence(QStringLiteral("Versicherungsunterlagen_Schadensfall_"), 6);
    QTest::newRow("many words") << QString("The track could not be written: ").repeated(8);
}

// A message longer than the box was cut at both ends; now the box grows and wraps it.
void TestAlertDialog::longSentenceShowsWhole() {
    QFETCH(QString, sentence);
    QWidget window;
    window.resize(800, 500);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    KvAlertDialog alert(&window);
    alert.setContentText(sentence);
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    QCOMPARE(alert.contentLabel()->text(), sentence);
    QVERIFY(alert.width() >= 320 && alert.width() <= KvAlertDialog::MaximumWidth);
    QVERIFY(alert.height() >= 180);
    verifyTextFits(alert);
    // Drawn from its first word to its last: the ends of the text are inside the box.
    const QImage image = alert.grab().toImage();
    const QRect text = textRect(alert.contentLabel());
    int bright = 0;
    for (int y = text.top(); y <= text.bottom(); ++y) {
        for (int x = text.left(); x <= text.right(); ++x) {
            bright += isWhitish(image.pixel(x, y)) ? 1 : 0;
        }
    }
    QVERIFY(bright > sentence.size());
}

// A file name too long for the widest box is shortened in its middle, so the sentence around it
// still shows whole; the whole sentence is the tooltip.
void TestAlertDialog::unbreakableNameIsElidedInTheMiddle() {
    const QString name = QString("Schadensfall").repeated(20) + QStringLiteral(".gpx");
    const QString sentence = QStringLiteral("812 GPS fixes written to ") + name;
    KvAlertDialog alert;
    alert.setContentText(sentence);
    alert.show();
    QVERIFY(QTest::qWaitForWindowExposed(&alert));
    const QString shown = alert.contentLabel()->text();
    QVERIFY(shown.startsWith(QStringLiteral("812 GPS fixes written to Schadensfall")));
    QVERIFY(shown.endsWith(QStringLiteral("Schadensfall.gpx")));
    QVERIFY(shown.contains(QChar(0x2026)));
    QCOMPARE(alert.contentLabel()->toolTip(), sentence);
    QVERIFY(alert.width() > 320 && alert.width() <= KvAlertDialog::MaximumWidth);
    verifyTextFits(alert);
}

KV_TEST_MAIN(TestAlertDialog)
#include "tst_alertdialog.moc"
