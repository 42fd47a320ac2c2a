#include "program/input/FileSequence.h"

#include "program/Failure.h"
#include "program/Interrupt.h"
#include "program/fileName.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace program {

namespace {

namespace fs = std::filesystem;

/// Without those that are empty, of which other systems leave some; but for the last, which says so
/// if all are. One that is missing is told now, not when all before it are read.
std::vector<std::string> worthReading(std::vector<std::string> files) {
    const auto isEmpty = [](const std::string& file) {
        std::error_code none;
        return fs::is_regular_file(file, none) && fs::file_size(file, none) == 0;
    };
    for (const std::string& file : files) {
        if (file != "-" && file.find(':') == std::string::npos && !isThere(file)) {
            throw Failure(ExitCode::broken, "cannot open " + file + ": there is no such file");
        }
    }
    const std::string last = files.back();
    files.erase(std::remove_if(files.begin(), files.end(), isEmpty), files.end());
    return files.empty() ? std::vector<std::string>{last} : files;
}

/// As the sources themselves have it. One that changes in between is found out by them.
bool isRegular(const std::string& file) {
    std::error_code none;
    return fs::is_regular_file(file, none) && fs::file_size(file, none) > 0;
}

} // namespace

FileSequence::FileSequence(const InputOptions& options, InputFiles files)
    : options_(options), files_(worthReading(std::move(files.names))),
      isRepeatable_(std::all_of(files_.begin(), files_.end(), isRegular)) {
    notRead_.withoutFormat = files.withoutFormat;
    notRead_.linkedFolders = files.linkedFolders;
    open(0);
}

bool FileSequence::next() {
    while (!source_->next()) {
        if (interrupted() || index_ + 1 == files_.size()) {
            return false;
        }
        before_ += source_->assumed();
        open(index_ + 1);
    }
    return true;
}

void FileSequence::rewind() {
    before_ = {};
    open(0);
}

std::optional<double> FileSequence::shareRead() const {
    const double done = static_cast<double>(index_) + source_->shareRead().value_or(0.0);
    return done / static_cast<double>(files_.size());
}

Assumed FileSequence::assumed() const {
    Assumed all = notRead_;
    all += before_;
    return all += source_->assumed();
}

void FileSequence::open(std::size_t index) {
    options_.file = files_[index];
    source_ = openFixSource(options_);
    index_ = index;
}

} // namespace program
