#include "program/output/GrowingFile.h"

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

} // namespace

GrowingFile::GrowingFile(const std::string& name)
    : name_(name), file_(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    if (file_ < 0) {
        throw writeFailure(name_, errno);
    }
    if (flock(file_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        close(file_);
        throw writeFailure(name_, "another run has it; wait for its end");
    }
}

GrowingFile::~GrowingFile() {
    close(file_);
}

bool GrowingFile::isEmpty() const {
    struct stat about {};
    return fstat(file_, &about) == 0 && about.st_size == 0;
}

std::optional<FileMark> GrowingFile::mark(std::uint64_t length) const {
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
