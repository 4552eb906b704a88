#pragma once

#include "KvThread.h"
#include "KvVideoInfo.h"

#include <QImage>
#include <QList>
#include <QPointer>

#include <mutex>

class KvVideoItemWidget;

// Reads the details and first-picture thumbnails of queued rows' clips, one row after another,
// so that adding hundreds of clips never waits for a media file to open. It ends when its queue
// runs empty; the list starts it again for the next row.
//
// The loader never touches a widget: a row is queued with a copy of its entry, the loader fills
// in the copy and files it among the loaded rows, and videoInfoLoaded() tells the GUI thread,
// which collects them with takeLoaded() and updates each row that still exists.
class KvVideoInfoLoadThread : public KvThread {
    Q_OBJECT
public:
    explicit KvVideoInfoLoadThread(QObject* parent = nullptr);
    // The owner stops and joins the thread first.
    ~KvVideoInfoLoadThread() override;

    // A row and its entry, on the way to the loader or back.
    struct Job {
        QPointer<KvVideoItemWidget> widget;
        KvVideoInfo info;
        QImage thumb; // read by the loader, so the GUI thread does not decode JPEGs
    };

    // GUI thread: queues the row with a copy of its entry.
    void addItemWidget(KvVideoItemWidget* widget);
    bool hasQueuedItems();
    // GUI thread: the rows loaded since the last call, oldest first.
    QList<Job> takeLoaded();

    // Fills in the clips' details and thumbnails; returns the updated entry. A clip whose details
    // are known is skipped; a clip that cannot be read keeps its zeros.
    static KvVideoInfo loadVideoInfo(const KvVideoInfo& info, const std::atomic<bool>* stop);

signals:
    // Emitted on the loader thread after each finished row; connect it queued.
    void videoInfoLoaded();

protected:
    void run() override;

private:
    bool _takeJob(Job& job);

    QList<Job> _queue;  // rows waiting, oldest first; guarded by _mutex
    QList<Job> _loaded; // rows loaded, not yet collected by the GUI thread; guarded by _mutex
    // A standard mutex rather than QMutex: Qt 5's futex-based lock is invisible to
    // ThreadSanitizer, which would then report the queue itself.
    std::mutex _mutex;
};
