#include "tools/output/PartialFile.h"

#include "tools/output/writeFailure.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace host {

namespace fs = std::filesystem;

namespace {

/// Renaming would replace even a file that its owner has protected against writing.
void checkReplaceable(const std::string& name, const fs::path& target) {
    std::error_code error;
    if (!target.has_filename() || fs::is_directory(target, error)) {
        throw writeFailure(name, name.empty() ? ENOENT : EISDIR);
    }
    if (access(target.c_str(), F_OK) == 0 && access(target.c_str(), W_OK) != 0) {
        throw writeFailure(name, errno);
    }
}

} // namespace

fs::path targetOf(const std::string& name) {
    std::error_code error;
    const fs::path absolute = fs::absolute(name, error);
    const fs::path target = fs::weakly_canonical(absolute, error);
    return error ? absolute : target;
}

PartialFile::PartialFile(const std::string& name, const std::string& extension)
    : name_(name), target_(targetOf(name)) {
    checkReplaceable(name_, target_);
    reserve(extension);
}

PartialFile::~PartialFile() {
    if (!path_.empty()) {
        unlink(path_.c_str());
    }
}

/// A number behind the process's own tells files apart that were kept by earlier ones.
void PartialFile::reserve(const std::string& extension) {
    const fs::path folder = target_.parent_path();
    const std::string stem = target_.stem().string() + ".partial-" + std::to_string(getpid());
    std::string suffix;
    for (unsigned next = 2;; ++next) {
        const std::string name = std::string(stem).append(suffix).append(extension);
        const std::string path = (folder / name).string();
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file >= 0) {
            close(file);
            path_ = path;
            return;
        }
        if (errno != EEXIST) {
            throw writeFailure(name_ + " in the folder " + folder.string(), errno);
        }
        suffix = '-' + std::to_string(next);
    }
}

void PartialFile::complete() {
    if (std::rename(path_.c_str(), target_.c_str()) != 0) {
        throw writeFailure(name_, errno);
    }
    path_.clear();
}

std::string PartialFile::keep() noexcept {
    return std::exchange(path_, std::string());
}

} // namespace host
