#pragma once

#include "KvMediaData.h"

// A decoded picture of some YUV layout. The producer sets `time` after construction.
class KvYUVData : public KvMediaData {
public:
    KvYUVData(int width, int height);
    ~KvYUVData() override;

    int width;         // pixels of the luma plane
    int height;        // rows of the luma plane
    double time = 0.0; // presentation time in seconds from the start of the file
};

// Destroy a record through its virtual destructor; null is ignored.
void KvYUVDataFree(KvYUVData* data);
// The same with the free-function signature the queues take; any KvMediaData may be passed.
void KvYUVDataFreeFunc(void* data);
