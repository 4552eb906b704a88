#include "KvYUVData.h"

KvYUVData::KvYUVData(int width, int height) : width(width), height(height) {}

KvYUVData::~KvYUVData() {
    width = 0;
    height = 0;
}

void KvYUVDataFree(KvYUVData* data) {
    delete data;
}

void KvYUVDataFreeFunc(void* data) {
    delete static_cast<KvMediaData*>(data);
}
