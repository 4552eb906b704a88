#include "KvMediaData.h"

KvMediaData::~KvMediaData() = default;
