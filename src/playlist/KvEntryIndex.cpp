#include "KvEntryIndex.h"

namespace {
// Appends path with its letter case folded position by position, the way QString's
// case-insensitive comparison folds it: a surrogate pair is folded as one code point at the
// position of its low half.
void appendFolded(QString& key, const QString& path) {
    for (int i = 0; i < path.size(); ++i) {
        const QChar c = path.at(i);
        if (c.isLowSurrogate() && i > 0 && path.at(i - 1).isHighSurrogate()) {
            const uint folded = QChar::toCaseFolded(QChar::surrogateToUcs4(path.at(i - 1), c));
            key += QChar(static_cast<ushort>(folded >> 16));
            key += QChar(static_cast<ushort>(folded & 0xffff));
        } else {
            key += c.toCaseFolded();
        }
    }
}
} // namespace

void KvEntryIndex::insert(QListWidgetItem* row, const KvVideoInfo& info) {
    remove(row);
    const QString key = _recordingKey(info);
    _rows.insert(row, Row{info, key});
    _byRecording.insert(key, row);
    if (!info.videos.isEmpty()) {
        _byFirstClip.insert(info.videos.first().path, row);
    }
}

void KvEntryIndex::remove(QListWidgetItem* row) {
    const auto found = _rows.constFind(row);
    if (found == _rows.constEnd()) {
        return;
    }
    _byRecording.remove(found->recordingKey, row);
    if (!found->entry.videos.isEmpty()) {
        _byFirstClip.remove(found->entry.videos.first().path, row);
    }
    _rows.erase(found);
}

void KvEntryIndex::clear() {
    _rows.clear();
    _byRecording.clear();
    _byFirstClip.clear();
}

int KvEntryIndex::size() const {
    return _rows.size();
}

QList<QListWidgetItem*> KvEntryIndex::sameRecording(const KvVideoInfo& info) const {
    QList<QListWidgetItem*> rows;
    for (QListWidgetItem* row : _byRecording.values(_recordingKey(info))) {
        if (isSameRecording(_entryOf(row), info)) {
            rows.append(row);
        }
    }
    return rows;
}

QList<QListWidgetItem*> KvEntryIndex::equalTo(const KvVideoInfo& info) const {
    // Equal entries are always the same recording, so the candidates are those rows.
    QList<QListWidgetItem*> rows;
    for (QListWidgetItem* row : _byRecording.values(_recordingKey(info))) {
        if (_entryOf(row) == info) {
            rows.append(row);
        }
    }
    return rows;
}

QList<QListWidgetItem*> KvEntryIndex::withFirstClip(const QString& path) const {
    return _byFirstClip.values(path);
}

bool KvEntryIndex::isSameRecording(const KvVideoInfo& a, const KvVideoInfo& b) {
    if (a.videos.isEmpty() || b.videos.isEmpty()) {
        return a == b;
    }
    return a.videos == b.videos;
}

const KvVideoInfo& KvEntryIndex::_entryOf(QListWidgetItem* row) const {
    // Every row of the lookup tables is in _rows: they change together.
    return _rows.constFind(row)->entry;
}

QString KvEntryIndex::_recordingKey(const KvVideoInfo& info) {
    // Entries without clips go by name ('n'), the others by their clips ('c'), so the two kinds
    // never share a key; each clip's length keeps the paths apart.
    if (info.videos.isEmpty()) {
        return QLatin1Char('n') + info.name;
    }
    QString key(QLatin1Char('c'));
    for (const KvVideo& video : info.videos) {
        key += QString::number(video.path.size());
        key += QLatin1Char(':');
        appendFolded(key, video.path);
    }
    return key;
}
