#include "program/output/writeThrough.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace program {

int writeThrough(int file) noexcept {
    int fault = 0;
    do {
        fault = fsync(file) == 0 ? 0 : errno;
    } while (fault == EINTR);
    return fault == EINVAL || fault == ENOTSUP ? 0 : fault;
}

void writeFolderThrough(const std::filesystem::path& folder) noexcept {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file >= 0) {
        writeThrough(file);
        close(file);
    }
}

} // namespace program
