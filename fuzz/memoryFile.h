#ifndef QORVEL_FUZZ_MEMORYFILE_H
#define QORVEL_FUZZ_MEMORYFILE_H

#include "law.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

/// A file of some bytes that never touches a disk.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : file_(memfd_create("fuzz", 0)) {
        LAW(file_ >= 0 && write(file_, data, size) == static_cast<ssize_t>(size));
    }
    ~MemoryFile() { close(file_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string name() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

#endif
