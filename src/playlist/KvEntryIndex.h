#pragma once

#include "KvVideoInfo.h"

#include <QHash>
#include <QList>
#include <QString>

class QListWidgetItem;

// Finds the playlist's rows by their clips, so that adding a row, rejecting a duplicate, making
// a row current and stepping to a neighbour look up a few rows instead of walking and copying
// every row. It keeps each row's entry as it was added (clip paths and name, which never change
// afterwards; the loaded details are not its business) and never dereferences a row. The list
// that owns the rows keeps it up to date (KvListWidget). GUI thread only.
class KvEntryIndex {
public:
    void insert(QListWidgetItem* row, const KvVideoInfo& info);
    void remove(QListWidgetItem* row);
    void clear();
    int size() const;

    // The rows holding the same recording as info (isSameRecording), in no particular order.
    QList<QListWidgetItem*> sameRecording(const KvVideoInfo& info) const;
    // The rows whose entry equals info (KvVideoInfo::operator==), in no particular order.
    QList<QListWidgetItem*> equalTo(const KvVideoInfo& info) const;
    // The rows whose first clip's path is exactly path (case-sensitive), in no particular order.
    QList<QListWidgetItem*> withFirstClip(const QString& path) const;

    // The list's duplicate rule. A recording is in the list once, however it was reached:
    // picking the rear clip of a pair names the entry after the rear clip, yet it holds the same
    // clips as the entry reached through the front clip. So clips decide (the same paths in the
    // same order, ignoring case, as KvVideo compares them), not names; entries without clips
    // (unreadable entry files) compare as whole entries.
    static bool isSameRecording(const KvVideoInfo& a, const KvVideoInfo& b);

private:
    // Equal for any two entries isSameRecording finds the same (letter case folded as Qt's
    // case-insensitive comparison folds it); the lookups confirm every candidate with the rule
    // itself.
    static QString _recordingKey(const KvVideoInfo& info);
    const KvVideoInfo& _entryOf(QListWidgetItem* row) const;

    struct Row {
        KvVideoInfo entry;
        QString recordingKey;
    };
    QHash<QListWidgetItem*, Row> _rows;
    QMultiHash<QString, QListWidgetItem*> _byRecording;
    QMultiHash<QString, QListWidgetItem*> _byFirstClip; // rows with clips only
};
