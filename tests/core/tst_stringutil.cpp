#include "KvStringUtil.h"

#include <QtTest>

class TestStringUtil : public QObject {
    Q_OBJECT
private slots:
    void singleFileName_data();
    void singleFileName();
    void fileName_data();
    void fileName();
    void dir_data();
    void dir();
    void pathDup_data();
    void pathDup();
    void pathExt_data();
    void pathExt();
    void separators();
    void startWithIgnoreCase();
};

void TestStringUtil::singleFileName_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("clip") << "/a/b/clip.MP4"
                          << "/a/b/clip";
    QTest::newRow("dot in folder") << "/a/b.c/d"
                                   << "/a/b";
    QTest::newRow("no dot") << "clip"
                            << "clip";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("two extensions") << "archive.tar.gz"
                                    << "archive.tar";
    QTest::newRow("non-ASCII") << "/媒体/行车记录.mov"
                               << "/媒体/行车记录";
}

void TestStringUtil::singleFileName() {
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(KvStringUtil::getSingleFileName(path), expected);
}

void TestStringUtil::fileName_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("clip") << "/a/b/clip.MP4"
                          << "clip.MP4";
    QTest::newRow("backslash is no separator") << "C:\\x\\y.mp4"
                                               << "C:\\x\\y.mp4";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("trailing slash") << "/a/b/"
                                    << "";
    QTest::newRow("plain") << "clip.mp4"
                           << "clip.mp4";
}

void TestStringUtil::fileName() {
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(KvStringUtil::getFileName(path), expected);
}

void TestStringUtil::dir_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("clip") << "/a/b/clip.MP4"
                          << "/a/b";
    QTest::newRow("no dot, separators kept") << "/a/b/folder"
                                             << "/a/b/folder";
    QTest::newRow("no separator") << "clip.mp4"
                                  << "clip.mp4";
    QTest::newRow("backslash") << "C:\\x\\y.mp4"
                               << "C:\\x";
    QTest::newRow("dot in folder only") << "/a/b.c/d"
                                        << "/a/b.c";
    QTest::newRow("empty") << ""
                           << "";
}

void TestStringUtil::dir() {
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(KvStringUtil::getDir(path), expected);
}

void TestStringUtil::pathDup_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("parent") << "/a/b/c"
                            << "/a/b";
    QTest::newRow("trailing slash") << "/a/b/"
                                    << "/a/b";
    QTest::newRow("no separator") << "c"
                                  << "c";
    QTest::newRow("backslash") << "D:\\DCIM\\F"
                               << "D:\\DCIM";
    QTest::newRow("mixed") << "D:/DCIM\\F"
                           << "D:/DCIM";
    QTest::newRow("empty") << ""
                           << "";
}

void TestStringUtil::pathDup() {
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(KvStringUtil::pathDup(path), expected);
}

void TestStringUtil::pathExt_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("clip") << "clip.MP4"
                          << "MP4";
    QTest::newRow("dot last") << "clip."
                              << "";
    QTest::newRow("dot in folder") << "a.b/c"
                                   << "b/c";
    QTest::newRow("two extensions") << "archive.tar.gz"
                                    << "gz";
    QTest::newRow("none") << "clip"
                          << "";
    QTest::newRow("empty") << ""
                           << "";
}

void TestStringUtil::pathExt() {
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(KvStringUtil::getPathExt(path), expected);
}

void TestStringUtil::separators() {
    QVERIFY(KvStringUtil::isFileSeparator(QChar('/')));
    QVERIFY(KvStringUtil::isFileSeparator(QChar('\\')));
    QVERIFY(!KvStringUtil::isFileSeparator(QChar(':')));
    const QString path = QStringLiteral("a/b\\c");
    QVERIFY(!KvStringUtil::isFileSeparator(path, 0));
    QVERIFY(KvStringUtil::isFileSeparator(path, 1));
    QVERIFY(KvStringUtil::isFileSeparator(path, 3));
    QVERIFY(!KvStringUtil::isFileSeparator(path, 4));
}

void TestStringUtil::startWithIgnoreCase() {
    QVERIFY(KvStringUtil::startWithIgnoreCase("DCIM/100MEDIA", "dcim"));
    QVERIFY(KvStringUtil::startWithIgnoreCase("front", "FRONT"));
    QVERIFY(KvStringUtil::startWithIgnoreCase("anything", ""));
    QVERIFY(!KvStringUtil::startWithIgnoreCase("DCI", "dcim"));
    QVERIFY(!KvStringUtil::startWithIgnoreCase("xdcim", "dcim"));
}

QTEST_APPLESS_MAIN(TestStringUtil)
#include "tst_stringutil.moc"
