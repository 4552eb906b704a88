#include "KvDriveUtils.h"

KvDriveUtils::KvDriveUtils(QObject* parent) : QObject(parent) {}

int KvDriveUtils::getDriveType(const QFileInfo& /*info*/) {
    return UnknownDrive;
}
