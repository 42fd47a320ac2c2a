#include "tools/run/Rejects.h"

#include "tools/csvText.h"
#include "tools/input/FixSource.h"

#include <cstdio>

namespace host {

namespace {

constexpr std::uint64_t kMostTold = 10;

} // namespace

Rejects::Rejects(const std::string& file) {
    if (!file.empty()) {
        file_ = std::make_unique<TextFile>(file, ".csv");
        file_->write("line,reason,row\n");
    }
}

void Rejects::add(const FixSource& source, const std::string& reason) {
    ++count_;
    if (count_ <= kMostTold) {
        std::fprintf(stderr, "qorvel: %s, line %llu: %s (row skipped)\n", source.name().c_str(),
                     static_cast<unsigned long long>(source.line()), reason.c_str());
    } else if (count_ == kMostTold + 1) {
        std::fprintf(stderr, "qorvel: more rows are skipped%s\n",
                     file_ ? "" : "; --rejects FILE keeps them all");
    }
    if (file_) {
        write(source, reason);
    }
}

void Rejects::write(const FixSource& source, const std::string& reason) {
    row_.clear();
    csv::appendUnsigned(row_, source.line());
    row_ += ',';
    csv::appendField(row_, reason);
    row_ += ',';
    csv::appendField(row_, source.verbatim());
    row_ += '\n';
    file_->write(row_);
}

void Rejects::finish() {
    if (file_) {
        file_->finish();
    }
}

} // namespace host
