#include "tools/Input.h"

#include "tools/Failure.h"
#include "tools/Interrupt.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host {

Input::Input(const std::string& name)
    : name_(name == "-" ? "standard input" : name),
      file_(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) {
        fail("cannot open ");
    }
    struct stat about {};
    // A file without a size, as under /proc, may still yield bytes, and other ones each time.
    repeatable_ = fstat(file_, &about) == 0 && S_ISREG(about.st_mode) && about.st_size > 0;
    begin_ = repeatable_ ? lseek(file_, 0, SEEK_CUR) : 0;
}

Input::~Input() {
    if (file_ != STDIN_FILENO) {
        close(file_);
    }
}

void Input::rewind() {
    if (lseek(file_, begin_, SEEK_SET) < 0) {
        fail("cannot rewind ");
    }
}

std::size_t Input::read(char* to, std::size_t size) {
    while (waitReadable(file_)) {
        const ssize_t got = ::read(file_, to, size);
        if (got >= 0) {
            return static_cast<std::size_t>(got);
        }
        if (errno != EINTR && errno != EAGAIN) {
            fail("cannot read ");
        }
    }
    return 0;
}

void Input::fail(const char* what) const {
    const int reason = errno;
    throw Failure(ExitCode::broken, what + name_ + ": " + std::strerror(reason));
}

} // namespace host
