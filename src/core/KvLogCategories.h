#pragma once

#include <QLoggingCategory>

// One logging category per subsystem. Every debug line of the player goes to Qt's debug stream
// through one of these, with its text unchanged; a program that wants quiet output (benchmarks,
// the fuzzers, the screenshot tool) turns categories off by rule instead of installing a message
// handler:
//     QLoggingCategory::setFilterRules(QStringLiteral("dashcam.*.debug=false"));
Q_DECLARE_LOGGING_CATEGORY(kvCore)      // "dashcam.core": paths, translation
Q_DECLARE_LOGGING_CATEGORY(kvWidgets)   // "dashcam.widgets": dialogs and base widgets
Q_DECLARE_LOGGING_CATEGORY(kvMedia)     // "dashcam.media": stream reader, player core, audio
Q_DECLARE_LOGGING_CATEGORY(kvView)      // "dashcam.view": the video views
Q_DECLARE_LOGGING_CATEGORY(kvGps)       // "dashcam.gps": GPS readers
Q_DECLARE_LOGGING_CATEGORY(kvTrip)      // "dashcam.trip": map widget, trip panel
Q_DECLARE_LOGGING_CATEGORY(kvPlaylist)  // "dashcam.playlist": playlist, scans, info loader
Q_DECLARE_LOGGING_CATEGORY(kvFiles)     // "dashcam.files": file picker, copy and delete
Q_DECLARE_LOGGING_CATEGORY(kvApp)       // "dashcam.app": the main window

// The filter rule that silences every debug line of the player (warnings stay).
inline const char* const KvQuietDebugRules = "dashcam.*.debug=false";
