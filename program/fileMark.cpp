#include "program/fileMark.h"

#include "program/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace program {

namespace {

constexpr std::uint64_t kLooked = 4096;

std::optional<std::uint64_t> sumOf(int file, std::uint64_t from, std::uint64_t to) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(to - from));
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t got =
            pread(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(from + done));
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return std::nullopt;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    }
    return crc32(0, bytes.data(), static_cast<uInt>(bytes.size()));
}

} // namespace

std::optional<FileMark> markOf(int file, std::uint64_t length) {
    struct stat about {};
    if (fstat(file, &about) != 0 || static_cast<std::uint64_t>(about.st_size) < length) {
        return std::nullopt;
    }
    const std::uint64_t looked = std::min(length, kLooked);
    const std::optional<std::uint64_t> first = sumOf(file, 0, looked);
    const std::optional<std::uint64_t> last = sumOf(file, length - looked, length);
    return first && last ? std::optional(FileMark{*first, *last}) : std::nullopt;
}

FileMark expectMark(const std::optional<FileMark>& mark, const std::string& file) {
    if (!mark) {
        throw Failure(ExitCode::broken, file + " became shorter while it was in use");
    }
    return *mark;
}

} // namespace program
