#include "KvLanguage.h"

#include "KvLogCategories.h"

#include <QFile>
#include <QTextStream>

QString KvLanguage::_root;
QMap<QString, QString> KvLanguage::_table;

KvLanguage::KvLanguage(QObject* parent) : QObject(parent) {}

void KvLanguage::setRoot(const QString& root) {
    _root = root;
    qCDebug(kvCore, "root = %s", qUtf8Printable(root));
}

QString KvLanguage::root() {
    return _root;
}

void KvLanguage::installLanguage(const QString& name) {
    loadLanguage(name, _table);
    qCDebug(kvCore, "%d", _table.size());
}

bool KvLanguage::loadLanguage(const QString& name, QMap<QString, QString>& table) {
    table.clear();
    const QString fileName =
        name.endsWith(QLatin1String(".lg")) ? name : QStringLiteral("%1.lg").arg(name);
    const QString path = _root.endsWith(QLatin1Char('/'))
                             ? QStringLiteral("%1%2").arg(_root, fileName)
                             : QStringLiteral("%1/%2").arg(_root, fileName);
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return false;
    }
    QTextStream in(&file);
    in.setCodec("UTF-8");
    // An empty line ends the data on purpose: whatever follows it is ignored.
    for (QString line = in.readLine(); !line.isEmpty(); line = in.readLine()) {
        const QStringList parts = line.split(QLatin1Char('='));
        if (parts.size() != 2) {
            continue;
        }
        const QString key = cleanPart(parts.at(0));
        const QString text = cleanPart(parts.at(1));
        qCDebug(kvCore, "2 %s = %s", qUtf8Printable(key), qUtf8Printable(text));
        table.insert(key, text);
    }
    return true;
}

QString KvLanguage::kvtr(const QString& key) {
    return _table.value(key, key);
}

const QStringList& KvLanguage::usedKeys() {
    static const QStringList keys = {
        // main window and settings dialog
        "fullscreen", "exit", "language", "maps", "baidu_map", "google_map", "speed_unit", "KM/H",
        "MPH", "gps_correction", "correction", "no_correction", "OK",
        // language names, shown in the settings dialog
        "english", "chinese", "french", "german", "italian", "polish", "portuguese", "spanish",
        // trip panel
        "current_speed", "average_speed", "max_speed", "total_distance", "current_latitude",
        "current_longitude",
        // the trip panel's speed and g-force graph: its legend
        "graph_speed", "graph_gforce",
        // file picker, playlist and file dialogs
        "select_files", "files", "directory", "drives", "...", "ok", "cancel", "adding_files",
        "copying_file", "deleting_file", "clear_playlist", "remove", "remove_invalid_files",
        "open_in_explore",
        // copying and deleting recordings from the playlist
        "copy_to_folder", "delete_files", "delete", "delete_confirm", "copy_summary",
        "delete_summary", "copy_location",
        // incident review: track export and single-picture steps
        "export_gps_track", "export_no_track", "export_failed", "export_done", "step_back",
        "step_forward"};
    return keys;
}

QString KvLanguage::cleanPart(const QString& part) {
    int begin = 0;
    while (begin < part.size() && part.at(begin) == QLatin1Char(' ')) {
        ++begin;
    }
    int end = part.size();
    while (end > begin &&
           (part.at(end - 1) == QLatin1Char(' ') || part.at(end - 1) == QLatin1Char(';'))) {
        --end;
    }
    QString cleaned = part.mid(begin, end - begin);
    if (cleaned.startsWith(QLatin1Char('"'))) {
        cleaned.remove(0, 1);
    }
    if (cleaned.endsWith(QLatin1Char('"'))) {
        cleaned.chop(1);
    }
    return cleaned;
}
