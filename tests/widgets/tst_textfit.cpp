// A text in a place of fixed width: drawn as it is when it fits, else in a smaller font down to
// 80% of its size, and only then cut with an ellipsis; the fitted label and buttons draw exactly
// that, keep their whole text, and offer it as the tool tip when they show less of it.

#include "KvFitButton.h"
#include "KvFitComboBox.h"
#include "KvFitLabel.h"
#include "KvTestMain.h"
#include "KvTextFit.h"
#include "KvToolTipProbe.h"

#include <QHelpEvent>
#include <QStyleOptionComboBox>
#include <QToolTip>
#include <QtTest>

#include <cmath>

namespace {

const QString LongText = QStringLiteral("Geschwindigkeitseinheit");
const QString Ellipsis = QString(QChar(0x2026));

QFont pixelFont(int size) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(size);
    return font;
}

int advance(const QString& text, const QFont& font) {
    return QFontMetrics(font).horizontalAdvance(text);
}

// Two widgets side by side on one parent, to compare how they draw.
struct Pair {
    QWidget parent;
    QWidget* fitted = nullptr;
    QWidget* plain = nullptr;

    void show(const QSize& size, const QString& styleSheet = QString()) {
        parent.setStyleSheet(styleSheet);
        // Neither takes the focus, whose frame would tell them apart.
        fitted->setFocusPolicy(Qt::NoFocus);
        plain->setFocusPolicy(Qt::NoFocus);
        parent.resize(2 * size.width() + 10, size.height());
        fitted->setGeometry(QRect(QPoint(0, 0), size));
        plain->setGeometry(QRect(QPoint(size.width() + 10, 0), size));
        parent.show();
    }
    bool drawAlike() {
        if (!QTest::qWaitForWindowExposed(&parent)) {
            return false;
        }
        return fitted->grab().toImage() == plain->grab().toImage();
    }
};

} // namespace

class TestTextFit : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();

    void textThatFitsStaysAsItIs();
    void widerTextIsDrawnSmallerFirst();
    void textTooWideAtTheSmallestSizeIsCut();
    void pointSizedFontShrinksToEightyPercent();
    void noRoomShowsNothing();

    void labelDrawsTheFitAndKeepsItsWholeText();
    void labelThatFitsDrawsAsAPlainLabel();
    void labelRefitsWhenItsTextOrWidthChanges();
    void radioButtonDrawsTheFitBesideItsIndicator();
    void pushButtonWithStyleSheetDrawsTheFit();
    void comboBoxDrawsItsChosenEntryFitted();
    void reducedTextsOfferTheWholeTextAsToolTip();
};

void TestTextFit::initTestCase() {
    if (QFontInfo(pixelFont(14)).family() != QLatin1String("DejaVu Sans")) {
        QSKIP("the tests measure with DejaVu Sans, which is not installed");
    }
}

void TestTextFit::textThatFitsStaysAsItIs() {
    const QFont font = pixelFont(14);
    const int width = advance(LongText, font);
    const KvTextFit fit = KvTextFit::fit(LongText, font, width);
    QCOMPARE(fit.text(), LongText);
    QCOMPARE(fit.font(), font);
    QVERIFY(!fit.reduced());
}

void TestTextFit::widerTextIsDrawnSmallerFirst() {
    const QFont font = pixelFont(14);
    // Room for the whole text one pixel size smaller, not in its own.
    const int width = advance(LongText, pixelFont(13));
    QVERIFY(advance(LongText, font) > width);
    const KvTextFit fit = KvTextFit::fit(LongText, font, width);
    QCOMPARE(fit.text(), LongText);
    QCOMPARE(fit.font().pixelSize(), 13);
    QCOMPARE(fit.font().family(), font.family());
    QVERIFY(fit.shrunk());
    QVERIFY(!fit.elided());
}

void TestTextFit::textTooWideAtTheSmallestSizeIsCut() {
    const QFont font = pixelFont(14);
    // 80% of 14 pixels is 11.2: whole pixels stop at 12, never below 80%.
    const int width = advance(LongText, pixelFont(12)) - 1;
    const KvTextFit fit = KvTextFit::fit(LongText, font, width);
    QCOMPARE(fit.font().pixelSize(), 12);
    QVERIFY(fit.shrunk());
    QVERIFY(fit.elided());
    QVERIFY(fit.text().endsWith(Ellipsis));
    QVERIFY(LongText.startsWith(fit.text().chopped(1)));
    QVERIFY(advance(fit.text(), fit.font()) <= width);
    // As much of the text as the room takes: one more letter would not fit.
    const QString more = LongText.left(fit.text().size()) + Ellipsis;
    QVERIFY(advance(more, fit.font()) > width);
}

void TestTextFit::pointSizedFontShrinksToEightyPercent() {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(10.0);
    QFont smallest(font);
    smallest.setPointSizeF(8.0);
    const int justFits = advance(LongText, smallest);
    const KvTextFit fits = KvTextFit::fit(LongText, font, justFits);
    QCOMPARE(fits.text(), LongText);
    QVERIFY(fits.font().pointSizeF() >= 8.0);
    QVERIFY(fits.font().pointSizeF() < 10.0);
    QVERIFY(advance(LongText, fits.font()) <= justFits);
    const KvTextFit cut = KvTextFit::fit(LongText, font, justFits / 2);
    QCOMPARE(cut.font().pointSizeF(), 8.0);
    QVERIFY(cut.elided());
    QVERIFY(advance(cut.text(), cut.font()) <= justFits / 2);
}

void TestTextFit::noRoomShowsNothing() {
    const KvTextFit fit = KvTextFit::fit(LongText, pixelFont(14), 0);
    QVERIFY(fit.text().isEmpty());
    QVERIFY(fit.elided());
    QVERIFY(!KvTextFit::fit(QString(), pixelFont(14), 0).reduced());
}

void TestTextFit::labelDrawsTheFitAndKeepsItsWholeText() {
    // A right-aligned caption as the settings dialog has them, one that needs the smaller font.
    const QSize size(advance(LongText, pixelFont(13)) + 1, 20);
    Pair pair;
    auto* fitted = new KvFitLabel(&pair.parent);
    auto* plain = new QLabel(&pair.parent);
    pair.fitted = fitted;
    pair.plain = plain;
    pair.parent.setFont(pixelFont(14));
    fitted->setText(LongText);
    fitted->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    pair.show(size, QStringLiteral("QLabel{color:#ffffff;background:#757575}"));
    const KvTextFit shown = fitted->shownText();
    QVERIFY(shown.shrunk());
    QCOMPARE(fitted->text(), LongText);
    QVERIFY(advance(shown.text(), shown.font()) <= fitted->contentsRect().width());
    // It looks exactly like a plain label given the fitted text in the fitted font.
    plain->setText(shown.text());
    plain->setFont(shown.font());
    plain->setAlignment(fitted->alignment());
    QVERIFY(pair.drawAlike());
    // Where a plain label with the whole text would lose its beginning.
    plain->setText(LongText);
    plain->setFont(pixelFont(14));
    QVERIFY(!pair.drawAlike());
}

void TestTextFit::labelThatFitsDrawsAsAPlainLabel() {
    Pair pair;
    auto* fitted = new KvFitLabel(&pair.parent);
    auto* plain = new QLabel(&pair.parent);
    pair.fitted = fitted;
    pair.plain = plain;
    fitted->setText(QStringLiteral("Sprache"));
    plain->setText(QStringLiteral("Sprache"));
    pair.show(QSize(150, 30), QStringLiteral("QLabel{color:#ffffff;background:#757575}"));
    QVERIFY(!fitted->shownText().reduced());
    QVERIFY(pair.drawAlike());
}

void TestTextFit::labelRefitsWhenItsTextOrWidthChanges() {
    QWidget parent;
    parent.setFont(pixelFont(14));
    auto* label = new KvFitLabel(&parent);
    label->setGeometry(0, 0, 150, 20);
    label->setText(QStringLiteral("Sprache"));
    QVERIFY(!label->shownText().reduced());
    label->setText(LongText + LongText);
    QVERIFY(label->shownText().elided());
    label->resize(advance(LongText + LongText, pixelFont(14)) + 1, 20);
    QVERIFY(!label->shownText().reduced());
    QCOMPARE(label->shownText().text(), LongText + LongText);
}

void TestTextFit::radioButtonDrawsTheFitBesideItsIndicator() {
    Pair pair;
    auto* fitted = new KvFitRadioButton(&pair.parent);
    auto* plain = new QRadioButton(&pair.parent);
    pair.fitted = fitted;
    pair.plain = plain;
    pair.parent.setFont(pixelFont(14));
    const QString text = QStringLiteral("Nessuna correzione");
    fitted->setText(text);
    // Side by side on one parent, each keeps its own check.
    fitted->setAutoExclusive(false);
    plain->setAutoExclusive(false);
    fitted->setChecked(true);
    plain->setChecked(true);
    pair.show(QSize(120, 20));
    const KvTextFit shown = fitted->shownText();
    QVERIFY(shown.reduced());
    QCOMPARE(fitted->text(), text);
    QStyleOptionButton option;
    option.initFrom(fitted);
    const int room =
        fitted->style()->subElementRect(QStyle::SE_RadioButtonContents, &option, fitted).width();
    QVERIFY(room < fitted->width());
    QVERIFY(advance(shown.text(), shown.font()) <= room);
    plain->setText(shown.text());
    plain->setFont(shown.font());
    QVERIFY(pair.drawAlike());
}

void TestTextFit::pushButtonWithStyleSheetDrawsTheFit() {
    Pair pair;
    auto* fitted = new KvFitPushButton(&pair.parent);
    auto* plain = new QPushButton(&pair.parent);
    pair.fitted = fitted;
    pair.plain = plain;
    pair.parent.setFont(pixelFont(14));
    // The settings dialog's OK button.
    const QString sheet =
        QStringLiteral("QPushButton{background:#19a4ff;border-radius:5px;color:#ffffff;};");
    fitted->setStyleSheet(sheet);
    plain->setStyleSheet(sheet);
    fitted->setText(LongText);
    pair.show(QSize(advance(LongText, pixelFont(12)) - 10, 30));
    const KvTextFit shown = fitted->shownText();
    QVERIFY(shown.elided());
    QCOMPARE(shown.font().pixelSize(), 12);
    plain->setText(shown.text());
    plain->setFont(shown.font());
    QVERIFY(pair.drawAlike());
}

void TestTextFit::comboBoxDrawsItsChosenEntryFitted() {
    Pair pair;
    auto* fitted = new KvFitComboBox(&pair.parent);
    auto* plain = new QComboBox(&pair.parent);
    pair.fitted = fitted;
    pair.plain = plain;
    pair.parent.setFont(pixelFont(14));
    fitted->addItem(QStringLiteral("English"));
    fitted->addItem(LongText);
    fitted->setCurrentIndex(1);
    pair.show(QSize(100, 30));
    const KvTextFit shown = fitted->shownText();
    QVERIFY(shown.reduced());
    QCOMPARE(fitted->currentText(), LongText);
    QStyleOptionComboBox option;
    option.initFrom(fitted);
    const int room =
        fitted->style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, fitted)
            .width();
    QVERIFY(advance(shown.text(), shown.font()) <= room);
    plain->addItem(shown.text());
    plain->setFont(shown.font());
    QVERIFY(pair.drawAlike());
    // An entry that fits is drawn as the plain box draws it.
    fitted->setCurrentIndex(0);
    QVERIFY(!fitted->shownText().reduced());
    plain->setItemText(0, QStringLiteral("English"));
    plain->setFont(pixelFont(14));
    QVERIFY(pair.drawAlike());
}

void TestTextFit::reducedTextsOfferTheWholeTextAsToolTip() {
    QWidget parent;
    parent.setFont(pixelFont(14));
    auto* reduced = new KvFitLabel(&parent);
    reduced->setGeometry(0, 0, 100, 20);
    reduced->setText(LongText);
    auto* whole = new KvFitLabel(&parent);
    whole->setGeometry(0, 20, 300, 20);
    whole->setText(LongText);
    auto* ownTip = new KvFitRadioButton(&parent);
    ownTip->setGeometry(0, 40, 100, 20);
    ownTip->setText(LongText);
    ownTip->setToolTip(QStringLiteral("own"));
    auto* button = new KvFitPushButton(&parent);
    button->setGeometry(0, 60, 100, 20);
    button->setText(LongText);
    parent.resize(300, 80);
    parent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));
    QCOMPARE(toolTipOf(reduced), LongText);
    QCOMPARE(toolTipOf(whole), QString());
    // A tool tip the owner gave the widget stays its tool tip.
    QCOMPARE(toolTipOf(ownTip), QStringLiteral("own"));
    QCOMPARE(toolTipOf(button), LongText);
}

KV_TEST_MAIN(TestTextFit)
#include "tst_textfit.moc"
