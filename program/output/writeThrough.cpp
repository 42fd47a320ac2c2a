#include "program/output/writeThrough.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace program {

int writeThrough(int file) noexcept {
    while (fsync(file) != 0) {
        if (errno != EINTR) {
            return errno == EINVAL || errno == ENOTSUP ? 0 : errno;
        }
    }
    return 0;
}

void writeFolderThrough(const std::filesystem::path& folder) noexcept {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file >= 0) {
        writeThrough(file);
        close(file);
    }
}

} // namespace program
