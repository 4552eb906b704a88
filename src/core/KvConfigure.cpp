#include "KvConfigure.h"

#include "KvFileUtils.h"
#include "KvLanguage.h"
#include "KvSettingsKeys.h"

#include <QCoreApplication>
#include <QSettings>

KvConfigure::KvConfigure()
    : QObject(nullptr), _settings(new QSettings(filePath(), QSettings::IniFormat, this)) {}

QString KvConfigure::filePath() {
    return QStringLiteral("%1/configure.ini").arg(KvFileUtils().getConfigureRoot());
}

void KvConfigure::setInt(const QString& key, int value) {
    _settings->setValue(key, value);
}

int KvConfigure::getInt(const QString& key, int def) {
    const QVariant value = _settings->value(key);
    if (value.isNull()) {
        return def;
    }
    bool ok = false;
    const int result = value.toInt(&ok);
    return ok ? result : def;
}

void KvConfigure::setString(const QString& key, const QString& value) {
    _settings->setValue(key, value);
}

QString KvConfigure::getString(const QString& key, const QString& def) {
    const QVariant value = _settings->value(key);
    return value.isNull() ? def : value.toString();
}

void KvConfigure::setBool(const QString& key, bool value) {
    _settings->setValue(key, value);
}

bool KvConfigure::getBool(const QString& key, bool def) {
    const QVariant value = _settings->value(key);
    return value.isNull() ? def : value.toBool();
}

bool KvConfigure::contains(const QString& key) {
    return !_settings->value(key).isNull();
}

void initConfigures() {
    using namespace KvSettingsKeys;
    KvConfigure configure;
    if (!configure.contains(Map)) {
        configure.setInt(Map, FirstStartMap);
    }
    if (!configure.contains(Speed)) {
        configure.setInt(Speed, FirstStartSpeed);
    }
    if (!configure.contains(GPSCorrection)) {
        configure.setInt(GPSCorrection, FirstStartGPSCorrection);
    }
    if (!configure.contains(Language)) {
        configure.setString(Language, FirstStartLanguage);
    }
    KvLanguage::setRoot(QStringLiteral("%1/language").arg(QCoreApplication::applicationDirPath()));
    KvLanguage::installLanguage(configure.getString(Language, FirstStartLanguage));
}
