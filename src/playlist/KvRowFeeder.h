#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <deque>
#include <functional>
#include <mutex>

// Hands waiting items (clip paths a walk found, entry files of the saved playlist) to the
// playlist a few at a time on the GUI thread: each turn of the event loop hands on items for at
// most SliceMs, then gives the loop back (painting, input, timers, the loader's results) and goes
// on in a later turn. So however many recordings a walk finds or the playlist folder holds, the
// GUI thread is never busy adding rows for longer than one slice and one row.
//
// push() may be called from any thread (a walk's worker pushes as it finds clips); everything
// else, and the sink, runs on the thread the feeder lives on, the GUI thread.
class KvRowFeeder : public QObject {
    Q_OBJECT
public:
    using Sink = std::function<void(const QString& item)>;
    // The most one turn of the event loop spends handing items on. Well below the 50 ms a person
    // notices, with room for the batch's end (the rows going into the list together) and the
    // list's relayout.
    static constexpr int SliceMs = 10;
    // At most this many items per slice, however fast they go, so that the batch's end stays
    // short too.
    static constexpr int MaxPerSlice = 100;

    using Hook = std::function<void()>;
    // Told whether more items are waiting.
    using EndHook = std::function<void(bool more)>;

    explicit KvRowFeeder(Sink sink, QObject* parent = nullptr);
    // Called before and after each slice (and around drainAll()), so that the rows of one slice
    // can go into the list together (KvVideoListWidget::beginBatch / endBatch).
    void setBatchHooks(Hook begin, EndHook end);
    // Asked before each item: while it answers false the feeder pauses, until wake().
    void setReadyTest(std::function<bool()> ready);
    // Goes on after a pause, in a later turn of the event loop.
    void wake();

    // Any thread: queues items, in order, and makes sure a slice follows.
    void push(const QString& item);
    void push(const QStringList& items);
    // Drops every item still waiting; nothing more reaches the sink until the next push.
    void clear();
    // Hands every waiting item to the sink now, in one go (for callers that need all rows at
    // once, such as tests and the actions that rebuild the list).
    void drainAll();
    // True when nothing is waiting.
    bool isIdle() const;
    int waiting() const;

signals:
    // A slice handed on the last waiting item. Not emitted by drainAll() or clear().
    void drained();

private:
    void _schedule();
    void _slice();
    bool _take(QString* item);

    Sink _sink;
    Hook _begin;
    EndHook _end;
    std::function<bool()> _ready;
    mutable std::mutex _mutex;
    std::deque<QString> _queue; // guarded by _mutex
    bool _scheduled = false;    // a slice is posted and has not started; guarded by _mutex
    bool _paused = false;       // the ready test said no; only wake() goes on; guarded by _mutex
};
