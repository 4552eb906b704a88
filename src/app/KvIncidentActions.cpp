#include "KvIncidentActions.h"

#include "KvAlertDialog.h"
#include "KvExifWriter.h"
#include "KvFFPlayer.h"
#include "KvFileUtils.h"
#include "KvGPSReader.h"
#include "KvGpsMath.h"
#include "KvLanguage.h"
#include "KvTrackExporter.h"
#include "KvVideoView.h"
#include "LuPlayer.h"
#include "LuVideoView.h"

#include <QDateTime>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>

namespace {
// Messages about exports stay this long.
constexpr int MessageShownMs = 6000;
} // namespace

KvIncidentActions::KvIncidentActions(LuPlayer* player, LuVideoView* view, QWidget* window)
    : QObject(window), _player(player), _view(view), _window(window) {
    connect(_player, &LuPlayer::stepFinished, this, &KvIncidentActions::_onStepFinished);
}

void KvIncidentActions::stepPicture(bool forward) {
    _player->stepPicture(forward);
}

void KvIncidentActions::_onStepFinished(double position, double duration) {
    if (position >= 0.0) {
        emit pictureStepped(position, duration);
    }
}

void KvIncidentActions::takeScreenshot(const QVector<KvLocation>& track) {
    if (!_view || !_view->frontView || !_player || !_player->isOpenFile()) {
        return;
    }
    KvFileUtils fileUtils;
    const QString captureDir = fileUtils.getCapturePath();
    if (!captureStills(captureDir, track).isEmpty()) {
        QDesktopServices::openUrl(QUrl(QStringLiteral("file:///%1").arg(captureDir)));
    }
}

QStringList KvIncidentActions::captureStills(const QString& captureDir,
                                             const QVector<KvLocation>& track) {
    const QString pathPattern = QStringLiteral("%1/%2.jpg");
    QStringList written;
    if (_view->getPlayerCount() < 2) {
        const QString name =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss_zzz"));
        const QString path = pathPattern.arg(captureDir, name);
        if (_view->frontView->capture(path)) {
            written.append(path);
        }
    } else {
        // Each name reads the clock again, so the two may differ in their milliseconds.
        const QString front =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss_zzzF"));
        const QString rear =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss_zzzR"));
        const QString frontPath = pathPattern.arg(captureDir, front);
        const QString rearPath = pathPattern.arg(captureDir, rear);
        const bool frontCaptured = _view->frontView->capture(frontPath);
        const bool rearCaptured = _view->rearView->capture(rearPath);
        if (frontCaptured) {
            written.append(frontPath);
        }
        if (rearCaptured) {
            written.append(rearPath);
        }
    }
    const KvLocation* fix =
        fixAt(track, _view->frontView->getPictureTime(), _player->getFrontPlayer()->duration());
    if (fix != nullptr) {
        for (const QString& path : qAsConst(written)) {
            // A still whose tags cannot be written keeps its picture all the same.
            KvExifWriter::writeGpsTags(path, *fix);
        }
    }
    return written;
}

void KvIncidentActions::exportTracksWithChooser(const QList<KvVideoInfo>& entries) {
    if (entries.isEmpty()) {
        return;
    }
    const QString suggested =
        QDir::home().filePath(QFileInfo(entries.first().name).completeBaseName() + ".gpx");
    QString filter;
    const QString path =
        QFileDialog::getSaveFileName(_window, KvLanguage::kvtr(QStringLiteral("export_gps_track")),
                                     suggested, KvTrackExporter::fileFilters(), &filter);
    if (path.isEmpty()) {
        return;
    }
    _showMessage(exportTracks(entries, path, filter));
}

QString KvIncidentActions::exportTracks(const QList<KvVideoInfo>& entries, const QString& path,
                                        const QString& selectedFilter, bool* written) {
    QVector<KvTrackExporter::Recording> recordings;
    for (const KvVideoInfo& entry : entries) {
        QStringList clips;
        for (const KvVideo& video : entry.videos) {
            clips.append(video.path);
        }
        QVector<KvLocation> track;
        if (readGPSTrack(track, clips)) {
            recordings.append({entry.name, track});
        }
    }
    recordings = KvTrackExporter::orderRecordings(recordings);
    if (written) {
        *written = false;
    }
    if (recordings.isEmpty()) {
        return KvLanguage::kvtr(QStringLiteral("export_no_track"));
    }
    int fixes = 0;
    for (const KvTrackExporter::Recording& recording : qAsConst(recordings)) {
        fixes += recording.fixes.size();
    }
    QString error;
    const QString title = entries.size() == 1 ? entries.first().name : QFileInfo(path).baseName();
    if (!KvTrackExporter::exportRecordings(
            recordings, path, KvTrackExporter::formatFor(path, selectedFilter), title, &error)) {
        return KvLanguage::kvtr(QStringLiteral("export_failed")).arg(error);
    }
    if (written) {
        *written = true;
    }
    return KvLanguage::kvtr(QStringLiteral("export_done"))
        .arg(fixes)
        .arg(QDir::toNativeSeparators(path));
}

void KvIncidentActions::_showMessage(const QString& text) {
    KvAlertDialog::replaceShown(_messageAlert, _window, text, MessageShownMs);
}
