#include "KvTestMain.h"
#include "KvAudioData.h"
#include "KvExtQueue.h"
#include "KvNV12Data.h"
#include "KvQueue.h"
#include "KvYUV420P.h"
#include "MutexExtQueue.h"
#include "MutexQueue.h"

#include <QThread>
#include <QtTest>

#include <cstring>
#include <memory>
#include <vector>

namespace {

// Counts the items a queue releases through its free function.
int freedItems = 0;
void countingFree(void* data) {
    ++freedItems;
    delete static_cast<int*>(data);
}

// A plane of exactly `size` bytes on the heap, so AddressSanitizer catches a copy that reads more.
std::unique_ptr<unsigned char[]> patternPlane(int size, int seed) {
    std::unique_ptr<unsigned char[]> plane(new unsigned char[size]);
    for (int i = 0; i < size; ++i) {
        plane[i] = static_cast<unsigned char>(seed + i);
    }
    return plane;
}

} // namespace

class TestMediaData : public QObject {
    Q_OBJECT
private slots:
    void init() { freedItems = 0; }

    void popOnEmptyQueueReturnsNull();
    void pushAfterEmptiedByPopsIsHeadAndTail();
    void queueIsFifoAndNodesWalk();
    void clearAndDestructorFreeWhatIsLeft();
    void popHandsOwnershipWithoutFreeing();
    void mutexQueueCarriesItemsBetweenThreads();

    void yuv420pCompactsPaddedRows();
    void yuv420pNullLineSizesCopyWholePlanes();
    void yuv420pZeroHeightCopiesNothing();
    void nv12CopiedInOnePieceWhenLumaLineSizeIsWidth();
    void nv12CompactedWhenBothLineSizesDiffer();
    void nv12SizedConstructorZeroFills();
    void audioDataZeroSizesHaveNullBuffers();
    void audioDataCopiesBuffers();
    void freeFunctionsIgnoreNullAndDestroyAnyRecord();

    void extQueueSizeIsAlwaysZero();
    void extQueuePushFirstLeavesFormerFirstPrev();
    void extQueuePushLastLinksPrevToFirstNode();
    void extQueueRemoveEmptiesBothEnds();
    void extQueueClearFreesReachableItems();
};

void TestMediaData::popOnEmptyQueueReturnsNull() {
    KvQueue queue(countingFree);
    QCOMPARE(queue.pop(), nullptr);
    QCOMPARE(queue.size(), int64_t(0));
    QCOMPARE(queue.head(), nullptr);
    QCOMPARE(queue.tail(), nullptr);
    MutexQueue locked(countingFree);
    QCOMPARE(locked.pop(), nullptr);
    QCOMPARE(locked.size(), int64_t(0));
}

void TestMediaData::pushAfterEmptiedByPopsIsHeadAndTail() {
    KvQueue queue(countingFree);
    int* first = new int(1);
    int* second = new int(2);
    queue.push(first);
    queue.push(second);
    QCOMPARE(queue.pop(), first);
    QCOMPARE(queue.pop(), second);
    QCOMPARE(queue.pop(), nullptr);
    QCOMPARE(queue.size(), int64_t(0));
    delete first;
    delete second;

    int* third = new int(3);
    queue.push(third);
    QCOMPARE(queue.head(), third);
    QCOMPARE(queue.tail(), third);
    QCOMPARE(queue.headNode(), queue.tailNode());
    QCOMPARE(queue.headNode()->next, nullptr);
    QCOMPARE(queue.size(), int64_t(1));
}

void TestMediaData::queueIsFifoAndNodesWalk() {
    KvQueue queue(countingFree);
    for (int i = 0; i < 5; ++i) {
        queue.push(new int(i));
    }
    QCOMPARE(queue.size(), int64_t(5));
    QCOMPARE(*static_cast<int*>(queue.head()), 0);
    QCOMPARE(*static_cast<int*>(queue.tail()), 4);
    int expected = 0;
    for (KvQueueNode* node = queue.headNode(); node != nullptr; node = node->next) {
        QCOMPARE(*static_cast<int*>(node->data), expected++);
    }
    QCOMPARE(expected, 5);
    QCOMPARE(queue.tailNode()->next, nullptr);
    for (int i = 0; i < 5; ++i) {
        int* item = static_cast<int*>(queue.pop());
        QCOMPARE(*item, i);
        delete item;
        QCOMPARE(queue.size(), int64_t(4 - i));
    }
}

void TestMediaData::clearAndDestructorFreeWhatIsLeft() {
    {
        KvQueue queue(countingFree);
        queue.push(new int(1));
        queue.push(new int(2));
        queue.clear();
        QCOMPARE(freedItems, 2);
        QCOMPARE(queue.size(), int64_t(0));
        QCOMPARE(queue.head(), nullptr);
        queue.push(new int(3));
    }
    QCOMPARE(freedItems, 3);
    {
        MutexQueue queue(countingFree);
        queue.push(new int(4));
        queue.push(new int(5));
    }
    QCOMPARE(freedItems, 5);
    // Without a free function nothing is released on the queue's behalf.
    int kept = 6;
    {
        KvQueue queue(nullptr);
        queue.push(&kept);
        queue.clear();
    }
    QCOMPARE(freedItems, 5);
}

void TestMediaData::popHandsOwnershipWithoutFreeing() {
    MutexQueue queue(countingFree);
    queue.push(new int(7));
    int* item = static_cast<int*>(queue.pop());
    QCOMPARE(freedItems, 0);
    QCOMPARE(*item, 7);
    delete item;
}

void TestMediaData::mutexQueueCarriesItemsBetweenThreads() {
    constexpr int kItems = 20000;
    MutexQueue queue(countingFree);
    std::unique_ptr<QThread> producer(QThread::create([&queue] {
        for (int i = 0; i < kItems; ++i) {
            queue.push(new int(i));
        }
    }));
    producer->start();
    int next = 0;
    while (next < kItems) {
        int* item = static_cast<int*>(queue.pop());
        if (item == nullptr) {
            QThread::yieldCurrentThread();
            continue;
        }
        QCOMPARE(*item, next);
        ++next;
        delete item;
        // A third party walks the nodes read-only while holding the lock.
        queue.lock();
        for (KvQueueNode* node = queue.headNode(); node != nullptr; node = node->next) {
            Q_UNUSED(node->data);
        }
        queue.unlock();
    }
    QVERIFY(producer->wait(10000));
    QCOMPARE(queue.size(), int64_t(0));
}

void TestMediaData::yuv420pCompactsPaddedRows() {
    constexpr int width = 6;
    constexpr int height = 4;
    int linesizes[3] = {16, 8, 8};
    auto y = patternPlane(linesizes[0] * height, 0);
    auto u = patternPlane(linesizes[1] * height / 2, 100);
    auto v = patternPlane(linesizes[2] * height / 2, 200);
    const unsigned char* planes[3] = {y.get(), u.get(), v.get()};
    KvYUV420P picture(planes, width, height, linesizes);
    QCOMPARE(picture.width, width);
    QCOMPARE(picture.height, height);
    for (int row = 0; row < height; ++row) {
        QCOMPARE(std::memcmp(picture.y + row * width, y.get() + row * linesizes[0], width), 0);
    }
    for (int row = 0; row < height / 2; ++row) {
        QCOMPARE(std::memcmp(picture.u + row * 3, u.get() + row * linesizes[1], 3), 0);
        QCOMPARE(std::memcmp(picture.v + row * 3, v.get() + row * linesizes[2], 3), 0);
    }
    // Rows are packed: the second luma row follows the first `width` bytes directly.
    QCOMPARE(picture.y[width], y.get()[linesizes[0]]);
}

void TestMediaData::yuv420pNullLineSizesCopyWholePlanes() {
    // Odd size: chroma planes are (5*3)/4 = 3 bytes, rounded down. The sources are exactly that
    // big, so a copy of one byte more fails under AddressSanitizer.
    constexpr int width = 5;
    constexpr int height = 3;
    auto y = patternPlane(width * height, 1);
    auto u = patternPlane(width * height / 4, 50);
    auto v = patternPlane(width * height / 4, 150);
    const unsigned char* planes[3] = {y.get(), u.get(), v.get()};
    KvYUV420P picture(planes, width, height, nullptr);
    QCOMPARE(std::memcmp(picture.y, y.get(), width * height), 0);
    QCOMPARE(std::memcmp(picture.u, u.get(), 3), 0);
    QCOMPARE(std::memcmp(picture.v, v.get(), 3), 0);
}

void TestMediaData::yuv420pZeroHeightCopiesNothing() {
    int linesizes[3] = {8, 4, 4};
    const unsigned char* planes[3] = {nullptr, nullptr, nullptr};
    KvYUV420P picture(planes, 8, 0, linesizes);
    QCOMPARE(picture.height, 0);
    // One row: luma is copied, chroma (height/2 = 0 rows) is not read at all.
    auto y = patternPlane(8, 3);
    const unsigned char* lumaOnly[3] = {y.get(), nullptr, nullptr};
    KvYUV420P oneRow(lumaOnly, 8, 1, linesizes);
    QCOMPARE(std::memcmp(oneRow.y, y.get(), 8), 0);
}

void TestMediaData::nv12CopiedInOnePieceWhenLumaLineSizeIsWidth() {
    constexpr int width = 8;
    constexpr int height = 4;
    // Only the chroma rows are padded; the picture is still copied as if unpadded, so the second
    // chroma row starts with what was padding in the source.
    int linesizes[2] = {width, 12};
    auto y = patternPlane(width * height, 0);
    auto uv = patternPlane(linesizes[1] * height / 2, 100);
    const unsigned char* planes[2] = {y.get(), uv.get()};
    KvNV12Data picture(planes, width, height, linesizes);
    QCOMPARE(std::memcmp(picture.y, y.get(), width * height), 0);
    QCOMPARE(std::memcmp(picture.uv, uv.get(), width * height / 2), 0);
    QCOMPARE(picture.uv[width], uv[width]);
    QVERIFY(picture.uv[width] != uv[linesizes[1]]);
}

void TestMediaData::nv12CompactedWhenBothLineSizesDiffer() {
    constexpr int width = 8;
    constexpr int height = 4;
    int linesizes[2] = {16, 12};
    auto y = patternPlane(linesizes[0] * height, 0);
    auto uv = patternPlane(linesizes[1] * height / 2, 100);
    const unsigned char* planes[2] = {y.get(), uv.get()};
    KvNV12Data picture(planes, width, height, linesizes);
    for (int row = 0; row < height; ++row) {
        QCOMPARE(std::memcmp(picture.y + row * width, y.get() + row * linesizes[0], width), 0);
    }
    for (int row = 0; row < height / 2; ++row) {
        QCOMPARE(std::memcmp(picture.uv + row * width, uv.get() + row * linesizes[1], width), 0);
    }
}

void TestMediaData::nv12SizedConstructorZeroFills() {
    KvNV12Data picture(6, 4);
    QCOMPARE(picture.width, 6);
    QCOMPARE(picture.height, 4);
    for (int i = 0; i < 24; ++i) {
        QCOMPARE(int(picture.y[i]), 0);
    }
    for (int i = 0; i < 12; ++i) {
        QCOMPARE(int(picture.uv[i]), 0);
    }
}

void TestMediaData::audioDataZeroSizesHaveNullBuffers() {
    KvAudioData sized(0, 0);
    QCOMPARE(sized.data0, nullptr);
    QCOMPARE(sized.data1, nullptr);
    QCOMPARE(sized.size0, 0);
    QCOMPARE(sized.size1, 0);
    KvAudioData negative(-3, 16);
    QCOMPARE(negative.data0, nullptr);
    QCOMPARE(negative.size0, 0);
    QVERIFY(negative.data1 != nullptr);
    QCOMPARE(negative.size1, 16);
    KvAudioData empty;
    QCOMPARE(empty.data0, nullptr);
    QCOMPARE(empty.size0, 0);
    QCOMPARE(empty.format, 0);
}

void TestMediaData::audioDataCopiesBuffers() {
    const unsigned char first[4] = {1, 2, 3, 4};
    const unsigned char second[2] = {9, 8};
    const unsigned char* data[2] = {first, second};
    int sizes[2] = {4, 2};
    KvAudioData block(data, sizes, 7);
    QCOMPARE(block.size0, 4);
    QCOMPARE(block.size1, 2);
    QCOMPARE(block.format, 7);
    QVERIFY(block.data0 != first);
    QCOMPARE(std::memcmp(block.data0, first, 4), 0);
    QCOMPARE(std::memcmp(block.data1, second, 2), 0);

    int interleaved[2] = {4, 0};
    KvAudioData single(data, interleaved, 1);
    QCOMPARE(single.data1, nullptr);
    QCOMPARE(single.size1, 0);
}

void TestMediaData::freeFunctionsIgnoreNullAndDestroyAnyRecord() {
    KvYUVDataFree(nullptr);
    KvYUVDataFreeFunc(nullptr);
    KvYUVDataFree(new KvNV12Data(4, 4));
    KvYUVDataFreeFunc(new KvAudioData(8, 8));
    MutexQueue pictures(KvYUVDataFreeFunc);
    pictures.push(new KvNV12Data(2, 2));
    pictures.push(new KvAudioData(4, 0));
    // Left in the queue: released by its destructor (AddressSanitizer reports a leak otherwise).
}

void TestMediaData::extQueueSizeIsAlwaysZero() {
    KvExtQueue queue(countingFree);
    MutexExtQueue locked(countingFree);
    for (int i = 0; i < 4; ++i) {
        queue.pushFirst(new int(i));
        locked.pushFirst(new int(i));
        QCOMPARE(queue.size(), int64_t(0));
        QCOMPARE(locked.size(), int64_t(0));
    }
    QVERIFY(queue.first() != nullptr);
    QVERIFY(locked.first() != nullptr);
}

void TestMediaData::extQueuePushFirstLeavesFormerFirstPrev() {
    KvExtQueue queue(countingFree);
    int* a = new int(1);
    int* b = new int(2);
    queue.pushFirst(a);
    QCOMPARE(queue.firstNode(), queue.lastNode());
    queue.pushFirst(b);
    QCOMPARE(queue.first(), b);
    QCOMPARE(queue.last(), a);
    QCOMPARE(queue.firstNode()->next, queue.lastNode());
    QCOMPARE(queue.firstNode()->prev, nullptr);
    // The former first node is not linked back to the new one.
    QCOMPARE(queue.lastNode()->prev, nullptr);
    QCOMPARE(queue.removeFirst(), b);
    QCOMPARE(queue.removeFirst(), a);
    QCOMPARE(queue.first(), nullptr);
    QCOMPARE(queue.last(), nullptr);
    delete a;
    delete b;
}

void TestMediaData::extQueuePushLastLinksPrevToFirstNode() {
    KvExtQueue queue(countingFree);
    int* a = new int(1);
    int* b = new int(2);
    int* c = new int(3);
    queue.pushLast(a);
    QCOMPARE(queue.firstNode(), queue.lastNode());
    QCOMPARE(queue.firstNode()->prev, nullptr);
    queue.pushLast(b);
    KvExtQueueNode* nodeB = queue.lastNode();
    queue.pushLast(c);
    // prev is the first node, not the former last one; the former last node's next stays null.
    QCOMPARE(queue.lastNode()->prev, queue.firstNode());
    QCOMPARE(nodeB->prev, queue.firstNode());
    QCOMPARE(nodeB->next, nullptr);
    QCOMPARE(queue.firstNode()->next, nullptr);
    QCOMPARE(queue.first(), a);
    QCOMPARE(queue.last(), c);
    // So walking back from the last node skips b. Release it by hand: the queue cannot reach it.
    QCOMPARE(queue.removeLast(), c);
    QCOMPARE(queue.last(), a);
    delete nodeB;
    QCOMPARE(queue.removeLast(), a);
    QCOMPARE(queue.first(), nullptr);
    delete a;
    delete b;
    delete c;
}

void TestMediaData::extQueueRemoveEmptiesBothEnds() {
    KvExtQueue queue(countingFree);
    QCOMPARE(queue.removeFirst(), nullptr);
    QCOMPARE(queue.removeLast(), nullptr);
    int* a = new int(1);
    queue.pushFirst(a);
    QCOMPARE(queue.removeLast(), a);
    QCOMPARE(queue.firstNode(), nullptr);
    QCOMPARE(queue.lastNode(), nullptr);
    queue.pushLast(a);
    QCOMPARE(queue.removeFirst(), a);
    QCOMPARE(queue.firstNode(), nullptr);
    QCOMPARE(queue.lastNode(), nullptr);
    QCOMPARE(freedItems, 0);
    delete a;
}

void TestMediaData::extQueueClearFreesReachableItems() {
    {
        MutexExtQueue queue(countingFree);
        queue.pushFirst(new int(1));
        queue.pushFirst(new int(2));
        queue.pushFirst(new int(3));
        queue.clear();
        QCOMPARE(freedItems, 3);
        QCOMPARE(queue.first(), nullptr);
        QCOMPARE(queue.last(), nullptr);
        queue.pushFirst(new int(4));
    }
    QCOMPARE(freedItems, 4);
}

KV_TEST_GUILESS_MAIN(TestMediaData)
#include "tst_mediadata.moc"
