#ifndef QORVEL_PROGRAM_INPUT_FILESEQUENCE_H
#define QORVEL_PROGRAM_INPUT_FILESEQUENCE_H

#include "program/input/FixSource.h"
#include "program/input/inputFiles.h"

#include <cstddef>
#include <vector>

namespace program {

/// Files one after another, as one input; one is open at a time.
class FileSequence : public FixSource, public GrowingInput {
public:
    /// Opens the first; see openFixSource for the rest.
    /// @param files  one or more
    FileSequence(const InputOptions& options, InputFiles files);

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
    bool isSeveral() const override { return files_.size() > 1; }
    Assumed assumed() const override;

    GrowingInput* growing() override { return this; }
    /// All but the last are read to their ends, since another follows.
    void leaveUnended() override;
    void takeUnended() override;
    InputPlace place() const override;
    void goTo(const InputPlace& place) override;
    std::vector<std::string> fileNames() const override { return files_; }
    std::optional<FileMark> mark(std::size_t file, std::uint64_t length) const override;
    std::uint64_t bytesRead() const override { return current().bytesRead(); }

private:
    bool isLast() const { return index_ + 1 == files_.size(); }
    GrowingInput& current() const { return growingInput(*source_); }
    void open(std::size_t index);
    void openNext();
    std::vector<std::uint64_t> wholeFile() const;

    InputOptions options_;
    Assumed notRead_;
    std::vector<std::string> files_;
    bool isRepeatable_;
    std::size_t index_ = 0;
    std::unique_ptr<FixSource> source_; ///< never null
    Assumed before_;                    ///< of the files before
    bool isGrowing_ = false;            ///< only then what follows is kept
    bool leavesUnended_ = false;
    std::vector<std::uint64_t> whole_; ///< see InputPlace
};

} // namespace program

#endif
