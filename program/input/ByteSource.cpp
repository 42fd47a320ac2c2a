#include "program/input/ByteSource.h"

#include "program/Failure.h"
#include "program/Interrupt.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace program {

namespace {

constexpr std::size_t kHeldSize = std::size_t{1} << 16;
constexpr char kMagic[] = {'\x1F', '\x8B'};

Bytef* asBytef(char* bytes) {
    return reinterpret_cast<Bytef*>(bytes);
}

} // namespace

ByteSource::ByteSource(const std::string& file)
    : name_(file == "-" ? "standard input" : file),
      file_(file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) {
        fail("cannot open ");
    }
    struct stat about {};
    // A file without a size, as under /proc, may still yield bytes, and other ones each time.
    repeatable_ = fstat(file_, &about) == 0 && S_ISREG(about.st_mode) && about.st_size > 0;
    begin_ = repeatable_ ? lseek(file_, 0, SEEK_CUR) : 0;
    fileSize_ = static_cast<double>(about.st_size - begin_);
}

ByteSource::~ByteSource() {
    if (file_ != STDIN_FILENO) {
        close(file_);
    }
}

void ByteSource::rewind() {
    if (lseek(file_, begin_, SEEK_SET) < 0) {
        fail("cannot rewind ");
    }
    bytesRead_ = 0;
    coding_ = Coding::unknown;
    peeked_.clear();
    trouble_.clear();
}

bool ByteSource::isGrowing() {
    return repeatable_ && file_ != STDIN_FILENO && (peek(), coding_ != Coding::gzip);
}

char ByteSource::goTo(std::uint64_t offset) {
    rewind();
    char before = 0;
    const auto at = static_cast<off_t>(offset);
    if (pread(file_, &before, 1, at - 1) != 1 || lseek(file_, at, SEEK_SET) < 0) {
        fail("cannot read ");
    }
    coding_ = Coding::plain;
    heldAt_ = heldEnd_;
    bytesRead_ = offset;
    return before;
}

std::optional<FileMark> ByteSource::mark(std::uint64_t length) const {
    return markOf(file_, length);
}

std::string_view ByteSource::peek() {
    constexpr std::size_t kMost = std::size_t{1} << 16;
    std::size_t got = 1;
    while (got > 0 && peeked_.size() < kMost &&
           peeked_.find_first_not_of(" \t\r\n\xEF\xBB\xBF") == std::string::npos) {
        char piece[512];
        got = readDecoded(piece, sizeof piece);
        peeked_.append(piece, got);
    }
    return peeked_;
}

std::size_t ByteSource::read(char* to, std::size_t size) {
    if (peeked_.empty()) {
        return readDecoded(to, size);
    }
    const std::size_t count = std::min(size, peeked_.size());
    std::memcpy(to, peeked_.data(), count);
    peeked_.erase(0, count);
    return count;
}

std::size_t ByteSource::readDecoded(char* to, std::size_t size) {
    if (coding_ == Coding::unknown) {
        detectCoding();
    }
    return coding_ == Coding::gzip ? unpack(to, size) : readPlain(to, size);
}

std::optional<double> ByteSource::shareRead() const {
    if (!repeatable_ || fileSize_ <= 0.0) {
        return std::nullopt;
    }
    return std::min(static_cast<double>(bytesRead_) / fileSize_, 1.0); // the file may have grown
}

std::size_t ByteSource::readFile(char* to, std::size_t size) {
    while (waitReadable(file_)) {
        const ssize_t got = ::read(file_, to, size);
        if (got >= 0) {
            bytesRead_ += static_cast<std::uint64_t>(got);
            return static_cast<std::size_t>(got);
        }
        if (errno != EINTR && errno != EAGAIN) {
            fail("cannot read ");
        }
    }
    return 0;
}

/// A pipe may bring even two bytes one by one.
void ByteSource::detectCoding() {
    held_.resize(kHeldSize);
    heldAt_ = 0;
    heldEnd_ = 0;
    std::size_t got = 1;
    while (got > 0 && heldEnd_ < sizeof kMagic &&
           std::equal(held_.data(), held_.data() + heldEnd_, kMagic)) {
        got = readFile(held_.data() + heldEnd_, held_.size() - heldEnd_);
        heldEnd_ += got;
    }
    const bool isGzip =
        heldEnd_ >= sizeof kMagic && std::equal(std::begin(kMagic), std::end(kMagic), held_.data());
    coding_ = isGzip ? Coding::gzip : Coding::plain;
    if (isGzip) {
        constexpr int kGzipOnly = 15 + 16; // the largest window, and a header of gzip
        stream_.reset(new z_stream());
        if (inflateInit2(stream_.get(), kGzipOnly) != Z_OK) {
            throw std::bad_alloc();
        }
        betweenMembers_ = false;
    }
}

std::size_t ByteSource::readPlain(char* to, std::size_t size) {
    if (heldAt_ == heldEnd_) {
        return readFile(to, size);
    }
    const std::size_t count = std::min(size, heldEnd_ - heldAt_);
    std::memcpy(to, held_.data() + heldAt_, count);
    heldAt_ += count;
    return count;
}

std::size_t ByteSource::unpack(char* to, std::size_t size) {
    constexpr std::size_t kMost = std::numeric_limits<uInt>::max();
    const auto room = static_cast<uInt>(std::min(size, kMost));
    stream_->next_out = asBytef(to);
    stream_->avail_out = room;
    while (trouble_.empty() && stream_->avail_out == room && hasPacked()) {
        stream_->next_in = asBytef(held_.data() + heldAt_);
        stream_->avail_in = static_cast<uInt>(heldEnd_ - heldAt_);
        const int status = inflate(stream_.get(), Z_NO_FLUSH);
        heldAt_ = heldEnd_ - stream_->avail_in;
        takeInflated(status);
    }
    if (!trouble_.empty() && stream_->avail_out == room) {
        throw Failure(ExitCode::broken, trouble_);
    }
    return room - stream_->avail_out;
}

/// Whether there is something to unpack; zeros that fill up a block behind a member are skipped.
bool ByteSource::hasPacked() {
    std::size_t got = 1;
    while (got > 0) {
        while (betweenMembers_ && heldAt_ < heldEnd_ && held_[heldAt_] == '\0') {
            ++heldAt_;
        }
        if (heldAt_ < heldEnd_) {
            return true;
        }
        got = readFile(held_.data(), held_.size());
        heldAt_ = 0;
        heldEnd_ = got;
    }
    if (!betweenMembers_ && !interrupted()) {
        trouble_ = name_ + ": the gzip data ends too early, the file is cut off";
    }
    return false;
}

void ByteSource::takeInflated(int status) {
    betweenMembers_ = status == Z_STREAM_END;
    if (betweenMembers_) {
        inflateReset(stream_.get());
    } else if (status != Z_OK && status != Z_BUF_ERROR) {
        trouble_ = name_ + ": the gzip data is broken: " +
                   (stream_->msg != nullptr ? stream_->msg : zError(status));
    }
}

void ByteSource::fail(const char* what) const {
    const int reason = errno;
    throw Failure(ExitCode::broken, what + name_ + ": " + std::strerror(reason));
}

void ByteSource::InflateEnd::operator()(z_stream_s* stream) const {
    inflateEnd(stream);
    delete stream;
}

} // namespace program
