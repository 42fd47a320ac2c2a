#include "program/commands/Rejects.h"

#include "program/csvText.h"
#include "program/input/FixSource.h"
#include "program/tell.h"

namespace program {

namespace {

constexpr std::uint64_t kMostTold = 10;

} // namespace

void Rejects::begin() {
    if (file_) {
        file_->write(isSeveral_ ? "file,line,reason,row\n" : "line,reason,row\n");
    }
}

void Rejects::add(const FixSource& source, const std::string& reason) {
    ++count_;
    if (count_ <= kMostTold) {
        tell(source.name() + ", line " + std::to_string(source.line()) + ": " + reason +
             " (row skipped)");
    } else if (count_ == kMostTold + 1) {
        tell(std::string("more rows are skipped") +
             (file_ ? "" : "; --rejects FILE keeps them all"));
    }
    if (file_) {
        write(source, reason);
    }
}

void Rejects::write(const FixSource& source, const std::string& reason) {
    const auto appendText = isCsvSafe_ ? csv::appendSafeField : csv::appendField;
    row_.clear();
    if (isSeveral_) {
        appendText(row_, source.name());
        row_ += ',';
    }
    csv::appendUnsigned(row_, source.line());
    row_ += ',';
    appendText(row_, reason);
    row_ += ',';
    appendText(row_, source.verbatim());
    row_ += '\n';
    file_->write(row_);
}

void Rejects::finish() {
    if (file_) {
        file_->finish();
    }
}

} // namespace program
