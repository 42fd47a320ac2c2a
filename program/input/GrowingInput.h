#ifndef QORVEL_PROGRAM_INPUT_GROWINGINPUT_H
#define QORVEL_PROGRAM_INPUT_GROWINGINPUT_H

#include "program/fileMark.h"
#include "program/input/InputOptions.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace program {

class FixSource;

/// How far a text was read, and what that told about the rest.
struct InputPlace {
    std::uint64_t offset = 0;              ///< bytes from the beginning, all of rows that were read
    std::uint64_t line = 1;                ///< that begins there, the first being 1
    TimeUnit timeUnit = TimeUnit::byValue; ///< of plain numbers; byValue: none was read
    std::vector<std::string> keys; ///< of NDJSON that hold a field, beyond the first object's
    bool isUnended = false;        ///< the row before there ended with the file, not with its line

    /// Of several files, the names of those that were read; the last is the one that all of the
    /// above is about. Empty where the input is one file.
    std::vector<std::string> files;
    /// By which the files before it are known again: length and markOf() of each.
    std::vector<std::uint64_t> whole;
    static constexpr std::size_t kWhole = 3; ///< of one

    std::size_t file() const { return files.empty() ? 0 : files.size() - 1; }
};

/// An input that one run reads as far as there is, and a later one goes on with: files of text, of
/// which the last may grow, and others may come behind it.
class GrowingInput {
public:
    virtual ~GrowingInput() = default;

    /// Before anything is read: a row at the end without a line end is not read, since the rest of
    /// it may still be written. Throws Failure(usage) where some file cannot grow.
    virtual void leaveUnended() = 0;

    /// After the last row: such a row is one all the same. Nothing more is read from the file.
    virtual void takeUnended() = 0;

    /// Behind the current row.
    virtual InputPlace place() const = 0;

    /// Before the first row: goes on from there, though the header is read. Throws as
    /// FixSource::next().
    virtual void goTo(const InputPlace& place) = 0;

    /// In the order in which they are read.
    virtual std::vector<std::string> fileNames() const = 0;

    /// As markOf() of one of them, by its number from 0.
    virtual std::optional<FileMark> mark(std::size_t file, std::uint64_t length) const = 0;

    /// Of the file that is read now, so far: at its end, its length.
    virtual std::uint64_t bytesRead() const = 0;
};

/// The source as such an input. Throws Failure(usage) for what is no file of text as it is.
GrowingInput& growingInput(FixSource& source);

} // namespace program

#endif
