#ifndef QORVEL_PROGRAM_INPUT_GROWINGINPUT_H
#define QORVEL_PROGRAM_INPUT_GROWINGINPUT_H

#include "program/input/InputOptions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace program {

/// How far a text was read, and what that told about the rest.
struct InputPlace {
    std::uint64_t offset = 0;              ///< bytes from the beginning, all of rows that were read
    std::uint64_t line = 1;                ///< that begins there, the first being 1
    TimeUnit timeUnit = TimeUnit::byValue; ///< of plain numbers; byValue: none was read
    std::vector<std::string> keys; ///< of NDJSON that hold a field, beyond the first object's
};

/// An input that one run reads as far as there is, and a later one goes on with.
class GrowingInput {
public:
    virtual ~GrowingInput() = default;

    /// Before anything is read: a row at the end without a line end is not read, since the rest of
    /// it may still be written.
    virtual void leaveUnended() = 0;

    /// After the last row: such a row is one all the same. Nothing more is read from the file.
    virtual void takeUnended() = 0;

    /// Behind the current row.
    virtual InputPlace place() const = 0;

    /// Before the first row: goes on from there, though the header is read. Throws as
    /// FixSource::next().
    virtual void goTo(const InputPlace& place) = 0;

    /// As markOf() of the file.
    virtual std::optional<std::vector<std::uint64_t>> mark(std::uint64_t length) const = 0;
};

} // namespace program

#endif
