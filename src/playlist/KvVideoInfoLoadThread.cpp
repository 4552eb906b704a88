#include "KvVideoInfoLoadThread.h"

#include "KvFileUtils.h"
#include "KvLogCategories.h"
#include "KvMediaUtils.h"
#include "KvVideoItemWidget.h"

KvVideoInfoLoadThread::KvVideoInfoLoadThread(QObject* parent) : KvThread(parent) {}

KvVideoInfoLoadThread::~KvVideoInfoLoadThread() {
    // The thread has ended; taking the lock orders its last use of the lists before their end.
    std::lock_guard<std::mutex> lock(_mutex);
    _queue.clear();
    _loaded.clear();
}

void KvVideoInfoLoadThread::addItemWidget(KvVideoItemWidget* widget) {
    std::lock_guard<std::mutex> lock(_mutex);
    qCDebug(kvPlaylist, "KvVideoInfoLoadThread %p addItemWidget began", static_cast<void*>(this));
    _queue.append(Job{QPointer<KvVideoItemWidget>(widget), widget->videoInfo(), QImage()});
    qCDebug(kvPlaylist, "KvVideoInfoLoadThread %p addItemWidget ended", static_cast<void*>(this));
}

bool KvVideoInfoLoadThread::hasQueuedItems() {
    std::lock_guard<std::mutex> lock(_mutex);
    return !_queue.isEmpty();
}

QList<KvVideoInfoLoadThread::Job> KvVideoInfoLoadThread::takeLoaded() {
    std::lock_guard<std::mutex> lock(_mutex);
    QList<Job> loaded;
    loaded.swap(_loaded);
    return loaded;
}

bool KvVideoInfoLoadThread::_takeJob(Job& job) {
    std::lock_guard<std::mutex> lock(_mutex);
    if (_queue.isEmpty()) {
        return false;
    }
    job = _queue.takeFirst();
    return true;
}

void KvVideoInfoLoadThread::run() {
    qCDebug(kvPlaylist, "KvVideoInfoLoadThread %p began", static_cast<void*>(this));
    Job job;
    while (!isStopped() && _takeJob(job)) {
        job.info = loadVideoInfo(job.info, &_stopped);
        job.thumb = KvVideoItemWidget::loadThumb(job.info);
        {
            std::lock_guard<std::mutex> lock(_mutex);
            _loaded.append(job);
        }
        emit videoInfoLoaded();
    }
    qCDebug(kvPlaylist, "KvVideoInfoLoadThread %p ended", static_cast<void*>(this));
    // Ends the run under the lock that the destructor takes, so whatever the run touched is done
    // with before the owner, having joined the thread, destroys it.
    std::lock_guard<std::mutex> lock(_mutex);
}

KvVideoInfo KvVideoInfoLoadThread::loadVideoInfo(const KvVideoInfo& info,
                                                 const std::atomic<bool>* stop) {
    KvVideoInfo result = info;
    for (KvVideo& video : result.videos) {
        if (video.isInfoLoaded()) {
            continue;
        }
        if (video.thumb.isEmpty()) {
            // The cache holds one thumbnail per clip file name: clip.MP4 -> clip.MP4.jpg.
            video.thumb = QStringLiteral("%1/%2.jpg").arg(KvFileUtils().getCacheRoot(), video.name);
        }
        _video_info details;
        details.thumbPath = video.thumb;
        if (readVideoInfo(video.path.toUtf8().constData(), &details, stop) >= 0) {
            video.width = details.width;
            video.height = details.height;
            video.fps = details.fps;
            video.duration = details.duration;
        }
    }
    return result;
}
