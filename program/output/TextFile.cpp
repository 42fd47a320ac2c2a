#include "program/output/TextFile.h"

#include "program/fileName.h"
#include "program/output/writeAll.h"
#include "program/output/writeFailure.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace program {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 18;

bool isDescriptor(const std::string& name) {
    return name == "/dev/stderr" || name.starts_with("/dev/fd/") ||
           name.starts_with("/proc/self/fd/");
}

/// One member of gzip, of which a file may have many.
std::string packedMember(std::string_view text) {
    constexpr int kGzip = 15 + 16; // the largest window, and a header of gzip
    constexpr int kUsualMemory = 8;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, kUsualMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    std::string result(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH); // to which the bound gives room
    result.resize(result.size() - stream.avail_out);
    deflateEnd(&stream);
    return result;
}

std::string packed(std::string_view text) {
    constexpr std::size_t kMost = std::size_t{1} << 30; // zlib counts in 32 bits
    std::string result;
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), kMost))) {
        result += packedMember(text.substr(0, kMost));
    }
    return result;
}

/// A descriptor's name may stand for a file that has been written to, which is continued.
int openDirectly(const std::string& name) {
    return isStandardOutput(name) ? STDOUT_FILENO
                                  : open(name.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
}

} // namespace

bool isStandardOutput(const std::string& name) {
    return name == "-" || name == "/dev/stdout";
}

bool isWrittenDirectly(const std::string& name) {
    struct stat status {};
    return isStandardOutput(name) || isDescriptor(name) ||
           (stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
            !S_ISDIR(status.st_mode));
}

TextFile::TextFile(const std::string& name, const std::string& extension)
    : name_(isStandardOutput(name) ? "standard output" : name), isPacked_(isPacked(name)) {
    if (isWrittenDirectly(name)) {
        file_ = openDirectly(name);
    } else {
        partial_.emplace(name, extension);
        file_ = open(partial_->path().c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC);
    }
    if (file_ < 0) {
        throw writeFailure(name_, errno);
    }
    buffer_.reserve(kPiece + kPiece / 4);
}

TextFile::~TextFile() {
    if (file_ >= 0 && file_ != STDOUT_FILENO) {
        close(file_);
    }
}

void TextFile::write(std::string_view rows) {
    buffer_ += rows;
    if (buffer_.size() >= kPiece) {
        drain();
    }
}

void TextFile::flush() {
    if (!partial_) {
        drain();
    }
}

void TextFile::finish() {
    if (failure_ != 0) {
        throw failure();
    }
    drain();
    closeFile();
    if (partial_) {
        partial_->complete();
    }
}

std::string TextFile::abandon(std::string_view end) noexcept {
    const bool isWhole = failure_ == 0 && tryDrain();
    buffer_ = end;
    if (!partial_) {
        isWhole&& tryDrain();
        return {};
    }
    if (!tryDrain() && cutTo(lastDrained_)) { // which makes room for the end
        buffer_ = end;
        tryDrain();
    }
    return drained_ > static_cast<std::int64_t>(end.size()) ? partial_->keep() : std::string();
}

bool TextFile::tryDrain() noexcept {
    try {
        drain();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void TextFile::drain() {
    if (buffer_.empty()) {
        return;
    }
    if (isPacked_) {
        buffer_ = packed(buffer_);
    }
    if (const int fault = writeAll(file_, buffer_); fault != 0) {
        fail(fault);
    }
    lastDrained_ = drained_;
    drained_ += static_cast<std::int64_t>(buffer_.size());
    buffer_.clear();
}

/// Takes back the piece that was written in part, so that the file ends with a whole row and
/// abandon can put its end behind it.
void TextFile::fail(int reason) {
    failure_ = reason;
    buffer_.clear();
    if (partial_) {
        cutTo(drained_);
    }
    throw failure();
}

bool TextFile::cutTo(std::int64_t size) noexcept {
    drained_ = size;
    return ftruncate(file_, size) == 0 && lseek(file_, size, SEEK_SET) == size;
}

Failure TextFile::failure() const {
    const Failure failure = writeFailure(name_, failure_);
    return failure_ == EPIPE && file_ == STDOUT_FILENO
               ? Failure(ExitCode::readerGone, failure.what())
               : failure;
}

/// Some file systems tell only now that the disk is full.
void TextFile::closeFile() {
    const int file = file_;
    file_ = -1;
    if (file >= 0 && file != STDOUT_FILENO && close(file) != 0 && errno != EINTR) {
        throw writeFailure(name_, errno);
    }
}

void print(std::string_view text) {
    TextFile output("-", "");
    output.write(text);
    output.finish();
}

} // namespace program
