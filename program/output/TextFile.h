#ifndef QORVEL_PROGRAM_OUTPUT_TEXTFILE_H
#define QORVEL_PROGRAM_OUTPUT_TEXTFILE_H

#include "program/Failure.h"
#include "program/output/PartialFile.h"
#include "program/output/RowFile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace program {

/// Is this standard output: "-" or its name among the devices?
bool isStandardOutput(const std::string& name);

/// Can this not be replaced by a file that is renamed when complete: standard output, an open
/// descriptor's name, a device, a named pipe?
bool isWrittenDirectly(const std::string& name);

/// Text to a file or to standard output, written in large pieces. A file has a temporary name until
/// it is finished, see PartialFile; what isWrittenDirectly has none.
///
/// Operations throw Failure(broken) when the text cannot be written (a full disk), or
/// Failure(readerGone) where who reads standard output has left. Without finish or abandon,
/// destruction removes the file.
class TextFile : public RowFile {
public:
    /// The extension, such as ".csv", is that of the temporary name. What a name ends in ".gz" for
    /// is packed, each piece by itself, so that what is flushed can be read.
    TextFile(const std::string& name, const std::string& extension);
    ~TextFile() override;
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    /// Whole rows: what is left after a failure ends with one.
    void write(std::string_view rows) override;

    /// What is written so far reaches whoever reads it; nothing while the name is temporary.
    void flush();

    /// Writes and closes all, and gives the file its name; fails again where rows are missing.
    void finish() override;

    /// Ends early, with `end` behind the rows written so far; they stay under the temporary name,
    /// which is returned. Empty where there are none, and for what is written directly, which gets
    /// no end if rows are missing.
    std::string abandon(std::string_view end) noexcept;

private:
    void drain();
    bool tryDrain() noexcept;
    [[noreturn]] void fail(int reason);
    bool cutTo(std::int64_t size) noexcept;
    Failure failure() const;
    void closeFile();

    std::string name_; ///< for messages
    std::optional<PartialFile> partial_;
    int file_ = -1;
    std::string buffer_;
    bool isPacked_;
    std::int64_t drained_ = 0;     ///< bytes in the file: whole rows
    std::int64_t lastDrained_ = 0; ///< the same before its last piece
    int failure_ = 0;              ///< why rows are missing in it; 0: none are
};

/// A text to standard output.
void print(std::string_view text);

} // namespace program

#endif
