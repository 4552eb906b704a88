#pragma once

// Outside tools the tests start (ffmpeg, xmllint, exiftool, pactl) run in the test's environment
// without what a sanitizer build puts there. LD_PRELOAD would load the sanitizer runtime into the
// tool (perl, for exiftool), whose leak check would then report the tool's own leaks and fail
// it; the *SAN_OPTIONS name suppression lists that only apply to the player.

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace kvtest {

inline QProcessEnvironment toolEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (char const* name :
         {"LD_PRELOAD", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        environment.remove(QString::fromLatin1(name));
    }
    return environment;
}

// Starts program with the tool environment; wait for it as with QProcess::start.
inline void startTool(QProcess& process, QString const& program, QStringList const& arguments) {
    process.setProcessEnvironment(toolEnvironment());
    process.start(program, arguments);
}

} // namespace kvtest
