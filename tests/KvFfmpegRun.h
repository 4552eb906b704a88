#pragma once

// Runs the ffmpeg command-line tool for tests that make their own clips.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace kvtest {

// How long one run of the ffmpeg tool may take.
constexpr int kFfmpegTimeoutMs = 120000;

// Runs the ffmpeg tool with arguments; an empty string when it succeeded, else what went wrong.
inline QString runFfmpeg(const QStringList& arguments, QByteArray* output = nullptr) {
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg",
                 QStringList{"-nostdin", "-hide_banner", "-loglevel", "error", "-y"} + arguments);
    if (!ffmpeg.waitForFinished(kFfmpegTimeoutMs) || ffmpeg.exitStatus() != QProcess::NormalExit ||
        ffmpeg.exitCode() != 0) {
        return QString("ffmpeg %1 failed: %2 %3")
            .arg(arguments.join(' '), ffmpeg.errorString(),
                 QString::fromUtf8(ffmpeg.readAllStandardError()));
    }
    if (output != nullptr) {
        *output = ffmpeg.readAllStandardOutput();
    }
    return QString();
}

} // namespace kvtest
