#include "KvBoxBytes.h"
#include "KvTestMain.h"

#include <QtTest>

#include <cstring>

// The byte readers of the "gps0" box keep their mixed byte orders: big-endian integers (the box
// header), a four-byte hex2long, and a hex2double that takes the bytes as they lie.
class TestBoxBytes : public QObject {
    Q_OBJECT
private slots:
    void byteReadersKeepTheirByteOrders();
    void hex2shortIsSigned();
    void hex2intReadsOnlyFourBytes();
};

void TestBoxBytes::byteReadersKeepTheirByteOrders() {
    unsigned char shortBytes[] = {0xFF, 0xFE};
    QCOMPARE(hex2short(shortBytes), short(-2));
    unsigned char intBytes[] = {0x00, 0x00, 0x01, 0x00};
    QCOMPARE(hex2int(intBytes), 256);
    unsigned char boxSize[] = {0x00, 0x00, 0x00, 0x68};
    QCOMPARE(hex2int(boxSize), 104);
    unsigned char longBytes[] = {0x80, 0x00, 0x00, 0x00, 0x12, 0x34, 0x56, 0x78};
    QCOMPARE(hex2long(longBytes), 2147483648L);
    QCOMPARE(hex2int(longBytes), int(0x80000000u));
    // Little-endian bytes of 1.0 and of -3110.5, read as they lie.
    unsigned char one[] = {0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
    QCOMPARE(hex2double(one), 1.0);
    unsigned char south[8];
    const double raw = -3110.5;
    std::memcpy(south, &raw, sizeof(raw));
    QCOMPARE(hex2double(south), -3110.5);
}

void TestBoxBytes::hex2shortIsSigned() {
    unsigned char largest[] = {0x7F, 0xFF};
    QCOMPARE(hex2short(largest), short(32767));
    unsigned char smallest[] = {0x80, 0x00};
    QCOMPARE(hex2short(smallest), short(-32768));
    unsigned char bigEndian[] = {0x01, 0x02};
    QCOMPARE(hex2short(bigEndian), short(0x0102));
}

void TestBoxBytes::hex2intReadsOnlyFourBytes() {
    // The bytes after the fourth are another field of the box and never part of the number.
    unsigned char bytes[] = {0xFF, 0xFF, 0xFF, 0xFF, 0xAA, 0xBB, 0xCC, 0xDD};
    QCOMPARE(hex2int(bytes), -1);
    QCOMPARE(hex2long(bytes), 4294967295L);
    unsigned char ordered[] = {0x12, 0x34, 0x56, 0x78, 0x9A};
    QCOMPARE(hex2int(ordered), 0x12345678);
    QCOMPARE(hex2long(ordered), 0x12345678L);
}

KV_TEST_GUILESS_MAIN(TestBoxBytes)
#include "tst_boxbytes.moc"
