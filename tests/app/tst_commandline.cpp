// The player's command line: quiet by default, every debug line back with --verbose.

#include "KvCommandLine.h"
#include "KvLogCategories.h"
#include "KvTestMain.h"

#include <QLoggingCategory>
#include <QtTest>

class TestCommandLine : public QObject {
    Q_OBJECT
private slots:
    void init();
    void withoutOptionsDebugLinesAreOff();
    void verboseKeepsEveryDebugLine();
    void pathsAreNotOptions();
};

void TestCommandLine::init() {
    // Every case starts from Qt's own default: every category on.
    QLoggingCategory::setFilterRules(QString());
}

void TestCommandLine::withoutOptionsDebugLinesAreOff() {
    const KvCommandLine line({QStringLiteral("dashcam-player")});
    QVERIFY(!line.verbose());
    line.applyLogging();
    for (const QLoggingCategory* category : {&kvCore(), &kvMedia(), &kvApp(), &kvPlaylist()}) {
        QVERIFY2(!category->isDebugEnabled(), category->categoryName());
        QVERIFY2(category->isWarningEnabled(), category->categoryName());
    }
    // Qt's own categories are left as the desktop has them.
    QVERIFY(QLoggingCategory::defaultCategory()->isDebugEnabled());
}

void TestCommandLine::verboseKeepsEveryDebugLine() {
    const KvCommandLine line({QStringLiteral("dashcam-player"), QStringLiteral("--verbose")});
    QVERIFY(line.verbose());
    line.applyLogging();
    for (const QLoggingCategory* category : {&kvCore(), &kvMedia(), &kvApp(), &kvPlaylist()}) {
        QVERIFY2(category->isDebugEnabled(), category->categoryName());
    }
}

void TestCommandLine::pathsAreNotOptions() {
    const KvCommandLine line({QStringLiteral("dashcam-player"), QStringLiteral("/media/card"),
                              QString::fromUtf8("/tmp/Fahrt über Köln.mp4")});
    QVERIFY(!line.verbose());
}

KV_TEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
