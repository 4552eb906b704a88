#include "KvTestMain.h"
#include "KvThread.h"

#include <QElapsedTimer>
#include <QtTest>

#include <atomic>

namespace {

// A loop that runs until asked to stop, as the player's and loader's threads do.
class LoopThread : public KvThread {
public:
    std::atomic<int> rounds{0};

protected:
    void run() override {
        while (!_stopped.load()) {
            ++rounds;
            QThread::msleep(1);
        }
    }
};

} // namespace

class TestKvThread : public QObject {
    Q_OBJECT
private slots:
    void stopThenJoinEndsARunningLoopPromptly();
    void isThreadRunningIsFalseForNull();
    void isThreadRunningFollowsTheThread();
    void stopIsNeverCleared();
    void joinOfANeverStartedThreadReturnsAtOnce();
};

void TestKvThread::stopThenJoinEndsARunningLoopPromptly() {
    LoopThread thread;
    thread.start();
    QTRY_VERIFY(thread.rounds.load() > 5);
    QVERIFY(thread.isRunning());

    QElapsedTimer clock;
    clock.start();
    thread.stop();
    thread.join();
    // The loop sleeps 1 ms per round and join polls every 1 ms: well under this.
    QVERIFY2(clock.elapsed() < 500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!thread.isRunning());
    QVERIFY(thread.isFinished());
    QVERIFY(thread.isStopped());
}

void TestKvThread::isThreadRunningIsFalseForNull() {
    QVERIFY(!KvThread::isThreadRunning(nullptr));
}

void TestKvThread::isThreadRunningFollowsTheThread() {
    LoopThread thread;
    QVERIFY(!KvThread::isThreadRunning(&thread));
    thread.start();
    QTRY_VERIFY(thread.rounds.load() > 0);
    QVERIFY(KvThread::isThreadRunning(&thread));
    thread.stop();
    thread.join();
    QVERIFY(!KvThread::isThreadRunning(&thread));
}

void TestKvThread::stopIsNeverCleared() {
    // A thread object serves one run: once stopped, a new start ends at once.
    LoopThread thread;
    QVERIFY(!thread.isStopped());
    thread.stop();
    thread.start();
    thread.join();
    QVERIFY(thread.isStopped());
    QCOMPARE(thread.rounds.load(), 0);
}

void TestKvThread::joinOfANeverStartedThreadReturnsAtOnce() {
    LoopThread thread;
    QElapsedTimer clock;
    clock.start();
    thread.join();
    QVERIFY(clock.elapsed() < 100);
}

KV_TEST_MAIN(TestKvThread)
#include "tst_kvthread.moc"
