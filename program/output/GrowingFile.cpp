#include "program/output/GrowingFile.h"

#include "program/Failure.h"
#include "program/fileMark.h"
#include "program/output/writeAll.h"
#include "program/output/writeFailure.h"
#include "program/output/writeThrough.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace program {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 18;

/// To open a named pipe would wait for its reader.
constexpr int kHow = O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK;

} // namespace

GrowingFile::GrowingFile(const std::string& name)
    : name_(name), file_(open(name.c_str(), kHow, 0666)) {
    struct stat about {};
    const int reason = file_ < 0 || fstat(file_, &about) != 0 ? errno : 0;
    const bool isFile = S_ISREG(about.st_mode);
    if (reason == 0 && isFile && flock(file_, LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    if (file_ >= 0) {
        close(file_);
    }
    if (reason != 0) {
        throw writeFailure(name_, reason);
    }
    throw isFile ? writeFailure(name_, "another run has it; wait for its end")
                 : Failure(ExitCode::usage, name_ + " is no file that could grow from run to run, "
                                                    "as it has to with --state");
}

GrowingFile::~GrowingFile() {
    close(file_);
}

bool GrowingFile::isEmpty() const {
    struct stat about {};
    return fstat(file_, &about) == 0 && about.st_size == 0;
}

std::optional<std::vector<std::uint64_t>> GrowingFile::mark(std::uint64_t length) const {
    return markOf(file_, length);
}

void GrowingFile::cutTo(std::uint64_t length) {
    const auto end = static_cast<off_t>(length);
    if (ftruncate(file_, end) != 0 || lseek(file_, end, SEEK_SET) != end) {
        throw writeFailure(name_, errno);
    }
    length_ = length;
}

void GrowingFile::write(std::string_view rows) {
    buffer_ += rows;
    if (buffer_.size() >= kPiece) {
        drain();
    }
}

std::uint64_t GrowingFile::sync() {
    drain();
    if (const int fault = writeThrough(file_); fault != 0) {
        throw writeFailure(name_, fault);
    }
    return length_;
}

void GrowingFile::drain() {
    const int fault = writeAll(file_, buffer_);
    length_ += buffer_.size();
    buffer_.clear();
    if (fault != 0) {
        throw writeFailure(name_, fault);
    }
}

} // namespace program
