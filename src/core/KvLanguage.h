#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

// Every visible text is looked up by a short key in the installed language table. The texts come
// from plain "key = text" files, one per language, named "<language>.lg" in the language root.
// The table is process-wide and used from the GUI thread only, so it is not locked. A key with
// no entry shows as itself, which is why keys read as English words.
class KvLanguage : public QObject {
    Q_OBJECT
public:
    explicit KvLanguage(QObject* parent = nullptr);

    static void setRoot(const QString& root);
    static QString root();
    // Loads the named language into the process-wide table. A failed load leaves the table
    // empty, not holding the previous language.
    static void installLanguage(const QString& name);
    // Clears the table, then reads "<name>.lg" (or name itself when it ends with ".lg") into it.
    // Reading stops at the first empty line. False when the file is missing or unreadable.
    static bool loadLanguage(const QString& name, QMap<QString, QString>& table);
    static QString kvtr(const QString& key);
    // Every key the player's screens look up. Each shipped language file translates all of them.
    static const QStringList& usedKeys();

    // The cleaning applied to both halves of an entry: leading spaces, then trailing spaces and
    // ";", then one opening and one closing double quote are removed.
    static QString cleanPart(const QString& part);

private:
    static QString _root;
    static QMap<QString, QString> _table;
};
