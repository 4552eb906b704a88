#pragma once

#include "KvThread.h"
#include "KvVideoInfo.h"

#include <QList>
#include <QPointer>

#include <mutex>

class KvVideoItemWidget;

// Reads the details and first-picture thumbnails of queued rows' clips, one row after another,
// so that adding hundreds of clips never waits for a media file to open. It ends when its queue
// runs empty; the list starts it again for the next row.
//
// The loader never touches a widget: a row is queued with a copy of its entry, the loader fills
// in the copy, and videoInfoLoaded() carries the result to the GUI thread, where the list applies
// it to the row if the row still exists.
class KvVideoInfoLoadThread : public KvThread {
    Q_OBJECT
public:
    explicit KvVideoInfoLoadThread(QObject* parent = nullptr);

    // GUI thread: queues the row with a copy of its entry.
    void addItemWidget(KvVideoItemWidget* widget);
    bool hasQueuedItems();

    // Fills in the clips' details and thumbnails; returns the updated entry. A clip whose details
    // are known is skipped; a clip that cannot be read keeps its zeros.
    static KvVideoInfo loadVideoInfo(const KvVideoInfo& info, const std::atomic<bool>* stop);

signals:
    // Emitted on the loader thread for each finished row; connect it queued.
    void videoInfoLoaded(QPointer<KvVideoItemWidget> widget, KvVideoInfo info);

protected:
    void run() override;

private:
    struct Job {
        QPointer<KvVideoItemWidget> widget;
        KvVideoInfo info;
    };
    bool _takeJob(Job& job);

    QList<Job> _queue; // rows waiting, oldest first; guarded by _mutex
    // A standard mutex rather than QMutex: Qt 5's futex-based lock is invisible to
    // ThreadSanitizer, which would then report the queue itself.
    std::mutex _mutex;
};
