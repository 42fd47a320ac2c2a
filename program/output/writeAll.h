#ifndef QORVEL_PROGRAM_OUTPUT_WRITEALL_H
#define QORVEL_PROGRAM_OUTPUT_WRITEALL_H

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <unistd.h>

namespace program {

/// Returns 0 or the number of an error, after which any part of it may be written.
inline int writeAll(int file, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

} // namespace program

#endif
