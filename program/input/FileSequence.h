#ifndef QORVEL_PROGRAM_INPUT_FILESEQUENCE_H
#define QORVEL_PROGRAM_INPUT_FILESEQUENCE_H

#include "program/input/FixSource.h"

#include <cstddef>
#include <vector>

namespace program {

/// Several files one after another, as one input; one is open at a time.
class FileSequence : public FixSource {
public:
    /// Opens the first; see openFixSource for the rest.
    /// @param files  two or more
    FileSequence(const InputOptions& options, std::vector<std::string> files);

    bool next() override;
    std::string read(Fix& fix) override { return source_->read(fix); }
    std::optional<std::int64_t> readTime() override { return source_->readTime(); }
    std::uint64_t line() const override { return source_->line(); }
    std::string verbatim() const override { return source_->verbatim(); }
    bool isDrained() const override { return source_->isDrained(); }
    /// All must be.
    bool isRepeatable() const override { return isRepeatable_; }
    void rewind() override;
    std::optional<double> shareRead() const override;
    /// Of the file that is read.
    const std::string& name() const override { return source_->name(); }
    bool isSeveral() const override { return true; }
    Assumed assumed() const override;

private:
    void open(std::size_t index);

    InputOptions options_;
    std::vector<std::string> files_;
    bool isRepeatable_;
    std::size_t index_ = 0;
    std::unique_ptr<FixSource> source_; ///< never null
    Assumed before_;                    ///< about the files before
};

} // namespace program

#endif
