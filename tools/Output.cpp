#include "tools/Output.h"

#include "tools/Failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace host {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 18;

} // namespace

Output::Output(const std::string& name)
    : name_(name == "-" ? "standard output" : name),
      file_(name == "-" ? STDOUT_FILENO
                        : open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (file_ < 0) {
        fail();
    }
    buffer_.reserve(kPiece + kPiece / 4);
}

Output::~Output() {
    if (file_ != STDOUT_FILENO) {
        close(file_);
    }
}

void Output::endRow() {
    buffer_ += '\n';
    if (buffer_.size() >= kPiece) {
        flush();
    }
}

void Output::flush() {
    std::string_view rest = buffer_;
    while (!rest.empty()) {
        const ssize_t written = write(file_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            buffer_.clear();
            fail();
        }
    }
    buffer_.clear();
}

void Output::fail() const {
    const int reason = errno;
    throw Failure(ExitCode::broken, "cannot write " + name_ + ": " + std::strerror(reason));
}

} // namespace host
