#pragma once

#include <QFileInfo>
#include <QObject>
#include <QString>

// Where the player keeps its files, and small file-system helpers.
//
// Settings, playlist entries and still images live under the per-user data folder; the thumbnail
// cache lives under the temporary folder on purpose, because cached files may be lost between
// runs and are rebuilt. Every root is created on demand each time it is asked for.
class KvFileUtils : public QObject {
    Q_OBJECT
public:
    explicit KvFileUtils(QObject* parent = nullptr);

    static QString getRoot();
    static QString getTempRoot();
    QString getCacheRoot();
    QString getConfigureRoot();
    QString getPlayListRoot();
    QString getDatabaseRoot();
    static QString getDefaultCapturePath();
    static QString getDefaultFavoritePath();
    // There is no user-chosen capture or favourites folder: these equal the defaults.
    QString getCapturePath();
    QString getFavoritePath();

    // True when the folder did not exist and was created; false when it existed or could not be
    // created.
    bool mkdirIfNecessary(const QString& path);
    static bool deleteFile(const QString& path);
    static bool dirExists(const QString& path);
    // True for folders too.
    static bool fileExists(const QString& path);
    // Removes every file below path, depth first, but leaves the folders themselves in place.
    // Callers never depend on the result, which is always false.
    static bool deleteDir(const QString& path);
    // A folder that looks like the root of a dash-camera card: it holds "DCIM" or "FRONT". The
    // entry's path is joined to those names without a separator, so it must end with one, as a
    // drive or volume root does.
    static bool isSDCard(const QFileInfo& info);

private:
    static QString _subRoot(const QString& parent, const QString& name);
    static QString _ensureDir(const QString& path);
};
