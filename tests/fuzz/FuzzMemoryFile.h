#pragma once

// A file in memory (memfd) reached by its /proc/self/fd path, for fuzzing readers that open a
// path, without wearing the disk.
#include <QString>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace kvfuzz {

class MemoryFile {
public:
    explicit MemoryFile(char const* name) {
        _fd = memfd_create(name, 0);
        if (_fd < 0) {
            std::abort();
        }
        _path = QString("/proc/self/fd/%1").arg(_fd);
    }
    QString const& write(uint8_t const* data, size_t size) {
        if (ftruncate(_fd, 0) != 0 ||
            (size > 0 && pwrite(_fd, data, size, 0) != static_cast<ssize_t>(size))) {
            std::abort();
        }
        return _path;
    }

private:
    int _fd = -1;
    QString _path;
};

} // namespace kvfuzz
