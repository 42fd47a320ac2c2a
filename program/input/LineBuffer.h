#ifndef QORVEL_PROGRAM_INPUT_LINEBUFFER_H
#define QORVEL_PROGRAM_INPUT_LINEBUFFER_H

#include "program/input/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// Cuts an input into lines, and lines into rows: a row is what has been taken since the last
/// endRow(). Holds one piece of the input at a time, and the row that is not yet complete.
///
/// A line ends with LF, CR LF or CR. A byte order mark at the beginning is dropped.
class LineBuffer {
public:
    /// How many bytes behind a line may be read, whatever they hold.
    static constexpr std::size_t kPadding = 64;

    /// Reads from where the source stands. The source must outlive the buffer.
    explicit LineBuffer(ByteSource& source) : source_(source) {}

    /// Reads from behind that many bytes, 1 or more, where that line begins.
    LineBuffer(ByteSource& source, std::uint64_t offset, std::uint64_t line);

    /// Takes the next line, with its line end; empty when none is complete: then readOn() or
    /// takeRest(). Views and places stay valid until readOn().
    /// Throws Failure(broken) when the row is longer than 1 MiB.
    std::string_view takeLine();

    /// Takes what stands behind the last line end, at the end of the input.
    std::string_view takeRest();

    /// Drops the rows that ended and reads another piece. False at the end, and after a SIGINT.
    /// Throws Failure(broken) when reading fails, when the row is longer than 1 MiB, or when the
    /// first bytes say that the input is no text.
    bool readOn();

    void endRow();

    /// The row as far as it has been taken.
    std::size_t rowBegin() const { return rowBegin_; }
    std::size_t rowEnd() const { return at_; }
    std::string_view text(std::size_t begin, std::size_t end) const {
        return {bytes_.data() + begin, end - begin};
    }

    /// The line on which the row begins, the first of the input being 1.
    std::uint64_t rowLine() const { return rowLine_; }

    /// The line that begins behind what has been taken.
    std::uint64_t line() const { return line_; }

    /// Where a place stands in the input, bytes from its beginning.
    std::uint64_t offsetOf(std::size_t place) const { return dropped_ + place; }

    /// Whether a complete line that is not blank is left.
    bool hasLine() const;

    /// Ends the run: what is wrong, and on which line.
    [[noreturn]] void fail(const std::string& what) const;

private:
    void lookAtBeginning();
    std::size_t readPiece();
    std::size_t lineEnd();

    ByteSource& source_;
    std::vector<char> bytes_;
    std::uint64_t dropped_ = 0; ///< bytes of the input before them
    std::size_t end_ = 0;       ///< of what has been read
    std::size_t at_ = 0;        ///< of what has been taken
    std::size_t rowBegin_ = 0;
    std::size_t lineFeed_ = 0;       ///< no LF stands between at_ and here
    std::size_t carriageReturn_ = 0; ///< the same of CR
    std::uint64_t line_ = 1;         ///< the line that begins at at_
    std::uint64_t rowLine_ = 1;
    bool atBeginning_ = true;
    bool afterCarriageReturn_ = false; ///< a LF at at_ belongs to the line before
};

} // namespace program

#endif
