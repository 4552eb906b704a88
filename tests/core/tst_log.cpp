#include "KvLog.h"

#include <QtTest>

#include <functional>
#include <unistd.h>

namespace {
int logV(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int printed = KvLogV(format, args);
    va_end(args);
    return printed;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}
} // namespace

class TestLog : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void disabledKvLogPrintsNothing();
    void kvLogVIgnoresTheFlag();
    void enabledKvLogWritesFileAndConsole();
    void secondStartClosesFirstAndTruncates();
    void logFileInMissingFolder();
    void longMessageIsCutInTheFile();

private:
    // Runs work with standard output sent to a file; returns what it printed.
    QByteArray _captureStdout(const std::function<void()>& work);
    QTemporaryDir _dir;
};

void TestLog::initTestCase() {
    QVERIFY(_dir.isValid());
    QCOMPARE(isKvLogEnable(), 0);
}

void TestLog::cleanup() {
    stopKvLogFile();
    enableKvLog(0);
}

QByteArray TestLog::_captureStdout(const std::function<void()>& work) {
    const QString path = _dir.filePath("stdout.txt");
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    FILE* sink = fopen(QFile::encodeName(path).constData(), "w");
    dup2(fileno(sink), STDOUT_FILENO);
    work();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    fclose(sink);
    return readAll(path);
}

void TestLog::disabledKvLogPrintsNothing() {
    const QString file = _dir.filePath("off.log");
    QVERIFY(startKvLogFile(QFile::encodeName(file).constData()));
    int result = -1;
    const QByteArray printed = _captureStdout([&] { result = KvLog("seek %lf\n", 1.5); });
    QCOMPARE(result, 0);
    QVERIFY(printed.isEmpty());
    stopKvLogFile();
    QVERIFY(readAll(file).isEmpty());
}

void TestLog::kvLogVIgnoresTheFlag() {
    QCOMPARE(isKvLogEnable(), 0);
    const QString file = _dir.filePath("v.log");
    QVERIFY(startKvLogFile(QFile::encodeName(file).constData()));
    int result = -1;
    const QByteArray printed = _captureStdout([&] { result = logV("frameCache = %d\n", 25); });
    QCOMPARE(printed, QByteArray("frameCache = 25\n"));
    QCOMPARE(result, printed.size());
    stopKvLogFile();
    QCOMPARE(readAll(file), QByteArray("frameCache = 25\n"));
}

void TestLog::enabledKvLogWritesFileAndConsole() {
    enableKvLog(1);
    QCOMPARE(isKvLogEnable(), 1);
    const QString file = _dir.filePath("on.log");
    QVERIFY(startKvLogFile(QFile::encodeName(file).constData()));
    int result = -1;
    const QByteArray printed = _captureStdout([&] {
        result = KvLog("seek %lf\n", 2.25);
        KvLog("%s %d", "no newline", 7);
    });
    QCOMPARE(printed, QByteArray("seek 2.250000\nno newline 7"));
    QCOMPARE(result, 14);
    stopKvLogFile();
    QCOMPARE(readAll(file), printed);
}

void TestLog::secondStartClosesFirstAndTruncates() {
    const QString first = _dir.filePath("first.log");
    const QString second = _dir.filePath("second.log");
    {
        QFile old(second);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("old content that must go\n");
    }
    QVERIFY(startKvLogFile(QFile::encodeName(first).constData()));
    _captureStdout([] { logV("to first\n"); });
    QVERIFY(startKvLogFile(QFile::encodeName(second).constData()));
    // The first file was closed, hence flushed, before the second was opened.
    QCOMPARE(readAll(first), QByteArray("to first\n"));
    QCOMPARE(readAll(second), QByteArray());
    _captureStdout([] { logV("to second\n"); });
    stopKvLogFile();
    QCOMPARE(readAll(first), QByteArray("to first\n"));
    QCOMPARE(readAll(second), QByteArray("to second\n"));
}

void TestLog::logFileInMissingFolder() {
    const QString missing = _dir.filePath("no/such/folder/x.log");
    QVERIFY(startKvLogFile(QFile::encodeName(missing).constData()) == nullptr);
    enableKvLog(1);
    const QByteArray printed = _captureStdout([] { KvLog("still %s\n", "printed"); });
    QCOMPARE(printed, QByteArray("still printed\n"));
    QVERIFY(!QFile::exists(missing));
}

void TestLog::longMessageIsCutInTheFile() {
    const QString file = _dir.filePath("long.log");
    QVERIFY(startKvLogFile(QFile::encodeName(file).constData()));
    const QByteArray text(5000, 'x');
    const QByteArray printed = _captureStdout([&] { logV("%s", text.constData()); });
    QCOMPARE(printed.size(), 5000);
    stopKvLogFile();
    QCOMPARE(readAll(file), QByteArray(4095, 'x'));
}

QTEST_APPLESS_MAIN(TestLog)
#include "tst_log.moc"
