#ifndef QORVEL_PROGRAM_COMMANDS_REJECTS_H
#define QORVEL_PROGRAM_COMMANDS_REJECTS_H

#include "program/output/RowFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace program {

class FixSource;

/// The rows that could not be used. The first ten are told on standard error; all go, if wanted, to
/// a CSV file with the line, the reason and the row as it stood.
class Rejects {
public:
    /// @param file       null: none
    /// @param isCsvSafe  reasons and rows by csv::appendSafeField
    /// @param isSeveral  rows come from several files, which are named in front of them
    Rejects(std::shared_ptr<RowFile> file, bool isCsvSafe, bool isSeveral)
        : file_(std::move(file)), isCsvSafe_(isCsvSafe), isSeveral_(isSeveral) {}

    /// Before the first: the file gets its header.
    void begin();
    /// Goes on where there were so many, and the file has its header.
    void goOn(std::uint64_t count) { count_ = count; }

    /// The row on which the source stands.
    void add(const FixSource& source, const std::string& reason);

    std::uint64_t count() const { return count_; }

    /// Gives the file its name, also after a run that failed: what it holds is whole.
    void finish();

private:
    void write(const FixSource& source, const std::string& reason);

    std::shared_ptr<RowFile> file_;
    bool isCsvSafe_;
    bool isSeveral_;
    std::string row_;
    std::uint64_t count_ = 0;
};

} // namespace program

#endif
