#ifndef QORVEL_TOOLS_OUTPUT_TEXTFILE_H
#define QORVEL_TOOLS_OUTPUT_TEXTFILE_H

#include "tools/output/PartialFile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// Is this standard output: "-" or its name among the devices?
bool isStandardOutput(const std::string& name);

/// Can this not be replaced by a file that is renamed when complete: standard output, an open
/// descriptor's name, a device, a named pipe?
bool isWrittenDirectly(const std::string& name);

/// Text to a file or to standard output, written in large pieces. A file has a temporary name until
/// it is finished, see PartialFile; what isWrittenDirectly has none.
///
/// Operations throw Failure(broken) when the text cannot be written (a full disk, a reader that
/// went away). Without finish or abandon, destruction removes the file.
class TextFile {
public:
    /// The extension, such as ".csv", is that of the temporary name.
    TextFile(const std::string& name, const std::string& extension);
    ~TextFile();
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    /// Whole rows: what is left after a failure ends with one.
    void write(std::string_view rows);

    /// What is written so far reaches whoever reads it; nothing while the name is temporary.
    void flush();

    /// Writes and closes all, and gives the file its name; fails again where rows are missing.
    void finish();

    /// Ends early, with `end` behind the rows written so far; they stay under the temporary name,
    /// which is returned. Empty for what is written directly.
    std::string abandon(std::string_view end) noexcept;

private:
    void drain();
    bool tryDrain() noexcept;
    [[noreturn]] void fail(int reason);
    void closeFile();

    std::string name_; ///< for messages
    std::optional<PartialFile> partial_;
    int file_ = -1;
    std::string buffer_;
    std::int64_t drained_ = 0; ///< bytes in the file: whole rows
    int failure_ = 0;          ///< why rows are missing in it; 0: none are
};

} // namespace host

#endif
