#include "KvTestMain.h"
#include "ToolProcess.h"

#include <QtTest>

// The tools the GPS tests start see none of the sanitizer variables of a sanitizer build, and
// everything else of the test's environment.
class TestToolProcess : public QObject {
    Q_OBJECT
private slots:
    void sanitizerVariablesAreLeftOut();
};

void TestToolProcess::sanitizerVariablesAreLeftOut() {
    QStringList const sanitizerNames = {"LD_PRELOAD", "ASAN_OPTIONS", "LSAN_OPTIONS",
                                        "UBSAN_OPTIONS", "TSAN_OPTIONS"};
    QHash<QString, QByteArray> saved;
    for (QString const& name : sanitizerNames) {
        saved.insert(name, qgetenv(qPrintable(name)));
    }
    // Values that would break the tool if they reached it, set only for this test.
    qputenv("LD_PRELOAD", "/nonexistent/libkv-preload.so");
    qputenv("ASAN_OPTIONS", "detect_leaks=1");
    qputenv("LSAN_OPTIONS", "suppressions=/nonexistent");
    qputenv("UBSAN_OPTIONS", "halt_on_error=1");
    qputenv("TSAN_OPTIONS", "second_deadlock_stack=1");
    qputenv("KV_TOOL_MARKER", "kept");

    QProcess env;
    kvtest::startTool(env, QStringLiteral("env"), {});
    bool const finished = env.waitForFinished(30000);
    QByteArray const output = env.readAllStandardOutput();

    for (QString const& name : sanitizerNames) {
        QByteArray const value = saved.value(name);
        if (value.isNull()) {
            qunsetenv(qPrintable(name));
        } else {
            qputenv(qPrintable(name), value);
        }
    }
    qunsetenv("KV_TOOL_MARKER");

    QVERIFY2(finished && env.exitCode() == 0, env.readAllStandardError().constData());
    QStringList const lines = QString::fromLocal8Bit(output).split(QLatin1Char('\n'));
    QVERIFY(lines.contains(QStringLiteral("KV_TOOL_MARKER=kept")));
    for (QString const& line : lines) {
        for (QString const& name : sanitizerNames) {
            QVERIFY2(!line.startsWith(name + QLatin1Char('=')), qPrintable(line));
        }
    }
    // Also with the test's own environment restored (a sanitizer build's preload included).
    QVERIFY(!kvtest::toolEnvironment().contains(QStringLiteral("LD_PRELOAD")));
}

KV_TEST_GUILESS_MAIN(TestToolProcess)
#include "tst_toolprocess.moc"
