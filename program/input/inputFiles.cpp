#include "program/input/inputFiles.h"

#include "program/Failure.h"
#include "program/fileName.h"

#include <algorithm>
#include <filesystem>
#include <glob.h>
#include <set>

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

void addFilesBelow(const std::string& folder, InputFiles& input) {
    std::vector<std::string> files;
    std::error_code error;
    fs::recursive_directory_iterator at(folder, error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        const fs::path& path = at->path();
        std::error_code none;
        if (isHidden(path)) {
            at.disable_recursion_pending();
        } else if (at->is_directory(none)) {
            input.linkedFolders += at->is_symlink(none) ? 1U : 0U;
        } else if (at->is_regular_file(none) && tellsFormat(path.string())) {
            files.push_back(path.string());
        } else {
            ++input.withoutFormat;
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
    input.names.insert(input.names.end(), files.begin(), files.end());
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
void dropRepeats(std::vector<std::string>& files) {
    std::set<std::string> known;
    std::erase_if(files, [&known](const std::string& file) {
        std::error_code error;
        const fs::path path = fs::canonical(file, error);
        return !error && !known.insert(path.string()).second;
    });
}

} // namespace

InputFiles inputFiles(const InputOptions& options) {
    InputFiles input;
    for (const std::string& name : options.names) {
        const std::vector<std::string> fitting =
            isPattern(name) ? filesThatFit(name) : std::vector<std::string>{name};
        for (const std::string& file : fitting) {
            if (!options.gdalDriver.empty() || !isFolder(file)) {
                input.names.push_back(file);
            } else {
                addFilesBelow(file, input);
            }
        }
    }
    dropRepeats(input.names);
    return input;
}

} // namespace program
