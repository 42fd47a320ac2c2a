#include "program/output/PartialFile.h"

#include "program/output/writeFailure.h"
#include "program/output/writeThrough.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace program {

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

/// What this process makes, GDAL's and SQLite's own files too, nobody else may look into while it
/// is under way. Returns the mask that the user has set.
mode_t hideNewFiles() {
    static const mode_t usual = umask(S_IRWXG | S_IRWXO);
    return usual;
}

} // namespace

fs::path targetOf(const std::string& name) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    const fs::path absolute = fs::absolute(name, error);
    fs::path target = fs::weakly_canonical(absolute, error);
    // Only links to nothing are left.
    for (int i = 0; !error && i < kMostLinks && fs::is_symlink(target); ++i) {
        target =
            fs::weakly_canonical(target.parent_path() / fs::read_symlink(target, error), error);
    }
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
    hideNewFiles();
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
    if (const int fault = settle(); fault != 0) {
        throw writeFailure(name_, fault);
    }
    if (std::rename(path_.c_str(), target_.c_str()) != 0) {
        throw writeFailure(name_, errno);
    }
    path_.clear();
    writeFolderThrough(target_.parent_path());
}

std::string PartialFile::keep() noexcept {
    settle();
    return std::exchange(path_, std::string());
}

/// Has the file on the disk and open to whom it is meant for. Returns 0 or the number of an error.
int PartialFile::settle() const noexcept {
    const int file = open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) {
        return errno;
    }
    giveAccess(file);
    const int fault = writeThrough(file);
    close(file);
    return fault;
}

/// Where it is not permitted, or the file system knows no modes, the file stays as it is.
void PartialFile::giveAccess(int file) const noexcept {
    constexpr mode_t kGroup = S_IRWXG;
    mode_t mode = (S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH) & ~hideNewFiles();
    struct stat old {};
    if (stat(target_.c_str(), &old) == 0) {
        mode = old.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
        const auto sameOwner = static_cast<uid_t>(-1);
        if (fchown(file, old.st_uid, old.st_gid) != 0 && fchown(file, sameOwner, old.st_gid) != 0) {
            mode = (mode & ~kGroup) | (mode << 3 & kGroup);
        }
    }
    fchmod(file, mode);
}

} // namespace program
