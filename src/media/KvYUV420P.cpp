#include "KvYUV420P.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

unsigned char* allocPlane(int size) {
    return static_cast<unsigned char*>(std::malloc(static_cast<size_t>(std::max(size, 0))));
}

// Copies `rows` rows of min(width, stride) bytes each into a fresh tightly packed buffer.
unsigned char* copyRows(const unsigned char* source, int width, int rows, int stride) {
    const int rowLength = std::min(width, stride);
    unsigned char* plane = allocPlane(rowLength * rows);
    unsigned char* target = plane;
    for (int row = 0; row < rows; ++row) {
        std::memcpy(target, source, static_cast<size_t>(std::max(rowLength, 0)));
        source += stride;
        target += rowLength;
    }
    return plane;
}

unsigned char* copyWhole(const unsigned char* source, int size) {
    unsigned char* plane = allocPlane(size);
    if (size > 0) {
        std::memcpy(plane, source, static_cast<size_t>(size));
    }
    return plane;
}

} // namespace

KvYUV420P::KvYUV420P(const unsigned char** planes, int width, int height, int* linesizes)
    : KvYUVData(width, height) {
    if (linesizes == nullptr) {
        const int lumaSize = width * height;
        y = copyWhole(planes[0], lumaSize);
        u = copyWhole(planes[1], lumaSize / 4);
        v = copyWhole(planes[2], lumaSize / 4);
        return;
    }
    y = copyRows(planes[0], width, height, linesizes[0]);
    u = copyRows(planes[1], width / 2, height / 2, linesizes[1]);
    v = copyRows(planes[2], width / 2, height / 2, linesizes[2]);
}

KvYUV420P::~KvYUV420P() {
    std::free(y);
    std::free(u);
    std::free(v);
}
