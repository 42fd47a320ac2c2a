#include "program/input/inputFiles.h"

#include "program/Failure.h"
#include "program/fileName.h"

#include <algorithm>
#include <filesystem>
#include <glob.h>
#include <set>
#include <utility>

namespace program {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFiles = 1000000;

/// Names of files that are hidden, or that other systems leave beside their data.
bool isHidden(const fs::path& path) {
    const std::string name = path.filename().string();
    return name.starts_with('.') || name.starts_with('_');
}

bool isFolder(const std::string& name) {
    std::error_code none;
    return fs::is_directory(name, none);
}

[[noreturn]] void fail(const std::string& name, const std::string& what) {
    throw Failure(ExitCode::broken, name + ": " + what);
}

std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    fs::recursive_directory_iterator at(folder, error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        const fs::path& path = at->path();
        std::error_code none;
        if (isHidden(path)) {
            at.disable_recursion_pending();
        } else if (at->is_regular_file(none) && tellsFormat(path.string())) {
            files.push_back(path.string());
        }
        if (files.size() > kMostFiles) {
            fail(folder, "there are more than a million files of tracks in it");
        }
    }
    if (error) {
        fail(folder, "the folder cannot be read: " + error.message());
    }
    if (files.empty()) {
        fail(folder, "no file in the folder has a name that tells its format, as .csv does");
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> filesThatFit(const std::string& pattern) {
    glob_t found{};
    const int result = glob(pattern.c_str(), 0, nullptr, &found);
    std::vector<std::string> files(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    if (result != 0) {
        fail(pattern, "no file has a name that fits the pattern");
    }
    return files;
}

bool isPattern(const std::string& name) {
    return name.find_first_of("*?[") != std::string::npos && name.find(':') == std::string::npos &&
           !isThere(name);
}

/// Patterns overlap: a file is read once, whatever it is called by.
std::vector<std::string> withoutRepeats(std::vector<std::string> files) {
    std::set<std::string> known;
    std::erase_if(files, [&known](const std::string& file) {
        std::error_code error;
        const fs::path path = fs::canonical(file, error);
        return !error && !known.insert(path.string()).second;
    });
    return files;
}

} // namespace

std::vector<std::string> inputFiles(const InputOptions& options) {
    std::vector<std::string> files;
    for (const std::string& name : options.names) {
        const std::vector<std::string> fitting =
            isPattern(name) ? filesThatFit(name) : std::vector<std::string>{name};
        for (const std::string& file : fitting) {
            const bool isWhole = !options.gdalDriver.empty() || !isFolder(file);
            const std::vector<std::string> each =
                isWhole ? std::vector<std::string>{file} : filesBelow(file);
            files.insert(files.end(), each.begin(), each.end());
        }
    }
    return withoutRepeats(std::move(files));
}

} // namespace program
