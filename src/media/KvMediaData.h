#pragma once

// Root of the media records that travel between the player's threads by raw pointer. The virtual
// destructor lets whoever holds a base pointer (a queue's free function) destroy any record.
class KvMediaData {
public:
    KvMediaData() = default;
    KvMediaData(const KvMediaData&) = delete;
    KvMediaData& operator=(const KvMediaData&) = delete;
    virtual ~KvMediaData();
};
