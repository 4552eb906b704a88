#pragma once

#include "KvConfigure.h"

#include <QString>

// What the settings dialog tells whoever applies the settings live (the main window). Each
// operation is called after the new value has been written to the settings file.
class KvSettingDelegate {
public:
    virtual ~KvSettingDelegate() = default;

    // The map service changed: KvMapBaidu or KvMapGoogle.
    virtual void onSwitchMap(_KvMapType type) = 0;
    // The language changed; name is one of the language names ("english", "german", ...).
    virtual void onSwitchLanguage(const QString& name) = 0;
    // The speed unit changed: 0 kilometres per hour, 1 miles per hour.
    virtual void onSwitchSpeedUnit(int unit) = 0;
    // The location correction changed: 1 on, 0 off.
    virtual void onSwitchLocationCorrection(int on) = 0;
};
