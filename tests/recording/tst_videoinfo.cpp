#include "KvTestMain.h"
#include "KvVideoInfo.h"

#include <QCryptographicHash>
#include <QDomDocument>
#include <QXmlStreamWriter>
#include <QtTest>

class TestVideoInfo : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void videoFromPath();
    void videoDefaultsAndInfoLoaded();
    void videoEqualityIgnoresCaseAndOtherFields();
    void entryFromTwoPaths();
    void identifierOfEmptyEntryIsName();
    void identifierIsMd5OfPathsAndIgnoresName();
    void pathsDifferingInCaseAreEqualButNotSameId();
    void isSameNameIsCaseSensitiveAndNeedsVideos();
    void equalityNeedsSameNameAndCount();
    void validity();
    void clearAndAssign();
    void writeGivesExactDocument();
    void sizeLosesPrecisionOnPurpose();
    void roundTrip();
    void anyRootTagAndCaseInsensitiveTags();
    void videoWithoutChildrenIsDefault();
    void nonElementChildOfVideosIsDefaultVideo();
    void readingThumbCreatesFolder();
    void unknownTagsAndGpsAreIgnored();
    void badFilesReadAsEmpty_data();
    void badFilesReadAsEmpty();
    void hugeFileReadsAsEmpty();
    void writeToReadOnlyFolderFailsAndKeepsOldFile();
    void rewriteReplacesWholeFile();
    void nonAsciiPaths();

private:
    QString _makeFile(const QString& relative, const QByteArray& content = "data");
    QTemporaryDir _dir;
};

void TestVideoInfo::initTestCase() {
    QVERIFY(_dir.isValid());
}

QString TestVideoInfo::_makeFile(const QString& relative, const QByteArray& content) {
    const QString path = _dir.filePath(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(content);
    }
    return path;
}

void TestVideoInfo::videoFromPath() {
    const QString path = _makeFile("DCIM/F/clip_001F.MP4", QByteArray(1234, 'x'));
    const KvVideo video(path);
    QCOMPARE(video.path, path);
    QCOMPARE(video.name, QString("clip_001F.MP4"));
    QCOMPARE(video.size, 1234.0);
    QCOMPARE(video.fps, 0.0);
    QCOMPARE(video.duration, 0.0);
    QCOMPARE(video.width, 0);
    QCOMPARE(video.height, 0);
    QVERIFY(video.thumb.isEmpty());
    QVERIFY(video.isValid());

    const KvVideo missing(_dir.filePath("gone.mp4"));
    QCOMPARE(missing.size, 0.0);
    QCOMPARE(missing.name, QString("gone.mp4"));
    QVERIFY(!missing.isValid());
}

void TestVideoInfo::videoDefaultsAndInfoLoaded() {
    KvVideo video;
    QVERIFY(video.path.isEmpty() && video.name.isEmpty() && video.thumb.isEmpty());
    QVERIFY(!video.isInfoLoaded());
    video.thumb = _makeFile("cache/thumb.jpg");
    video.fps = 30;
    video.duration = 60;
    video.width = 1920;
    video.height = 1080;
    QVERIFY(video.isInfoLoaded());
    for (int field = 0; field < 5; ++field) {
        KvVideo partial = video;
        switch (field) {
        case 0:
            partial.thumb = _dir.filePath("cache/none.jpg");
            break;
        case 1:
            partial.fps = 0;
            break;
        case 2:
            partial.duration = -1;
            break;
        case 3:
            partial.width = 0;
            break;
        case 4:
            partial.height = 0;
            break;
        }
        QVERIFY2(!partial.isInfoLoaded(), qPrintable(QString::number(field)));
    }
}

void TestVideoInfo::videoEqualityIgnoresCaseAndOtherFields() {
    KvVideo a("/card/DCIM/F/Clip.MP4");
    KvVideo b("/CARD/dcim/f/clip.mp4");
    b.fps = 25;
    b.name = "other";
    QVERIFY(a == b);
    QVERIFY(!(a != b));
    QVERIFY(a != KvVideo("/card/DCIM/F/Clip2.MP4"));
}

void TestVideoInfo::entryFromTwoPaths() {
    const KvVideoInfo info("/card/F/a_001F.MP4", "/card/R/a_001R.MP4");
    QCOMPARE(info.videos.size(), 2);
    QCOMPARE(info.videos.at(0).path, QString("/card/F/a_001F.MP4"));
    QCOMPARE(info.videos.at(1).path, QString("/card/R/a_001R.MP4"));
    QCOMPARE(info.name, QString("a_001F.MP4"));

    const KvVideoInfo noRear("/card/F/a_001F.MP4", "");
    QCOMPARE(noRear.videos.size(), 2);
    QVERIFY(noRear.videos.at(1).path.isEmpty());
}

void TestVideoInfo::identifierOfEmptyEntryIsName() {
    KvVideoInfo info;
    QVERIFY(info.isEmpty());
    QCOMPARE(info.indentifer(), QString());
    info.name = "My trip";
    QCOMPARE(info.indentifer(), QString("My trip"));
}

void TestVideoInfo::identifierIsMd5OfPathsAndIgnoresName() {
    KvVideoInfo info;
    info.appendVideo("/p1/front.mp4");
    info.appendVideo("/p2/rear.mp4");
    const QString id = info.indentifer();
    QCOMPARE(id,
             QString(QCryptographicHash::hash("/p1/front.mp4/p2/rear.mp4", QCryptographicHash::Md5)
                         .toHex()));
    QCOMPARE(id.size(), 32);
    QVERIFY(QRegularExpression("^[0-9a-f]{32}$").match(id).hasMatch());
    info.name = "renamed";
    QCOMPARE(info.indentifer(), id);

    KvVideoInfo utf8;
    utf8.appendVideo(QString::fromUtf8("/卡/前.mp4"));
    QCOMPARE(utf8.indentifer(),
             QString(QCryptographicHash::hash(QString::fromUtf8("/卡/前.mp4").toUtf8(),
                                              QCryptographicHash::Md5)
                         .toHex()));
}

void TestVideoInfo::pathsDifferingInCaseAreEqualButNotSameId() {
    KvVideoInfo lower;
    lower.appendVideo("/card/f/clip.mp4");
    KvVideoInfo upper;
    upper.appendVideo("/CARD/F/CLIP.MP4");
    lower.name = upper.name = "clip";
    QVERIFY(lower == upper);
    QVERIFY(!(lower != upper));
    QVERIFY(lower.indentifer() != upper.indentifer());
}

void TestVideoInfo::isSameNameIsCaseSensitiveAndNeedsVideos() {
    KvVideoInfo a, b;
    a.name = b.name = "x";
    QVERIFY(a == b);
    QVERIFY(!a.isSameName(b));

    a.appendVideo("/one/clip.MP4");
    b.appendVideo("/two/clip.MP4");
    QVERIFY(a.isSameName(b));
    QVERIFY(a != b);

    KvVideoInfo c;
    c.appendVideo("/one/CLIP.MP4");
    QVERIFY(!a.isSameName(c));

    KvVideoInfo d;
    d.appendVideo("/one/clip.MP4");
    d.appendVideo("/one/rear.MP4");
    QVERIFY(!a.isSameName(d));
}

void TestVideoInfo::equalityNeedsSameNameAndCount() {
    KvVideoInfo a, b;
    a.appendVideo("/x/clip.mp4");
    b.appendVideo("/x/clip.mp4");
    a.name = "A";
    b.name = "a";
    QVERIFY(a != b);
    b.name = "A";
    QVERIFY(a == b);
    b.appendVideo("/x/rear.mp4");
    QVERIFY(a != b);
}

void TestVideoInfo::validity() {
    KvVideoInfo info;
    QVERIFY(!info.isValid());
    info.appendVideo(_makeFile("valid/front.mp4"));
    QVERIFY(info.isValid());
    info.appendVideo(_dir.filePath("valid/missing.mp4"));
    QVERIFY(!info.isValid());
}

void TestVideoInfo::clearAndAssign() {
    KvVideoInfo info("/a/front.mp4", "/a/rear.mp4");
    KvVideoInfo copy;
    copy = info;
    QVERIFY(copy == info);
    copy = copy;
    QCOMPARE(copy.videos.size(), 2);
    const int capacity = copy.videos.capacity();
    copy.clear();
    QVERIFY(copy.isEmpty());
    QVERIFY(copy.name.isEmpty());
    QCOMPARE(copy.videos.capacity(), capacity);
    QCOMPARE(info.videos.size(), 2);
}

void TestVideoInfo::writeGivesExactDocument() {
    KvVideoInfo info;
    info.name = "front.mp4";
    KvVideo video;
    video.name = "front.mp4";
    video.path = "/card/front.mp4";
    video.thumb = "/tmp/cache/x.jpg";
    video.width = 1920;
    video.height = 1080;
    video.size = 1024;
    video.fps = 29.97;
    video.duration = 60.5;
    info.videos.append(video);

    QByteArray bytes;
    QXmlStreamWriter writer(&bytes);
    QVERIFY(info.writeToFile(writer));
    const QByteArray expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<KvVideoInfo>\n"
                                "    <Name>front.mp4</Name>\n"
                                "    <Videos>\n"
                                "        <Video>\n"
                                "            <name>front.mp4</name>\n"
                                "            <path>/card/front.mp4</path>\n"
                                "            <thumb>/tmp/cache/x.jpg</thumb>\n"
                                "            <width>1920</width>\n"
                                "            <height>1080</height>\n"
                                "            <size>1024</size>\n"
                                "            <fps>29.97</fps>\n"
                                "            <duration>60.5</duration>\n"
                                "        </Video>\n"
                                "    </Videos>\n"
                                "</KvVideoInfo>\n";
    QCOMPARE(bytes, expected);
}

void TestVideoInfo::sizeLosesPrecisionOnPurpose() {
    KvVideoInfo info;
    info.name = "big";
    KvVideo video;
    video.size = 123456789;
    info.videos.append(video);
    const QString path = _dir.filePath("size.xml");
    QVERIFY(info.writeToFile(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains("<size>1.23457e+08</size>"));
    const KvVideoInfo back = KvVideoInfo::readFromFile(path);
    QCOMPARE(back.videos.size(), 1);
    QCOMPARE(back.videos.at(0).size, 123457000.0);
}

void TestVideoInfo::roundTrip() {
    KvVideoInfo info(_makeFile("rt/F/a_001F.MP4"), _makeFile("rt/R/a_001R.MP4"));
    info.videos[0].fps = 30;
    info.videos[0].width = 321;
    info.videos[0].height = 241;
    info.videos[0].duration = 3.5;
    const QString path = _dir.filePath("rt.xml");
    QVERIFY(info.writeToFile(path));
    const KvVideoInfo back = KvVideoInfo::readFromFile(path);
    QVERIFY(back == info);
    QCOMPARE(back.indentifer(), info.indentifer());
    QCOMPARE(back.videos.at(0).fps, 30.0);
    QCOMPARE(back.videos.at(0).width, 321);
    QCOMPARE(back.videos.at(0).height, 241);
    QCOMPARE(back.videos.at(0).duration, 3.5);
    QCOMPARE(back.videos.at(1).size, 4.0);
}

void TestVideoInfo::anyRootTagAndCaseInsensitiveTags() {
    const QString path = _makeFile("tags.xml", "<?xml version=\"1.0\"?>\n"
                                               "<Whatever>\n"
                                               "  <NAME>first</NAME>\n"
                                               "  <videos><VIDEO><PATH>/a.mp4</PATH>"
                                               "<Width>640</Width></VIDEO></videos>\n"
                                               "  <name>last</name>\n"
                                               "  <Videos><Video><path>/b.mp4</path></Video>"
                                               "</Videos>\n"
                                               "</Whatever>\n");
    const KvVideoInfo info = KvVideoInfo::readFromFile(path);
    QCOMPARE(info.name, QString("last"));
    QCOMPARE(info.videos.size(), 2);
    QCOMPARE(info.videos.at(0).path, QString("/a.mp4"));
    QCOMPARE(info.videos.at(0).width, 640);
    QCOMPARE(info.videos.at(1).path, QString("/b.mp4"));
}

void TestVideoInfo::videoWithoutChildrenIsDefault() {
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<Video/>")));
    QDomElement element = document.documentElement();
    const KvVideo video = KvVideo::readFromXML(element);
    QVERIFY(video.name.isEmpty() && video.path.isEmpty() && video.thumb.isEmpty());
    QCOMPARE(video.width, 0);
    QCOMPARE(video.height, 0);
    QCOMPARE(video.size, 0.0);
    QCOMPARE(video.fps, 0.0);
    QCOMPARE(video.duration, 0.0);
}

void TestVideoInfo::nonElementChildOfVideosIsDefaultVideo() {
    QDomDocument document;
    QVERIFY(document.setContent(
        QByteArray("<KvVideoInfo><Videos><Video><path>/a.mp4</path></Video>"
                   "<!-- a comment --><Video><path>/b.mp4</path><width>abc</width>"
                   "<fps>x</fps></Video></Videos></KvVideoInfo>")));
    const KvVideoInfo info = KvVideoInfo::readFromFile(document);
    QCOMPARE(info.videos.size(), 3);
    QVERIFY(info.videos.at(1).path.isEmpty());
    QCOMPARE(info.videos.at(2).path, QString("/b.mp4"));
    QCOMPARE(info.videos.at(2).width, 0);
    QCOMPARE(info.videos.at(2).fps, 0.0);
}

void TestVideoInfo::readingThumbCreatesFolder() {
    const QString folder = _dir.filePath("thumbs/deep/cache");
    QVERIFY(!QDir(folder).exists());
    const QString path =
        _makeFile("thumb.xml", "<KvVideoInfo><Videos><Video><thumb>" + folder.toUtf8() +
                                   "/x.jpg</thumb></Video></Videos>"
                                   "</KvVideoInfo>");
    const KvVideoInfo info = KvVideoInfo::readFromFile(path);
    QCOMPARE(info.videos.size(), 1);
    QCOMPARE(info.videos.at(0).thumb, folder + "/x.jpg");
    QVERIFY(QDir(folder).exists());
    QVERIFY(!QFile::exists(folder + "/x.jpg"));
}

void TestVideoInfo::unknownTagsAndGpsAreIgnored() {
    const QString path =
        _makeFile("unknown.xml", "<KvVideoInfo><Extra>1</Extra><Name>n</Name><Videos>"
                                 "<Video><gps>1,2,3</gps><color>red</color>"
                                 "<height>480</height></Video></Videos></KvVideoInfo>");
    const KvVideoInfo info = KvVideoInfo::readFromFile(path);
    QCOMPARE(info.name, QString("n"));
    QCOMPARE(info.videos.size(), 1);
    QCOMPARE(info.videos.at(0).height, 480);
}

void TestVideoInfo::badFilesReadAsEmpty_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not xml") << QByteArray("this is not xml at all");
    QTest::newRow("truncated") << QByteArray("<KvVideoInfo><Name>a</Name><Videos><Video><pa");
    QTest::newRow("binary") << QByteArray("\x00\xff\xfe<\x01\x02", 6);
}

void TestVideoInfo::badFilesReadAsEmpty() {
    QFETCH(QByteArray, content);
    const KvVideoInfo info = KvVideoInfo::readFromFile(_makeFile("bad.xml", content));
    QVERIFY(info.isEmpty());
    QVERIFY(info.name.isEmpty());
    QVERIFY(KvVideoInfo::readFromFile(_dir.filePath("missing.xml")).isEmpty());
    QVERIFY(KvVideoInfo::readFromFile(_dir.path()).isEmpty());
}

void TestVideoInfo::hugeFileReadsAsEmpty() {
    QByteArray content = "<KvVideoInfo><Name>";
    content += QByteArray(8 * 1024 * 1024, 'a');
    content += "</Name></KvVideoInfo>";
    QElapsedTimer timer;
    timer.start();
    const KvVideoInfo info = KvVideoInfo::readFromFile(_makeFile("huge.xml", content));
    QVERIFY(info.isEmpty());
    QVERIFY(info.name.isEmpty());
    QVERIFY(timer.elapsed() < 2000);
}

void TestVideoInfo::writeToReadOnlyFolderFailsAndKeepsOldFile() {
    const QString folder = _dir.filePath("readonly");
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + "/entry.xml";
    KvVideoInfo old("/old/front.mp4", "/old/rear.mp4");
    QVERIFY(old.writeToFile(path));
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
    KvVideoInfo other("/new/front.mp4", "/new/rear.mp4");
    const bool written = other.writeToFile(path);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (written) {
        // Root ignores folder permissions; then the write must simply have replaced the file.
        QCOMPARE(KvVideoInfo::readFromFile(path).videos.at(0).path, QString("/new/front.mp4"));
    } else {
        QCOMPARE(KvVideoInfo::readFromFile(path).videos.at(0).path, QString("/old/front.mp4"));
    }
    QVERIFY(!KvVideoInfo().writeToFile(_dir.filePath("no/such/folder/entry.xml")));
    QVERIFY(!QDir(_dir.filePath("no")).exists());
}

void TestVideoInfo::rewriteReplacesWholeFile() {
    const QString path = _dir.filePath("rewrite.xml");
    KvVideoInfo longer;
    for (int i = 0; i < 10; ++i) {
        longer.appendVideo(QString("/a/very/long/path/number/%1.mp4").arg(i));
    }
    QVERIFY(longer.writeToFile(path));
    KvVideoInfo shorter("/s.mp4", "/r.mp4");
    QVERIFY(shorter.writeToFile(path));
    const KvVideoInfo back = KvVideoInfo::readFromFile(path);
    QCOMPARE(back.videos.size(), 2);
    QVERIFY(back == shorter);
    const QStringList leftovers =
        QDir(_dir.path()).entryList(QStringList{"rewrite.xml.*"}, QDir::Files | QDir::Hidden);
    QVERIFY2(leftovers.isEmpty(), qPrintable(leftovers.join(",")));
}

void TestVideoInfo::nonAsciiPaths() {
    const QString front = _makeFile(QString::fromUtf8("行车 记录/F/é 001F.MP4"));
    const QString rear = _makeFile(QString::fromUtf8("行车 记录/R/é 001R.MP4"));
    const KvVideoInfo info(front, rear);
    QVERIFY(info.isValid());
    const QString path =
        _dir.filePath(QString::fromUtf8("行车 记录/") + info.indentifer() + ".xml");
    QVERIFY(info.writeToFile(path));
    const KvVideoInfo back = KvVideoInfo::readFromFile(path);
    QVERIFY(back == info);
    QCOMPARE(back.name, QString::fromUtf8("é 001F.MP4"));
}

KV_TEST_GUILESS_MAIN(TestVideoInfo)
#include "tst_videoinfo.moc"
