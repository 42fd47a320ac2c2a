#include "program/input/LineBuffer.h"

#include "program/Failure.h"
#include "program/input/fileKind.h"

#include <algorithm>
#include <cstring>

namespace program {

namespace {

constexpr std::size_t kPieceSize = std::size_t{1} << 16;
constexpr std::size_t kMaxRowSize = std::size_t{1} << 20;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr char kTooLong[] = "a row is longer than 1 MiB (a quote that is not closed?)";

} // namespace

LineBuffer::LineBuffer(ByteSource& source, std::uint64_t offset, std::uint64_t line)
    : source_(source), dropped_(offset), line_(line), rowLine_(line), atBeginning_(false),
      afterCarriageReturn_(source.goTo(offset) == '\r') {}

std::string_view LineBuffer::takeLine() {
    const std::size_t begin = at_;
    at_ = lineEnd();
    const std::string_view line = text(begin, at_);
    if (line.empty()) {
        return line;
    }
    if (at_ - rowBegin_ > kMaxRowSize) {
        fail(kTooLong);
    }
    line_ += afterCarriageReturn_ && line == "\n" ? 0U : 1U;
    afterCarriageReturn_ = line.back() == '\r';
    return line;
}

/// Where the next line ends, or at_ if it does not.
std::size_t LineBuffer::lineEnd() {
    const auto find = [this](char c) {
        const char* begin = bytes_.data() + at_;
        const void* found = end_ > at_ ? std::memchr(begin, c, end_ - at_) : nullptr;
        return found == nullptr
                   ? end_
                   : at_ + static_cast<std::size_t>(static_cast<const char*>(found) - begin);
    };
    if (lineFeed_ <= at_) {
        lineFeed_ = find('\n');
    }
    if (carriageReturn_ <= at_) {
        carriageReturn_ = find('\r');
    }
    const bool isBeforeLineFeed = carriageReturn_ + 1 >= lineFeed_ && lineFeed_ < end_;
    if (isBeforeLineFeed) {
        return lineFeed_ + 1;
    }
    return carriageReturn_ < lineFeed_ ? carriageReturn_ + 1 : at_;
}

std::string_view LineBuffer::takeRest() {
    const std::size_t begin = at_;
    at_ = end_;
    return text(begin, at_);
}

bool LineBuffer::readOn() {
    std::copy(bytes_.begin() + static_cast<std::ptrdiff_t>(rowBegin_),
              bytes_.begin() + static_cast<std::ptrdiff_t>(end_), bytes_.begin());
    dropped_ += rowBegin_;
    end_ -= rowBegin_;
    at_ -= rowBegin_;
    rowBegin_ = 0;
    lineFeed_ = 0;
    carriageReturn_ = 0;
    if (end_ > kMaxRowSize) {
        fail(kTooLong);
    }
    const bool isMore = readPiece() > 0;
    if (atBeginning_) {
        lookAtBeginning();
    }
    return isMore;
}

std::size_t LineBuffer::readPiece() {
    bytes_.resize(std::max(bytes_.size(), end_ + kPieceSize + kPadding));
    const std::size_t got = source_.read(bytes_.data() + end_, kPieceSize);
    end_ += got;
    return got;
}

/// A pipe may bring even the first bytes one by one.
void LineBuffer::lookAtBeginning() {
    const auto isOpen = [](std::string_view begin) {
        return mayBecomeFileKind(begin) ||
               (begin.size() < kByteOrderMark.size() && kByteOrderMark.starts_with(begin));
    };
    std::size_t got = end_;
    while (got > 0 && isOpen(text(0, end_))) {
        got = readPiece();
    }
    if (const FileKind* kind = fileKindOf(text(0, end_))) {
        throw Failure(ExitCode::broken, source_.name() + " is " + kind->sentence);
    }
    if (text(0, end_).starts_with(kByteOrderMark)) {
        at_ = kByteOrderMark.size();
        endRow();
    }
    atBeginning_ = false;
}

void LineBuffer::endRow() {
    rowBegin_ = at_;
    rowLine_ = line_;
}

bool LineBuffer::hasLine() const {
    const std::size_t skipped = text(at_, end_).find_first_not_of(" \t\r\n");
    const auto isThere = [&](char c, std::size_t from) {
        from = std::max(from, at_ + skipped);
        return from < end_ && std::memchr(bytes_.data() + from, c, end_ - from) != nullptr;
    };
    return skipped != std::string_view::npos &&
           (isThere('\n', lineFeed_) || isThere('\r', carriageReturn_));
}

void LineBuffer::fail(const std::string& what) const {
    throw Failure(ExitCode::broken,
                  source_.name() + ", line " + std::to_string(rowLine_) + ": " + what);
}

} // namespace program
