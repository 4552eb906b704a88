#pragma once

#include "KvYUVData.h"

// A planar 4:2:0 picture whose planes are stored without row padding, so a renderer can upload
// each plane with its width as pitch. Buffers come from malloc and go back with free.
class KvYUV420P : public KvYUVData {
public:
    // planes and linesizes as an AVFrame gives them; with null linesizes each plane is copied in
    // one piece (Y width*height bytes, U and V width*height/4 bytes each).
    KvYUV420P(const unsigned char** planes, int width, int height, int* linesizes);
    ~KvYUV420P() override;

    unsigned char* y = nullptr;
    unsigned char* u = nullptr;
    unsigned char* v = nullptr;
};
