#include "KvNV12Data.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

size_t planeBytes(int size) {
    return static_cast<size_t>(std::max(size, 0));
}

unsigned char* copyRows(const unsigned char* source, int width, int rows, int stride) {
    const int rowLength = std::min(width, stride);
    auto* plane = static_cast<unsigned char*>(std::malloc(planeBytes(rowLength * rows)));
    unsigned char* target = plane;
    for (int row = 0; row < rows; ++row) {
        std::memcpy(target, source, planeBytes(rowLength));
        source += stride;
        target += rowLength;
    }
    return plane;
}

unsigned char* copyWhole(const unsigned char* source, int size) {
    auto* plane = static_cast<unsigned char*>(std::malloc(planeBytes(size)));
    if (size > 0) {
        std::memcpy(plane, source, planeBytes(size));
    }
    return plane;
}

} // namespace

KvNV12Data::KvNV12Data(int width, int height) : KvYUVData(width, height) {
    y = static_cast<unsigned char*>(std::calloc(planeBytes(width * height), 1));
    uv = static_cast<unsigned char*>(std::calloc(planeBytes(width * height / 2), 1));
}

KvNV12Data::KvNV12Data(const unsigned char** planes, int width, int height, int* linesizes)
    : KvYUVData(width, height) {
    const bool compactRows = linesizes != nullptr && linesizes[0] != width && linesizes[1] != width;
    if (compactRows) {
        y = copyRows(planes[0], width, height, linesizes[0]);
        uv = copyRows(planes[1], width, height / 2, linesizes[1]);
        return;
    }
    y = copyWhole(planes[0], width * height);
    uv = copyWhole(planes[1], width * height / 2);
}

KvNV12Data::~KvNV12Data() {
    std::free(y);
    std::free(uv);
}
