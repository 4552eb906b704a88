#pragma once

#include <QFileInfo>
#include <QObject>

// Drive classification. No platform the player runs on tells drive kinds apart through Qt, so
// every drive is of unknown type.
class KvDriveUtils : public QObject {
    Q_OBJECT
public:
    // The type reported for every drive: unknown.
    static constexpr int UnknownDrive = -1;

    explicit KvDriveUtils(QObject* parent = nullptr);

    static int getDriveType(const QFileInfo& info);
};
