#pragma once

#include "KvMediaData.h"

// One block of output-ready audio bytes. Interleaved sample formats use data0 only.
class KvAudioData : public KvMediaData {
public:
    KvAudioData();
    // Uninitialised buffers of the given sizes; a size below 1 gives a null buffer and size 0.
    KvAudioData(int size0, int size1);
    // Copies of data[0] and data[1] with sizes[0] and sizes[1] bytes (null where the size is
    // below 1).
    KvAudioData(const unsigned char** data, int* sizes, int format);
    ~KvAudioData() override;

    unsigned char* data0 = nullptr;
    unsigned char* data1 = nullptr;
    int size0 = 0;
    int size1 = 0;
    int format = 0;    // FFmpeg sample format of the source frame; informational only
    double time = 0.0; // presentation time in seconds, set by the producer
};
