#include "KvConfigure.h"
#include "KvFileUtils.h"
#include "KvLanguage.h"
#include "KvSettingDelegate.h"
#include "KvSettingDialog.h"
#include "KvTestMain.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

namespace {
// The value of key as it stands in "configure.ini" on disk now, or a null string.
QString valueOnDisk(const QString& key) {
    QFile file(KvConfigure::filePath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return QString();
    }
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QString text = QString::fromUtf8(line).trimmed();
        if (text.startsWith(key + "=")) {
            return text.mid(key.size() + 1);
        }
    }
    return QString();
}
} // namespace

// Records every call with the value the settings file held on disk at that moment, and installs
// the language as the main window does.
class RecordingDelegate : public KvSettingDelegate {
public:
    struct Call {
        QString operation;
        QString value;
        QString onDisk;
    };
    void onSwitchMap(_KvMapType type) override {
        calls.append({"map", QString::number(type), valueOnDisk("Map")});
    }
    void onSwitchLanguage(const QString& name) override {
        calls.append({"language", name, valueOnDisk("Language")});
        if (dialog) {
            labelAtCall = dialog->languageLabel()->text();
        }
        KvLanguage::installLanguage(name);
    }
    void onSwitchSpeedUnit(int unit) override {
        calls.append({"speed", QString::number(unit), valueOnDisk("Speed")});
    }
    void onSwitchLocationCorrection(int on) override {
        calls.append({"gps", QString::number(on), valueOnDisk("GPSCorrection")});
    }

    QList<Call> calls;
    KvSettingDialog* dialog = nullptr;
    QString labelAtCall;
};

class TestSettingDialog : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void construction();
    void layout();
    void loadingShowsSettingsAndCallsNoOne_data();
    void loadingShowsSettingsAndCallsNoOne();
    void unknownStoredLanguageShowsEnglish();
    void clicksWriteTheFileBeforeTheDelegateHears();
    void clickOnCheckedButtonRepeats();
    void withoutDelegateOnlyWrites();
    void eachLanguageRelabelsTheDialog_data();
    void eachLanguageRelabelsTheDialog();
    void outOfRangeLanguageIndex();
    void escapeAndOkAccept();

private:
    static void _store(const QString& key, const QVariant& value);
    // Clicks a radio button on its indicator, where a click counts.
    static void _click(QRadioButton* button);
};

void TestSettingDialog::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_settingdialog");
    KvLanguage::setRoot(QStringLiteral(KV_SOURCE_DIR "/data/language"));
}

void TestSettingDialog::init() {
    QFile::remove(KvConfigure::filePath());
    KvLanguage::installLanguage("english");
}

void TestSettingDialog::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
}

void TestSettingDialog::_store(const QString& key, const QVariant& value) {
    KvConfigure configure;
    if (value.type() == QVariant::String) {
        configure.setString(key, value.toString());
    } else {
        configure.setInt(key, value.toInt());
    }
}

void TestSettingDialog::_click(QRadioButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, QPoint(8, button->height() / 2));
}

void TestSettingDialog::construction() {
    KvLanguage::installLanguage("missing-language");
    KvSettingDialog dialog;
    QCOMPARE(dialog.versionLabel()->text(), QString("V 1.0.5"));
    QCOMPARE(dialog.okButton()->text(), QString("OK"));
    QCOMPARE(dialog.okButton()->styleSheet(),
             QString("QPushButton{background:#19a4ff;border-radius:5px;color:#ffffff;};"));
    QCOMPARE(dialog.styleSheet(), QString("QDialog{background:#757575;border: 2px solid  white;}"));
    for (QLabel* label : {dialog.versionLabel(), dialog.languageLabel(), dialog.speedLabel(),
                          dialog.correctionLabel()}) {
        QCOMPARE(label->styleSheet(), QString("color:#ffffff"));
        QCOMPARE(label->alignment(), Qt::AlignRight | Qt::AlignVCenter);
    }
    QCOMPARE(dialog.mapsLabel()->styleSheet(), QString("color:#ffffff;"));
    QCOMPARE(dialog.mapsLabel()->alignment(), Qt::AlignRight | Qt::AlignVCenter);
    QCOMPARE(dialog.windowFlags() & (Qt::Dialog | Qt::WindowCloseButtonHint),
             Qt::Dialog | Qt::WindowCloseButtonHint);
    QCOMPARE(dialog.languageNames(), (QStringList{"english", "chinese", "french", "german",
                                                  "italian", "polish", "portuguese", "spanish"}));
    QCOMPARE(dialog.languageBox()->count(), 8);
    // No language installed: texts are the keys.
    QCOMPARE(dialog.languageBox()->itemText(6), QString("portuguese"));
    QCOMPARE(dialog.languageLabel()->text(), QString("language"));
    QCOMPARE(dialog.mapsLabel()->text(), QString("maps"));
    QCOMPARE(dialog.baiduButton()->text(), QString("baidu_map"));
    QCOMPARE(dialog.googleButton()->text(), QString("google_map"));
    QCOMPARE(dialog.speedLabel()->text(), QString("speed_unit"));
    QCOMPARE(dialog.kmhButton()->text(), QString("KM/H"));
    QCOMPARE(dialog.mphButton()->text(), QString("MPH"));
    QCOMPARE(dialog.correctionLabel()->text(), QString("gps_correction"));
    QCOMPARE(dialog.correctionButton()->text(), QString("correction"));
    QCOMPARE(dialog.noCorrectionButton()->text(), QString("no_correction"));
    QCOMPARE(dialog.size(), QSize(550, 300));
}

void TestSettingDialog::layout() {
    KvSettingDialog dialog;
    dialog.show();
    for (int w : {550, 701}) {
        dialog.resize(w, 300);
        QCOMPARE(dialog.versionLabel()->geometry(), QRect(0, 0, w - 30, 30));
        QCOMPARE(dialog.languageLabel()->geometry(), QRect(0, 35, 150, 30));
        QCOMPARE(dialog.languageBox()->geometry(), QRect(179, 35, 100, 30));
        QCOMPARE(dialog.mapsLabel()->geometry(), QRect(0, 75, 150, 20));
        QCOMPARE(dialog.baiduButton()->geometry(), QRect(179, 75, 150, 20));
        QCOMPARE(dialog.googleButton()->geometry(), QRect(348, 75, 150, 20));
        QCOMPARE(dialog.speedLabel()->geometry(), QRect(0, 105, 150, 20));
        QCOMPARE(dialog.kmhButton()->geometry(), QRect(179, 105, 150, 20));
        QCOMPARE(dialog.mphButton()->geometry(), QRect(348, 105, 150, 20));
        QCOMPARE(dialog.correctionLabel()->geometry(), QRect(0, 135, 150, 20));
        QCOMPARE(dialog.correctionButton()->geometry(), QRect(179, 135, 150, 20));
        QCOMPARE(dialog.noCorrectionButton()->geometry(), QRect(348, 135, 150, 20));
        QCOMPARE(dialog.okButton()->geometry(), QRect((w - 150) / 2, 215, 150, 30));
    }
}

void TestSettingDialog::loadingShowsSettingsAndCallsNoOne_data() {
    QTest::addColumn<QVariant>("map");
    QTest::addColumn<QVariant>("speed");
    QTest::addColumn<QVariant>("gps");
    QTest::addColumn<QVariant>("language");
    QTest::addColumn<bool>("baidu");
    QTest::addColumn<bool>("mph");
    QTest::addColumn<bool>("correction");
    QTest::addColumn<int>("languageIndex");
    QTest::newRow("nothing stored")
        << QVariant() << QVariant() << QVariant() << QVariant() << false << false << false << 0;
    QTest::newRow("first start") << QVariant(2) << QVariant(1) << QVariant(1) << QVariant("english")
                                 << false << true << true << 0;
    QTest::newRow("baidu kmh off german") << QVariant(1) << QVariant(0) << QVariant(0)
                                          << QVariant("german") << true << false << false << 3;
    QTest::newRow("out of range") << QVariant(7) << QVariant(3) << QVariant(-5)
                                  << QVariant("spanish") << false << false << true << 7;
    QTest::newRow("not numbers") << QVariant("x") << QVariant("y") << QVariant("z")
                                 << QVariant("polish") << false << false << false << 5;
}

void TestSettingDialog::loadingShowsSettingsAndCallsNoOne() {
    QFETCH(QVariant, map);
    QFETCH(QVariant, speed);
    QFETCH(QVariant, gps);
    QFETCH(QVariant, language);
    QFETCH(bool, baidu);
    QFETCH(bool, mph);
    QFETCH(bool, correction);
    QFETCH(int, languageIndex);
    for (const auto& [key, value] : {std::pair<QString, QVariant>{"Map", map},
                                     {"Speed", speed},
                                     {"GPSCorrection", gps},
                                     {"Language", language}}) {
        if (value.isValid()) {
            _store(key, value);
        }
    }
    RecordingDelegate delegate;
    KvSettingDialog dialog;
    dialog.setSettingDelegate(&delegate);
    QCOMPARE(dialog.baiduButton()->isChecked(), baidu);
    QCOMPARE(dialog.googleButton()->isChecked(), !baidu);
    QCOMPARE(dialog.mphButton()->isChecked(), mph);
    QCOMPARE(dialog.kmhButton()->isChecked(), !mph);
    QCOMPARE(dialog.correctionButton()->isChecked(), correction);
    QCOMPARE(dialog.noCorrectionButton()->isChecked(), !correction);
    QCOMPARE(dialog.languageBox()->currentIndex(), languageIndex);
    // Loading again with the delegate set shows the same and still tells no one.
    dialog.loadConfigures();
    QCOMPARE(dialog.mphButton()->isChecked(), mph);
    QVERIFY(delegate.calls.isEmpty());
}

void TestSettingDialog::unknownStoredLanguageShowsEnglish() {
    _store("Language", "klingon");
    KvSettingDialog dialog;
    QCOMPARE(dialog.languageBox()->currentIndex(), 0);
    QCOMPARE(KvConfigure().getString("Language", ""), QString("klingon"));
}

void TestSettingDialog::clicksWriteTheFileBeforeTheDelegateHears() {
    _store("Map", 2);
    _store("Speed", 0);
    _store("GPSCorrection", 1);
    RecordingDelegate delegate;
    KvSettingDialog dialog;
    dialog.setSettingDelegate(&delegate);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    _click(dialog.baiduButton());
    _click(dialog.mphButton());
    _click(dialog.noCorrectionButton());
    _click(dialog.googleButton());
    _click(dialog.kmhButton());
    _click(dialog.correctionButton());
    const QStringList expected{"map 1 1", "speed 1 1", "gps 0 0",
                               "map 2 2", "speed 0 0", "gps 1 1"};
    QStringList seen;
    for (const auto& call : delegate.calls) {
        seen.append(call.operation + " " + call.value + " " + call.onDisk);
    }
    QCOMPARE(seen, expected);
}

void TestSettingDialog::clickOnCheckedButtonRepeats() {
    _store("Map", 2);
    RecordingDelegate delegate;
    KvSettingDialog dialog;
    dialog.setSettingDelegate(&delegate);
    dialog.show();
    QVERIFY(dialog.googleButton()->isChecked());
    QFile::remove(KvConfigure::filePath());
    _click(dialog.googleButton());
    _click(dialog.googleButton());
    QCOMPARE(delegate.calls.size(), 2);
    QCOMPARE(delegate.calls.at(1).operation, QString("map"));
    QCOMPARE(delegate.calls.at(1).value, QString("2"));
    QCOMPARE(delegate.calls.at(0).onDisk, QString("2"));
}

void TestSettingDialog::withoutDelegateOnlyWrites() {
    KvSettingDialog dialog;
    dialog.show();
    _click(dialog.mphButton());
    QCOMPARE(valueOnDisk("Speed"), QString("1"));
    dialog.languageBox()->setCurrentIndex(2);
    QCOMPARE(valueOnDisk("Language"), QString("french"));
}

void TestSettingDialog::eachLanguageRelabelsTheDialog_data() {
    QTest::addColumn<int>("index");
    const char* names[] = {"english", "chinese",    "french",  "german",
                           "italian", "portuguese", "spanish", "polish"};
    const QStringList order{"english", "chinese", "french",     "german",
                            "italian", "polish",  "portuguese", "spanish"};
    for (const char* name : names) {
        QTest::newRow(name) << int(order.indexOf(name));
    }
}

void TestSettingDialog::eachLanguageRelabelsTheDialog() {
    QFETCH(int, index);
    // Start from another language, so that every choice is a change.
    _store("Language", index == 1 ? "german" : "chinese");
    KvLanguage::installLanguage(index == 1 ? "german" : "chinese");
    RecordingDelegate delegate;
    KvSettingDialog dialog;
    delegate.dialog = &dialog;
    dialog.setSettingDelegate(&delegate);
    const QString before = dialog.languageLabel()->text();
    const QString name = dialog.languageNames().at(index);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    // A choice from the box's list: one change of its current entry.
    dialog.languageBox()->setCurrentIndex(index);
    QCOMPARE(dialog.languageBox()->currentIndex(), index);

    QCOMPARE(delegate.calls.size(), 1);
    QCOMPARE(delegate.calls.first().operation, QString("language"));
    QCOMPARE(delegate.calls.first().value, name);
    QCOMPARE(delegate.calls.first().onDisk, name);
    // The dialog relabels itself only after the delegate installed the language.
    QCOMPARE(delegate.labelAtCall, before);
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage(name, table));
    QCOMPARE(dialog.languageLabel()->text(), table.value("language"));
    QCOMPARE(dialog.mapsLabel()->text(), table.value("maps"));
    QCOMPARE(dialog.baiduButton()->text(), table.value("baidu_map"));
    QCOMPARE(dialog.googleButton()->text(), table.value("google_map"));
    QCOMPARE(dialog.speedLabel()->text(), table.value("speed_unit"));
    QCOMPARE(dialog.kmhButton()->text(), table.value("KM/H"));
    QCOMPARE(dialog.mphButton()->text(), table.value("MPH"));
    QCOMPARE(dialog.correctionLabel()->text(), table.value("gps_correction"));
    QCOMPARE(dialog.correctionButton()->text(), table.value("correction"));
    QCOMPARE(dialog.noCorrectionButton()->text(), table.value("no_correction"));
    QCOMPARE(dialog.languageBox()->itemText(index), table.value(name));
    // The OK button keeps the text it was given at construction.
    QMap<QString, QString> first;
    QVERIFY(KvLanguage::loadLanguage(index == 1 ? "german" : "chinese", first));
    QCOMPARE(dialog.okButton()->text(), first.value("OK"));
}

void TestSettingDialog::outOfRangeLanguageIndex() {
    _store("Language", "french");
    RecordingDelegate delegate;
    KvSettingDialog dialog;
    dialog.setSettingDelegate(&delegate);
    KvLanguage::installLanguage("italian");
    dialog.onSelectedLanguageIndex(8);
    dialog.onSelectedLanguageIndex(-1);
    QVERIFY(delegate.calls.isEmpty());
    QCOMPARE(KvConfigure().getString("Language", ""), QString("french"));
    // The texts are read again all the same.
    QMap<QString, QString> italian;
    QVERIFY(KvLanguage::loadLanguage("italian", italian));
    QCOMPARE(dialog.languageLabel()->text(), italian.value("language"));
}

void TestSettingDialog::escapeAndOkAccept() {
    {
        KvSettingDialog dialog;
        QTimer::singleShot(0, &dialog, [&dialog] {
            QTest::keyClick(&dialog, Qt::Key_A);
            QVERIFY(dialog.isVisible());
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    }
    {
        KvSettingDialog dialog;
        QTimer::singleShot(0, &dialog,
                           [&dialog] { QTest::mouseClick(dialog.okButton(), Qt::LeftButton); });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    }
}

KV_TEST_MAIN(TestSettingDialog)
#include "tst_settingdialog.moc"
