#pragma once

#include <QString>

// The keys of "configure.ini" and the values their readers fall back to, in one place.
//
// Two sets of defaults exist on purpose and must not be merged: initConfigures writes the
// first-start values (the player starts on the Google page, in miles per hour, with correction
// on, in English), while the readers below fall back to their own values when a key is missing
// or does not convert. Since initConfigures always writes missing keys first, the fallbacks only
// matter for a file changed behind the player's back; tst_configure and tst_settingdialog pin
// both sets.
namespace KvSettingsKeys {

inline const QString Map = QStringLiteral("Map");
inline const QString Speed = QStringLiteral("Speed");
inline const QString GPSCorrection = QStringLiteral("GPSCorrection");
inline const QString Language = QStringLiteral("Language");
// Written only by the file picker, whenever the user switches chooser.
inline const QString SelectFileIndex = QStringLiteral("SelectFileIndexKey");

// Speed units as stored under Speed.
constexpr int SpeedKmh = 0;
constexpr int SpeedMph = 1;

// First-start values (initConfigures).
constexpr int FirstStartMap = 2;           // the Google page
constexpr int FirstStartSpeed = SpeedMph;
constexpr int FirstStartGPSCorrection = 1; // on
inline const QString FirstStartLanguage = QStringLiteral("english");

// Fallbacks of the readers.
constexpr int FallbackMap = 2;                  // every reader: the Google page
constexpr int FallbackDialogSpeed = SpeedKmh;   // the settings dialog
constexpr int FallbackTripSpeed = SpeedMph;     // the trip panel, as the player starts
constexpr int FallbackGPSCorrection = 0;        // the settings dialog and the main window: off
constexpr int FallbackSelectFileIndex = 0;      // the file picker: the drives chooser
inline const QString FallbackLanguage = QStringLiteral("english");

} // namespace KvSettingsKeys
