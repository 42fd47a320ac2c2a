#ifndef QORVEL_PROGRAM_OUTPUT_ROWFILE_H
#define QORVEL_PROGRAM_OUTPUT_ROWFILE_H

#include <string_view>

namespace program {

/// A file that rows of text are written to. Operations throw Failure when they cannot be.
class RowFile {
public:
    virtual ~RowFile() = default;

    /// Whole rows.
    virtual void write(std::string_view rows) = 0;

    /// After the last row: all of them are in the file, and it has its name.
    virtual void finish() = 0;
};

} // namespace program

#endif
