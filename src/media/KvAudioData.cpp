#include "KvAudioData.h"

#include <cstdlib>
#include <cstring>

namespace {

unsigned char* allocBuffer(int size) {
    return size >= 1 ? static_cast<unsigned char*>(std::malloc(static_cast<size_t>(size)))
                     : nullptr;
}

} // namespace

KvAudioData::KvAudioData() = default;

KvAudioData::KvAudioData(int size0, int size1)
    : data0(allocBuffer(size0)), data1(allocBuffer(size1)), size0(size0 >= 1 ? size0 : 0),
      size1(size1 >= 1 ? size1 : 0) {}

KvAudioData::KvAudioData(const unsigned char** data, int* sizes, int format)
    : KvAudioData(sizes[0], sizes[1]) {
    this->format = format;
    if (data0 != nullptr) {
        std::memcpy(data0, data[0], static_cast<size_t>(size0));
    }
    if (data1 != nullptr) {
        std::memcpy(data1, data[1], static_cast<size_t>(size1));
    }
}

KvAudioData::~KvAudioData() {
    std::free(data0);
    std::free(data1);
}
