#include "program/commands/StateFile.h"

#include "program/Failure.h"
#include "program/output/PartialFile.h"
#include "program/output/writeAll.h"
#include "program/output/writeFailure.h"
#include "program/output/writeThrough.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace program {

namespace fs = std::filesystem;

namespace {

/// Returns 0 or the number of an error.
int writeFile(const std::string& path, std::string_view bytes) {
    const int file =
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) {
        return errno;
    }
    int fault = writeAll(file, bytes);
    fault = fault == 0 ? writeThrough(file) : fault;
    return close(file) != 0 && fault == 0 && errno != EINTR ? errno : fault;
}

} // namespace

StateFile::StateFile(const std::string& name) : name_(name), target_(targetOf(name)) {}

std::optional<std::string> StateFile::read() const {
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (!fs::exists(status)) {
        return std::nullopt;
    }
    if (!fs::is_regular_file(status)) {
        throw Failure(ExitCode::usage, name_ + " is no file that a state could be kept in");
    }
    std::ifstream file(target_, std::ios::binary);
    std::ostringstream bytes;
    if (!file || (fs::file_size(target_, error) > 0 && !(bytes << file.rdbuf())) || file.bad()) {
        throw Failure(ExitCode::broken, "cannot read " + name_ + ": " + std::strerror(errno));
    }
    return std::move(bytes).str();
}

void StateFile::replace(std::string_view bytes) const {
    const std::string target = target_.string();
    const std::string next = target + ".new"; // of a run that was killed, it is written over
    const std::string previous = target + ".previous";
    if (const int fault = writeFile(next, bytes); fault != 0) {
        unlink(next.c_str());
        throw writeFailure(name_, fault);
    }
    unlink(previous.c_str());
    // Nothing is lost where this cannot be: what matters is the state itself.
    [[maybe_unused]] const int linked = link(target.c_str(), previous.c_str());
    if (std::rename(next.c_str(), target.c_str()) != 0) {
        throw writeFailure(name_, errno);
    }
    writeFolderThrough(target_.parent_path());
}

} // namespace program
