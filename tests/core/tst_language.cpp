#include "KvLanguage.h"

#include <QtTest>

class TestLanguage : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void nameWithOrWithoutExtensionReadsSameFile();
    void rootWithOrWithoutTrailingSlash();
    void emptyLineEndsTheData();
    void cleaningOfQuotesSpacesAndSemicolons_data();
    void cleaningOfQuotesSpacesAndSemicolons();
    void linesWithoutExactlyOneEqualsAreSkipped();
    void laterEntryReplacesEarlier();
    void failedInstallLeavesNoTranslations();
    void missingRootShowsKeys();
    void invalidUtf8DoesNotStopReading();
    void crlfLineEnds();
    void byteOrderMarkIsNotPartOfFirstKey();
    void thousandsOfLines();
    void shippedFilesTranslateEveryKey_data();
    void shippedFilesTranslateEveryKey();

private:
    void _write(const QString& name, const QByteArray& content);
    QTemporaryDir _root;
};

void TestLanguage::initTestCase() {
    QVERIFY(_root.isValid());
    KvLanguage::setRoot(_root.path());
}

void TestLanguage::cleanup() {
    KvLanguage::setRoot(_root.path());
}

void TestLanguage::_write(const QString& name, const QByteArray& content) {
    QFile file(_root.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

void TestLanguage::nameWithOrWithoutExtensionReadsSameFile() {
    _write("english.lg", "exit = Leave\nmaps = Map type\n");
    QTest::ignoreMessage(QtDebugMsg, "2");
    KvLanguage::installLanguage("english.lg");
    QCOMPARE(KvLanguage::kvtr("exit"), QString("Leave"));
    KvLanguage::installLanguage("clear-it");
    QCOMPARE(KvLanguage::kvtr("exit"), QString("exit"));
    KvLanguage::installLanguage("english");
    QCOMPARE(KvLanguage::kvtr("exit"), QString("Leave"));
    QCOMPARE(KvLanguage::kvtr("maps"), QString("Map type"));
}

void TestLanguage::rootWithOrWithoutTrailingSlash() {
    _write("english.lg", "exit = Leave\n");
    QMap<QString, QString> table;
    QTest::ignoreMessage(QtDebugMsg, qPrintable("root = " + _root.path() + "/"));
    KvLanguage::setRoot(_root.path() + "/");
    QVERIFY(KvLanguage::loadLanguage("english", table));
    QCOMPARE(table.value("exit"), QString("Leave"));
    table.clear();
    KvLanguage::setRoot(_root.path());
    QVERIFY(KvLanguage::loadLanguage("english", table));
    QCOMPARE(table.value("exit"), QString("Leave"));
}

void TestLanguage::emptyLineEndsTheData() {
    _write("short.lg", "one = 1\ntwo = 2\n\nthree = 3\nfour = 4\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("short", table));
    QCOMPARE(table.size(), 2);
    QCOMPARE(table.value("one"), QString("1"));
    QCOMPARE(table.value("two"), QString("2"));
    QVERIFY(!table.contains("three"));
}

void TestLanguage::cleaningOfQuotesSpacesAndSemicolons_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::newRow("quoted with space before ;") << QByteArray("maps = \"Map type\" ;") << "maps"
                                                << "Map type";
    QTest::newRow("bare") << QByteArray("key=text") << "key"
                          << "text";
    QTest::newRow("quoted with ;") << QByteArray("key = \"text\";") << "key"
                                   << "text";
    QTest::newRow("spaces inside quotes kept") << QByteArray("pad = \"  a b  \"") << "pad"
                                               << "  a b  ";
    QTest::newRow("quoted key") << QByteArray("\"quoted\" = x") << "quoted"
                                << "x";
    QTest::newRow("tabs are not spaces") << QByteArray("\ttab = x") << "\ttab"
                                         << "x";
    QTest::newRow("only one quote removed each side") << QByteArray("q = \"\"x\"\"") << "q"
                                                      << "\"x\"";
    QTest::newRow("semicolons and spaces mixed") << QByteArray("s = x ; ;; ") << "s"
                                                 << "x";
    QTest::newRow("empty text") << QByteArray("title=") << "title"
                                << "";
    QTest::newRow("non-ASCII") << QByteArray("maps = 地图类型") << "maps"
                               << QString::fromUtf8("地图类型");
}

void TestLanguage::cleaningOfQuotesSpacesAndSemicolons() {
    QFETCH(QByteArray, line);
    QFETCH(QString, key);
    QFETCH(QString, text);
    _write("clean.lg", line + "\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("clean", table));
    QCOMPARE(table.size(), 1);
    QVERIFY(table.contains(key));
    QCOMPARE(table.value(key), text);
}

void TestLanguage::linesWithoutExactlyOneEqualsAreSkipped() {
    _write("skip.lg", "a=b=c\n# a comment line\ntitle=\nx = y\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("skip", table));
    QCOMPARE(table.size(), 2);
    QVERIFY(!table.contains("a"));
    QVERIFY(table.contains("title"));
    QCOMPARE(table.value("title"), QString(""));
    QCOMPARE(table.value("x"), QString("y"));
}

void TestLanguage::laterEntryReplacesEarlier() {
    _write("twice.lg", "exit = First\nexit = Second\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("twice", table));
    QCOMPARE(table.value("exit"), QString("Second"));
}

void TestLanguage::failedInstallLeavesNoTranslations() {
    _write("english.lg", "exit = Leave\nfullscreen = Full screen\n");
    KvLanguage::installLanguage("english");
    QCOMPARE(KvLanguage::kvtr("fullscreen"), QString("Full screen"));
    QTest::ignoreMessage(QtDebugMsg, "0");
    KvLanguage::installLanguage("klingon");
    QCOMPARE(KvLanguage::kvtr("fullscreen"), QString("fullscreen"));
    QCOMPARE(KvLanguage::kvtr("exit"), QString("exit"));

    QMap<QString, QString> table{{"stale", "entry"}};
    QVERIFY(!KvLanguage::loadLanguage("klingon", table));
    QVERIFY(table.isEmpty());
}

void TestLanguage::missingRootShowsKeys() {
    KvLanguage::setRoot(_root.filePath("does/not/exist"));
    KvLanguage::installLanguage("english");
    QCOMPARE(KvLanguage::kvtr("maps"), QString("maps"));
    QCOMPARE(KvLanguage::kvtr(""), QString(""));
}

void TestLanguage::invalidUtf8DoesNotStopReading() {
    _write("broken.lg", QByteArray("bad = \xff\xfe\xc3(\n") + "good = fine\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("broken", table));
    QCOMPARE(table.size(), 2);
    QVERIFY(!table.value("bad").isEmpty());
    QCOMPARE(table.value("good"), QString("fine"));
}

void TestLanguage::crlfLineEnds() {
    _write("dos.lg", "exit = Leave\r\nmaps = \"Map\";\r\n\r\nafter = blank\r\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("dos", table));
    QCOMPARE(table.size(), 2);
    QCOMPARE(table.value("exit"), QString("Leave"));
    QCOMPARE(table.value("maps"), QString("Map"));
}

void TestLanguage::byteOrderMarkIsNotPartOfFirstKey() {
    _write("bom.lg", "\xef\xbb\xbf"
                     "exit = Leave\n");
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("bom", table));
    QCOMPARE(table.keys(), QStringList{"exit"});
}

void TestLanguage::thousandsOfLines() {
    QByteArray content;
    for (int i = 0; i < 5000; ++i) {
        content +=
            QByteArray("key") + QByteArray::number(i) + " = text " + QByteArray::number(i) + "\n";
    }
    _write("long.lg", content);
    QMap<QString, QString> table;
    QVERIFY(KvLanguage::loadLanguage("long", table));
    QCOMPARE(table.size(), 5000);
    QCOMPARE(table.value("key4999"), QString("text 4999"));
}

void TestLanguage::shippedFilesTranslateEveryKey_data() {
    QTest::addColumn<QString>("language");
    for (const char* name :
         {"english", "chinese", "french", "german", "italian", "polish", "portuguese", "spanish"}) {
        QTest::newRow(name) << QString(name);
    }
}

void TestLanguage::shippedFilesTranslateEveryKey() {
    QFETCH(QString, language);
    KvLanguage::setRoot(QStringLiteral(KV_BINARY_DIR "/bin/language"));
    QMap<QString, QString> table;
    QVERIFY2(KvLanguage::loadLanguage(language, table), qPrintable(language));
    for (const QString& key : KvLanguage::usedKeys()) {
        QVERIFY2(table.contains(key), qPrintable(language + ": missing " + key));
        QVERIFY2(!table.value(key).trimmed().isEmpty(), qPrintable(language + ": empty " + key));
    }
    QCOMPARE(table.size(), KvLanguage::usedKeys().size());
    QVERIFY(!table.value("exit").contains(QChar::ReplacementCharacter));
}

QTEST_APPLESS_MAIN(TestLanguage)
#include "tst_language.moc"
