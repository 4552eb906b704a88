// Every text of the window, its trip panel, the settings dialog and the file picker keeps to its
// place in each of the eight languages, in the smallest window the player allows: measured in the
// font it is drawn in, each shown text fits the room its widget has for text, and a text drawn
// smaller or cut offers the whole of it as its tool tip.
//
// Set KV_TEXT_SCREENS to a folder to have a picture of the window with the settings dialog over
// it written there for each language (<language>.png).

#include "KvConfigure.h"
#include "KvFilePickerDialog.h"
#include "KvFileUtils.h"
#include "KvLanguage.h"
#include "KvLogCategories.h"
#include "KvSettingDialog.h"
#include "KvTextFit.h"
#include "KvToolTipProbe.h"
#include "MainWindow.h"
#include "VideoInfoView.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QHelpEvent>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QTextDocument>
#include <QToolTip>
#include <QtTest>

#include <algorithm>
#include <clocale>
#include <cmath>

namespace {

// The application font main() sets: a family the desktop may lack, in pixels.
const char* const ApplicationFontFamily = "Calibri light";
constexpr int ApplicationFontPixelSize = 14;

const char* const LanguageNames[] = {"english", "chinese", "french",     "german",
                                     "italian", "polish",  "portuguese", "spanish"};

// The keys whose texts the window's trip panel, the settings dialog and the file picker show.
const char* const ShownKeys[] = {
    // The trip panel's captions.
    "current_latitude", "current_longitude", "current_speed", "max_speed", "average_speed",
    "total_distance",
    // The settings dialog.
    "language", "maps", "baidu_map", "google_map", "speed_unit", "KM/H", "MPH", "gps_correction",
    "correction", "no_correction", "OK",
    // The file picker.
    "drives", "files", "directory", "ok", "cancel"};

// One shown text: where it is, what it says in whole, and how it is drawn.
struct ShownText {
    QWidget* widget = nullptr;
    QString whole;
    QString shown;
    QFont font;
    // The pixels the widget's style leaves for the text.
    int room = 0;
};

QString describe(const ShownText& text) {
    return QStringLiteral("%1 \"%2\" shown as \"%3\" (%4 px of %5 px, room %6, contents %7)")
        .arg(QString::fromLatin1(text.widget->metaObject()->className()), text.whole, text.shown)
        .arg(QFontMetrics(text.font).horizontalAdvance(text.shown))
        .arg(QFontInfo(text.font).pixelSize())
        .arg(text.room)
        .arg(text.widget->contentsRect().width());
}

// The room QLabel leaves for a single line: inside the frame, the margins and the indent.
int labelRoom(const QLabel* label) {
    QRect rect = label->contentsRect().adjusted(label->margin(), label->margin(), -label->margin(),
                                                -label->margin());
    int indent = label->indent();
    if (indent < 0 && label->frameWidth() > 0) {
        indent = label->fontMetrics().horizontalAdvance(QLatin1Char('x')) / 2 - label->margin();
    }
    const Qt::Alignment align =
        QStyle::visualAlignment(label->layoutDirection(), label->alignment());
    if (indent > 0 && (align & Qt::AlignLeft)) {
        rect.setLeft(rect.left() + indent);
    }
    if (indent > 0 && (align & Qt::AlignRight)) {
        rect.setRight(rect.right() - indent);
    }
    return rect.width();
}

// The room a button's style leaves for its text: beside the indicator, or inside the bevel.
int buttonRoom(const QAbstractButton* button) {
    QStyleOptionButton option;
    option.initFrom(button);
    option.text = button->text();
    QStyle::SubElement contents = QStyle::SE_PushButtonContents;
    if (qobject_cast<const QRadioButton*>(button)) {
        contents = QStyle::SE_RadioButtonContents;
    } else if (qobject_cast<const QCheckBox*>(button)) {
        contents = QStyle::SE_CheckBoxContents;
    }
    return button->style()->subElementRect(contents, &option, button).width();
}

// A widget a person sees: shown, with an area, inside a visible window.
bool isShown(const QWidget* widget) {
    return widget->isVisibleTo(widget->window()) && widget->window()->isVisible() &&
           widget->width() > 0 && widget->height() > 0;
}

// Every label's and button's text under root that a person sees, as it is drawn.
QList<ShownText> shownTexts(QWidget* root) {
    QList<ShownText> texts;
    for (QWidget* widget : root->findChildren<QWidget*>()) {
        if (!isShown(widget)) {
            continue;
        }
        ShownText text;
        text.widget = widget;
        if (auto* label = qobject_cast<QLabel*>(widget)) {
            if (label->wordWrap() || Qt::mightBeRichText(label->text())) {
                continue; // flows over lines, not a caption
            }
            text.whole = label->text();
            text.room = labelRoom(label);
        } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            text.whole = button->text();
            text.room = buttonRoom(button);
        } else {
            continue;
        }
        if (text.whole.isEmpty()) {
            continue;
        }
        if (auto* fitted = dynamic_cast<KvFittedText*>(widget)) {
            const KvTextFit fit = fitted->shownText();
            text.shown = fit.text();
            text.font = fit.font();
        } else {
            text.shown = text.whole;
            text.font = widget->font();
        }
        texts.append(text);
    }
    return texts;
}

} // namespace

class TestTranslatedTexts : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();

    void textsKeepToTheirPlaces_data();
    void textsKeepToTheirPlaces();
    void mapChoiceNamesTheTilesItShows_data();
    void mapChoiceNamesTheTilesItShows();

private:
    void _checkFits(const QList<ShownText>& texts);
    void _checkLanguageBox(QComboBox* box);
    void _saveScreen(KvSettingDialog& dialog, const QString& language);

    MainWindow* _window = nullptr;
};

void TestTranslatedTexts::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QDir(KvFileUtils::getRoot()).removeRecursively();
    initConfigures();
    QFont font(QString::fromLatin1(ApplicationFontFamily));
    font.setPixelSize(ApplicationFontPixelSize);
    QApplication::setFont(font);
    _window = new MainWindow;
    _window->resize(MainWindow::MinimumWidth, MainWindow::MinimumHeight);
    _window->show();
    QVERIFY(QTest::qWaitForWindowExposed(_window));
    QCOMPARE(_window->size(), QSize(MainWindow::MinimumWidth, MainWindow::MinimumHeight));
}

void TestTranslatedTexts::cleanupTestCase() {
    delete _window;
    _window = nullptr;
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

void TestTranslatedTexts::textsKeepToTheirPlaces_data() {
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("speedUnit");
    for (const char* name : LanguageNames) {
        // The distance caption names its unit, and miles make it longer.
        QTest::newRow(qPrintable(QStringLiteral("%1 km").arg(name))) << QString(name) << 0;
        QTest::newRow(qPrintable(QStringLiteral("%1 miles").arg(name))) << QString(name) << 1;
    }
}

void TestTranslatedTexts::textsKeepToTheirPlaces() {
    QFETCH(QString, language);
    QFETCH(int, speedUnit);
    // As the settings dialog does it: the setting first, then the window applies it.
    KvConfigure().setString(QStringLiteral("Language"), language);
    KvConfigure().setInt(QStringLiteral("Speed"), speedUnit);
    _window->onSwitchLanguage(language);
    _window->onSwitchSpeedUnit(speedUnit);

    KvSettingDialog dialog;
    dialog.setSettingDelegate(_window);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));

    // The open button's picker: its choices and buttons are translated too.
    KvFilePickerDialog picker;
    picker.show();
    QVERIFY(QTest::qWaitForWindowExposed(&picker));

    QList<ShownText> texts = shownTexts(_window);
    texts += shownTexts(&dialog);
    texts += shownTexts(&picker);
    // The walk reaches every translated caption, choice and button of the panel and the dialog.
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage(language, table));
    QStringList wholeTexts;
    for (const ShownText& text : texts) {
        wholeTexts.append(text.whole);
    }
    for (const char* key : ShownKeys) {
        const QString translated = table.value(QString::fromLatin1(key));
        QVERIFY2(!translated.isEmpty(), key);
        const bool found =
            std::any_of(wholeTexts.begin(), wholeTexts.end(), [&translated](const QString& whole) {
                return whole == translated || whole.startsWith(translated + QLatin1String(" ("));
            });
        QVERIFY2(found,
                 qPrintable(QStringLiteral("%1 (\"%2\") is not shown").arg(key, translated)));
    }
    _checkFits(texts);
    QCOMPARE(dialog.languageBox()->currentText(), table.value(language));
    _checkLanguageBox(dialog.languageBox());
    // The picture shows the window and the settings dialog alone.
    picker.close();
    if (speedUnit == 0) {
        _saveScreen(dialog, language);
    }
}

void TestTranslatedTexts::_checkFits(const QList<ShownText>& texts) {
    for (const ShownText& text : texts) {
        const int advance = QFontMetrics(text.font).horizontalAdvance(text.shown);
        QVERIFY2(advance <= text.widget->contentsRect().width(), qPrintable(describe(text)));
        QVERIFY2(advance <= text.room, qPrintable(describe(text)));
        const int drawn = QFontInfo(text.font).pixelSize();
        const int given = QFontInfo(text.widget->font()).pixelSize();
        QVERIFY2(drawn >= std::floor(given * KvTextFit::MinimumScale), qPrintable(describe(text)));
        const bool reduced = text.shown != text.whole || drawn < given;
        if (reduced) {
            QVERIFY2(text.whole.startsWith(text.shown.left(text.shown.size() - 1)),
                     qPrintable(describe(text)));
            QCOMPARE(toolTipOf(text.widget), text.whole);
            // Which texts needed it, for whoever reads the log of a run.
            qInfo("%s", qPrintable(describe(text)));
        }
    }
}

void TestTranslatedTexts::_checkLanguageBox(QComboBox* box) {
    // The closed box shows the chosen language by its own name; each row chooses another.
    QStyleOptionComboBox option;
    option.initFrom(box);
    option.editable = box->isEditable();
    const int room =
        box->style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, box)
            .width();
    QString shown = box->currentText();
    QFont font = box->font();
    if (auto* fitted = dynamic_cast<KvFittedText*>(box)) {
        shown = fitted->shownText().text();
        font = fitted->shownText().font();
    }
    const QString description =
        QStringLiteral("\"%1\" shown as \"%2\" in %3 px").arg(box->currentText(), shown).arg(room);
    QVERIFY2(QFontMetrics(font).horizontalAdvance(shown) <= room, qPrintable(description));
    if (shown != box->currentText() ||
        QFontInfo(font).pixelSize() < QFontInfo(box->font()).pixelSize()) {
        QCOMPARE(toolTipOf(box), box->currentText());
    }
}

void TestTranslatedTexts::_saveScreen(KvSettingDialog& dialog, const QString& language) {
    const QString folder = qEnvironmentVariable("KV_TEXT_SCREENS");
    if (folder.isEmpty()) {
        return;
    }
    QVERIFY(QDir().mkpath(folder));
    dialog.move(_window->frameGeometry().center() - dialog.rect().center());
    // The last tool tip read fades out first.
    QTRY_VERIFY(!QToolTip::isVisible());
    QTest::qWait(300);
    const QRect area = _window->frameGeometry().united(dialog.frameGeometry());
    const QPixmap screen =
        _window->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    QVERIFY(!screen.isNull());
    QVERIFY(screen.save(QStringLiteral("%1/%2.png").arg(folder, language)));
}

void TestTranslatedTexts::mapChoiceNamesTheTilesItShows_data() {
    QTest::addColumn<QString>("language");
    for (const char* name : LanguageNames) {
        QTest::newRow(name) << QString(name);
    }
}

void TestTranslatedTexts::mapChoiceNamesTheTilesItShows() {
    QFETCH(QString, language);
    KvConfigure().setString(QStringLiteral("Language"), language);
    KvConfigure().setInt(QStringLiteral("Map"), 1);
    KvLanguage::installLanguage(language);
    KvSettingDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    // The page behind this choice draws OpenStreetMap's tiles; the choice says so.
    QVERIFY2(dialog.googleButton()->text().contains(QLatin1String("OpenStreetMap")),
             qPrintable(dialog.googleButton()->text()));
    QVERIFY(!dialog.googleButton()->text().contains(QLatin1String("Google")));
    // Choosing it stores the same value as ever.
    QTest::mouseClick(dialog.googleButton(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(8, dialog.googleButton()->height() / 2));
    QVERIFY(dialog.googleButton()->isChecked());
    QCOMPARE(KvConfigure().getInt(QStringLiteral("Map"), 0), 2);
}

int main(int argc, char** argv) {
    // The map's web view and the OpenGL video views share contexts, as in the player's main().
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    // Eight languages loaded twice over would bury the measures in the language files' lines.
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    QCoreApplication::setOrganizationName(QStringLiteral("dashcam-player-test"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_translatedtexts"));
    TestTranslatedTexts test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_translatedtexts.moc"
