#pragma once

#include <QObject>
#include <QString>

class QSettings;

// Map service, stored as the integer setting "Map".
enum _KvMapType {
    KvMapBaidu = 1,
    KvMapGoogle = 2,
};

// A short-lived accessor of "configure.ini" in the settings folder. Every user creates its own,
// reads or writes, and lets it go; nothing is cached between uses. Writes reach the file at the
// latest when the object is destroyed, and a later object in the same process sees them at once.
// GUI thread only.
class KvConfigure : public QObject {
    Q_OBJECT
public:
    KvConfigure();

    void setInt(const QString& key, int value);
    // The stored value as int; def when absent or when it does not convert to an integer.
    int getInt(const QString& key, int def);
    void setString(const QString& key, const QString& value);
    QString getString(const QString& key, const QString& def);
    void setBool(const QString& key, bool value);
    bool getBool(const QString& key, bool def);
    bool contains(const QString& key);

    // The settings file this accessor reads and writes.
    static QString filePath();

private:
    QSettings* _settings; // owned through the Qt parent
};

// Gives every missing setting its first-start value (the player starts on the Google page, in
// miles per hour, with correction on, in English), points the translation at the "language"
// folder beside the executable and installs the configured language. A present key is never
// overwritten, whatever its value.
void initConfigures();
