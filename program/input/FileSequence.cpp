#include "program/input/FileSequence.h"

#include "program/Failure.h"
#include "program/Interrupt.h"
#include "program/fileName.h"
#include "program/input/ByteSource.h"

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

void append(const std::vector<std::uint64_t>& more, std::vector<std::uint64_t>& all) {
    all.insert(all.end(), more.begin(), more.end());
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
        if (interrupted() || isLast()) {
            return false;
        }
        openNext();
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

void FileSequence::leaveUnended() {
    isGrowing_ = true;
    leavesUnended_ = true;
    for (std::size_t i = files_.size(); i-- > 0;) { // to say it now, not when all before are read
        open(i);
        growingInput(*source_);
    }
}

void FileSequence::takeUnended() {
    leavesUnended_ = false;
    current().takeUnended();
}

/// Behind a last row without a line end a file is whole: if it grew, that would be another row.
InputPlace FileSequence::place() const {
    InputPlace place = current().place();
    const bool isWhole = place.isUnended && !isLast();
    if (isWhole) {
        place = {};
    }
    place.whole = whole_;
    if (isWhole) {
        append(wholeFile(), place.whole);
    }
    if (isSeveral()) {
        const std::size_t read = place.whole.size() / InputPlace::kWhole + 1;
        place.files.assign(files_.begin(), files_.begin() + static_cast<std::ptrdiff_t>(read));
    }
    return place;
}

void FileSequence::goTo(const InputPlace& place) {
    whole_ = place.whole;
    open(place.file());
    current().goTo(place);
}

std::optional<FileMark> FileSequence::mark(std::size_t file, std::uint64_t length) const {
    return file == index_ ? current().mark(0, length) : ByteSource(files_[file]).mark(length);
}

void FileSequence::open(std::size_t index) {
    options_.file = files_[index];
    source_ = openFixSource(options_);
    index_ = index;
    if (leavesUnended_ && isLast()) {
        current().leaveUnended();
    }
}

void FileSequence::openNext() {
    const Assumed read = source_->assumed();
    const std::vector<std::uint64_t> whole =
        isGrowing_ ? wholeFile() : std::vector<std::uint64_t>();
    open(index_ + 1);
    before_ += read;
    append(whole, whole_);
}

/// The one that was read to its end, for InputPlace.
std::vector<std::uint64_t> FileSequence::wholeFile() const {
    std::vector<std::uint64_t> whole = {bytesRead()};
    append(expectMark(current().mark(0, whole.front()), name()), whole);
    return whole;
}

} // namespace program
