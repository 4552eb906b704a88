#pragma once

#include "KvYUVData.h"

// A semi-planar 4:2:0 picture: a luma plane and one interleaved chroma plane of half its size.
class KvNV12Data : public KvYUVData {
public:
    // Zero-filled planes of width*height and width*height/2 bytes.
    KvNV12Data(int width, int height);
    // Rows are compacted only when both line sizes differ from the width; otherwise the planes are
    // copied in one piece as if unpadded, even when the chroma rows alone carry padding.
    KvNV12Data(const unsigned char** planes, int width, int height, int* linesizes);
    ~KvNV12Data() override;

    unsigned char* y = nullptr;
    unsigned char* uv = nullptr;
};
