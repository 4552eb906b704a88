#include "KvEntryIndex.h"
#include "KvTestMain.h"

#include <QListWidgetItem>
#include <QtTest>

#include <memory>
#include <vector>

// The rows' index by clips, on rows that belong to no list: it only keeps and hands back the
// row pointers.
class TestEntryIndex : public QObject {
    Q_OBJECT
private slots:
    void sameRecordingGoesByClipsNotName();
    void equalToNeedsTheNameToo();
    void firstClipIsExactAndMayBeShared();
    void entriesWithoutClipsGoByName();
    void removeAndClearForgetRows();
    void insertingARowAgainReplacesItsEntry();
    void letterCaseFoldsAsClipsCompare_data();
    void letterCaseFoldsAsClipsCompare();
    void manyRows();

private:
    QListWidgetItem* _row();
    static KvVideoInfo _entry(const QStringList& paths, const QString& name = QString());

    std::vector<std::unique_ptr<QListWidgetItem>> _rows;
};

QListWidgetItem* TestEntryIndex::_row() {
    _rows.push_back(std::make_unique<QListWidgetItem>());
    return _rows.back().get();
}

KvVideoInfo TestEntryIndex::_entry(const QStringList& paths, const QString& name) {
    KvVideoInfo info;
    for (const QString& path : paths) {
        KvVideo video;
        video.path = path;
        info.videos.append(video);
    }
    info.name = name;
    return info;
}

void TestEntryIndex::sameRecordingGoesByClipsNotName() {
    KvEntryIndex index;
    QListWidgetItem* pair = _row();
    QListWidgetItem* single = _row();
    index.insert(pair, _entry({"/c/F/a_001F.MP4", "/c/R/a_001R.MP4"}, "a_001F.MP4"));
    index.insert(single, _entry({"/c/F/a_001F.MP4"}, "a_001F.MP4"));
    QCOMPARE(index.size(), 2);

    // The pair reached through its rear clip: other name, same clips.
    const KvVideoInfo rear = _entry({"/c/F/a_001F.MP4", "/c/R/a_001R.MP4"}, "a_001R.MP4");
    QCOMPARE(index.sameRecording(rear), QList<QListWidgetItem*>{pair});
    QCOMPARE(index.sameRecording(_entry({"/C/f/A_001F.mp4"})), QList<QListWidgetItem*>{single});
    // Order matters, and so does every clip.
    QVERIFY(index.sameRecording(_entry({"/c/R/a_001R.MP4", "/c/F/a_001F.MP4"})).isEmpty());
    QVERIFY(index.sameRecording(_entry({"/c/F/a_001F.MP4", "/c/R/b_001R.MP4"})).isEmpty());
    QVERIFY(index.sameRecording(_entry({"/c/F/a_001F.MP4/"})).isEmpty());
    // Two clips whose paths run together are not one clip.
    QVERIFY(index.sameRecording(_entry({"/c/F/a_001F.MP4/c/R/a_001R.MP4"})).isEmpty());
}

void TestEntryIndex::equalToNeedsTheNameToo() {
    KvEntryIndex index;
    QListWidgetItem* row = _row();
    index.insert(row, _entry({"/c/F/a_001F.MP4", "/c/R/a_001R.MP4"}, "a_001F.MP4"));
    QCOMPARE(index.equalTo(_entry({"/C/F/A_001F.MP4", "/c/r/a_001r.mp4"}, "a_001F.MP4")),
             QList<QListWidgetItem*>{row});
    QVERIFY(index.equalTo(_entry({"/c/F/a_001F.MP4", "/c/R/a_001R.MP4"}, "a_001R.MP4")).isEmpty());
    QVERIFY(index.equalTo(_entry({"/c/F/a_001F.MP4", "/c/R/a_001R.MP4"}, "A_001F.MP4")).isEmpty());
}

void TestEntryIndex::firstClipIsExactAndMayBeShared() {
    KvEntryIndex index;
    QListWidgetItem* single = _row();
    QListWidgetItem* pair = _row();
    QListWidgetItem* other = _row();
    index.insert(single, _entry({"/c/F/a_001F.MP4"}));
    index.insert(pair, _entry({"/c/F/a_001F.MP4", "/c/R/a_001R.MP4"}));
    index.insert(other, _entry({"/c/R/a_001R.MP4"}));
    QList<QListWidgetItem*> rows = index.withFirstClip("/c/F/a_001F.MP4");
    std::sort(rows.begin(), rows.end());
    QList<QListWidgetItem*> expected{single, pair};
    std::sort(expected.begin(), expected.end());
    QCOMPARE(rows, expected);
    QVERIFY(index.withFirstClip("/c/f/a_001F.MP4").isEmpty());
    QCOMPARE(index.withFirstClip("/c/R/a_001R.MP4"), QList<QListWidgetItem*>{other});
}

void TestEntryIndex::entriesWithoutClipsGoByName() {
    KvEntryIndex index;
    QListWidgetItem* broken = _row();
    QListWidgetItem* clip = _row();
    index.insert(broken, _entry({}, "broken"));
    index.insert(clip, _entry({"broken"}, "broken"));
    QCOMPARE(index.sameRecording(_entry({}, "broken")), QList<QListWidgetItem*>{broken});
    QCOMPARE(index.equalTo(_entry({}, "broken")), QList<QListWidgetItem*>{broken});
    QVERIFY(index.sameRecording(_entry({}, "Broken")).isEmpty());
    QVERIFY(index.sameRecording(_entry({}, "")).isEmpty());
    QCOMPARE(index.sameRecording(_entry({"broken"})), QList<QListWidgetItem*>{clip});
    // A row without clips has no first clip.
    QVERIFY(index.withFirstClip(QString()).isEmpty());
}

void TestEntryIndex::removeAndClearForgetRows() {
    KvEntryIndex index;
    QListWidgetItem* a = _row();
    QListWidgetItem* b = _row();
    const KvVideoInfo entryA = _entry({"/c/a.mp4"}, "a");
    const KvVideoInfo entryB = _entry({"/c/b.mp4"}, "b");
    index.insert(a, entryA);
    index.insert(b, entryB);
    index.remove(a);
    QCOMPARE(index.size(), 1);
    QVERIFY(index.sameRecording(entryA).isEmpty());
    QVERIFY(index.withFirstClip("/c/a.mp4").isEmpty());
    QCOMPARE(index.equalTo(entryB), QList<QListWidgetItem*>{b});
    // Removing a row the index does not hold changes nothing.
    index.remove(a);
    index.remove(nullptr);
    QCOMPARE(index.size(), 1);
    index.clear();
    QCOMPARE(index.size(), 0);
    QVERIFY(index.sameRecording(entryB).isEmpty());
    QVERIFY(index.withFirstClip("/c/b.mp4").isEmpty());
}

void TestEntryIndex::insertingARowAgainReplacesItsEntry() {
    KvEntryIndex index;
    QListWidgetItem* row = _row();
    index.insert(row, _entry({"/c/a.mp4"}, "a"));
    index.insert(row, _entry({"/c/b.mp4"}, "b"));
    QCOMPARE(index.size(), 1);
    QVERIFY(index.sameRecording(_entry({"/c/a.mp4"})).isEmpty());
    QVERIFY(index.withFirstClip("/c/a.mp4").isEmpty());
    QCOMPARE(index.withFirstClip("/c/b.mp4"), QList<QListWidgetItem*>{row});
}

void TestEntryIndex::letterCaseFoldsAsClipsCompare_data() {
    QTest::addColumn<QString>("added");
    QTest::addColumn<QString>("asked");
    // 1: the clips compare equal; 0: they do not; -1: whatever Qt's folding says.
    QTest::addColumn<int>("same");
    QTest::newRow("ascii") << "/card/DCIM/F/clip.mp4"
                           << "/CARD/dcim/f/CLIP.MP4" << 1;
    QTest::newRow("latin") << QString::fromUtf8("/Fahrt/Ärger.mp4")
                           << QString::fromUtf8("/fahrt/ärger.MP4") << 1;
    QTest::newRow("greek final sigma")
        << QString::fromUtf8("/ΟΔΟΣ.mp4") << QString::fromUtf8("/οδος.mp4") << 1;
    QTest::newRow("kelvin sign") << QString::fromUtf8("/\u212A.mp4") << "/k.mp4" << 1;
    QTest::newRow("deseret") << QString::fromUtf8("/\U00010400.mp4")
                             << QString::fromUtf8("/\U00010428.mp4") << 1;
    QTest::newRow("cjk") << QString::fromUtf8("/行车/记录.mp4")
                         << QString::fromUtf8("/行车/记录.MP4") << 1;
    QTest::newRow("sharp s") << QString::fromUtf8("/straße.mp4") << "/STRASSE.mp4" << 0;
    QTest::newRow("different") << "/card/a.mp4"
                               << "/card/b.mp4" << 0;
    QTest::newRow("dotted capital I") << QString::fromUtf8("/\u0130.mp4") << "/i.mp4" << -1;
}

void TestEntryIndex::letterCaseFoldsAsClipsCompare() {
    QFETCH(QString, added);
    QFETCH(QString, asked);
    QFETCH(int, same);
    KvEntryIndex index;
    QListWidgetItem* row = _row();
    const KvVideoInfo entry = _entry({added});
    index.insert(row, entry);
    const bool equal = entry.videos == _entry({asked}).videos;
    if (same >= 0) {
        QCOMPARE(equal, same == 1);
    }
    // The index finds the row exactly when the clips compare equal.
    QCOMPARE(!index.sameRecording(_entry({asked})).isEmpty(), equal);
}

void TestEntryIndex::manyRows() {
    KvEntryIndex index;
    QList<QListWidgetItem*> rows;
    for (int i = 0; i < 5000; ++i) {
        rows.append(_row());
        index.insert(rows.last(), _entry({QString("/card/DCIM/F/%1F.MP4").arg(i),
                                          QString("/card/DCIM/R/%1R.MP4").arg(i)},
                                         QString("%1F.MP4").arg(i)));
    }
    QCOMPARE(index.size(), 5000);
    for (int i = 0; i < 5000; i += 499) {
        const KvVideoInfo asked = _entry(
            {QString("/card/dcim/f/%1f.mp4").arg(i), QString("/card/dcim/r/%1r.mp4").arg(i)});
        QCOMPARE(index.sameRecording(asked), QList<QListWidgetItem*>{rows.at(i)});
        QCOMPARE(index.withFirstClip(QString("/card/DCIM/F/%1F.MP4").arg(i)),
                 QList<QListWidgetItem*>{rows.at(i)});
    }
}

KV_TEST_MAIN(TestEntryIndex)
#include "tst_entryindex.moc"
