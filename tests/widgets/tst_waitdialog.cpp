#include "KvTestMain.h"
#include "KvProgressDialog.h"
#include "KvWaitDialog.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <memory>

namespace {

// Safety net for exec(): a dialog the worker failed to close is rejected after this long.
constexpr int kWatchdogMs = 10000;

// A worker that reports twice and closes its dialog, as card scans and copies do.
class ReportingDialog : public KvProgressDialog {
public:
    std::atomic<QThread*> workerThread{nullptr};

    void run() override {
        workerThread = QThread::currentThread();
        postMessage("scanning");
        postProgress(0.25f);
        QThread::msleep(20);
        postMessage("almost done");
        postProgress(0.5f);
        dismiss();
    }
};

// Work that goes on until it is cancelled.
class CancellableDialog : public KvWaitDialog {
public:
    // Shared with the test so that it outlives the dialog in the destructor test.
    std::shared_ptr<std::atomic<int>> runs = std::make_shared<std::atomic<int>>(0);
    std::shared_ptr<std::atomic<bool>> running = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<std::atomic<bool>> sawCancel = std::make_shared<std::atomic<bool>>(false);

    void run() override {
        auto sawCancelFlag = sawCancel;
        auto runningFlag = running;
        ++*runs;
        *runningFlag = true;
        while (!isCancelled()) {
            QThread::msleep(1);
        }
        *sawCancelFlag = true;
        *runningFlag = false;
    }
};

// Finishes before the caller reaches exec().
class QuickDialog : public KvWaitDialog {
public:
    void run() override { dismiss(); }
};

} // namespace

class TestWaitDialog : public QObject {
    Q_OBJECT
private slots:
    void neverStartedDialogIsCancelled();
    void workerPostsAndDismissesAnExecutingDialog();
    void dismissBeforeExecStillCloses();
    void cancelFromTheGuiThreadIsSeenByTheWorker();
    void startAgainCancelsThePreviousWorker();
    void destroyingABusyDialogEndsItsWorker();
    void baseRunOnlyLogs();
    void setProgressTruncates();
    void busyBarShowsAValueOnlyOnceGivenARange();
    void setProgressIgnoresNonsense();
    void progressLayout();
};

void TestWaitDialog::neverStartedDialogIsCancelled() {
    KvWaitDialog dialog;
    QVERIFY(dialog.isCancelled());
    dialog.cancel(); // nothing to cancel: no effect
    QVERIFY(dialog.isCancelled());
}

void TestWaitDialog::workerPostsAndDismissesAnExecutingDialog() {
    ReportingDialog dialog;
    dialog.progressBar()->setRange(0, 100);
    // Started from a timer once exec() runs its event loop, as a caller driving a scan would.
    QTimer::singleShot(0, &dialog, [&dialog] { dialog.start(); });
    bool watchdogFired = false;
    QTimer::singleShot(kWatchdogMs, &dialog, [&] {
        watchdogFired = true;
        dialog.reject();
    });
    const int result = dialog.exec();

    QVERIFY(!watchdogFired);
    QCOMPARE(result, int(QDialog::Accepted));
    QVERIFY(dialog.workerThread.load() != nullptr);
    QVERIFY(dialog.workerThread.load() != QThread::currentThread());
    // The posts were queued ahead of the close, so they have all been applied.
    QCOMPARE(dialog.messageLabel()->text(), QString("almost done"));
    QCOMPARE(dialog.progressBar()->value(), 50);
    QVERIFY(!dialog.isCancelled()); // the finished worker is kept until the next start
    dialog.cancel();
    QVERIFY(dialog.isCancelled());
}

void TestWaitDialog::dismissBeforeExecStillCloses() {
    QuickDialog dialog;
    dialog.start();
    QThread::msleep(50); // the worker has long dismissed
    bool watchdogFired = false;
    QTimer::singleShot(kWatchdogMs, &dialog, [&] {
        watchdogFired = true;
        dialog.reject();
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QVERIFY(!watchdogFired);
}

void TestWaitDialog::cancelFromTheGuiThreadIsSeenByTheWorker() {
    CancellableDialog dialog;
    dialog.start();
    QVERIFY(!dialog.isCancelled());
    QTRY_VERIFY(dialog.running->load());

    QElapsedTimer clock;
    clock.start();
    dialog.cancel();
    QVERIFY(clock.elapsed() < 500);
    QVERIFY(dialog.sawCancel->load());
    QVERIFY(!dialog.running->load());
    QVERIFY(dialog.isCancelled());
}

void TestWaitDialog::startAgainCancelsThePreviousWorker() {
    CancellableDialog dialog;
    dialog.start();
    QTRY_VERIFY(dialog.running->load());
    dialog.start();
    QVERIFY(dialog.sawCancel->load());
    QTRY_COMPARE(dialog.runs->load(), 2);
    QTRY_VERIFY(dialog.running->load());
    QVERIFY(!dialog.isCancelled());
    dialog.cancel();
    QVERIFY(!dialog.running->load());
}

void TestWaitDialog::destroyingABusyDialogEndsItsWorker() {
    auto* dialog = new CancellableDialog;
    auto sawCancel = dialog->sawCancel;
    auto running = dialog->running;
    dialog->start();
    QTRY_VERIFY(running->load());
    delete dialog;
    QVERIFY(sawCancel->load());
    QVERIFY(!running->load());
}

void TestWaitDialog::baseRunOnlyLogs() {
    KvWaitDialog dialog;
    QTest::ignoreMessage(QtDebugMsg, "KvWaitDialog run");
    dialog.start();
    dialog.cancel(); // joins: the worker has logged by now
}

void TestWaitDialog::setProgressTruncates() {
    KvProgressDialog dialog;
    dialog.progressBar()->setRange(0, 100);
    dialog.setProgress(0.999f);
    QCOMPARE(dialog.progressBar()->value(), 99);
    dialog.setProgress(0.5f);
    QCOMPARE(dialog.progressBar()->value(), 50);
    dialog.setProgress(1.0f);
    QCOMPARE(dialog.progressBar()->value(), 100);
}

void TestWaitDialog::busyBarShowsAValueOnlyOnceGivenARange() {
    KvProgressDialog dialog;
    QCOMPARE(dialog.progressBar()->minimum(), 0);
    QCOMPARE(dialog.progressBar()->maximum(), 0);
    dialog.setProgress(0.42f);
    // Busy indicator: no percentage is shown.
    QCOMPARE(dialog.progressBar()->text(), QString());
    dialog.progressBar()->setRange(0, 100);
    QCOMPARE(dialog.progressBar()->value(), 42);
    QCOMPARE(dialog.progressBar()->text(), QString("42%"));
}

void TestWaitDialog::setProgressIgnoresNonsense() {
    KvProgressDialog dialog;
    dialog.progressBar()->setRange(0, 100);
    dialog.setProgress(0.3f);
    dialog.setProgress(std::numeric_limits<float>::quiet_NaN());
    dialog.setProgress(std::numeric_limits<float>::infinity());
    dialog.setProgress(1e30f);
    QCOMPARE(dialog.progressBar()->value(), 30);
}

void TestWaitDialog::progressLayout() {
    KvProgressDialog dialog;
    QCOMPARE(dialog.size(), QSize(300, 60));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.messageLabel()->geometry(), QRect(5, 10, 290, 30));
    QCOMPARE(dialog.progressBar()->geometry(), QRect(5, 40, 290, 10));
    dialog.setMessage("hello");
    QCOMPARE(dialog.messageLabel()->text(), QString("hello"));
}

KV_TEST_MAIN(TestWaitDialog)
#include "tst_waitdialog.moc"
