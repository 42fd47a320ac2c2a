#ifndef QORVEL_PROGRAM_OUTPUT_GROWINGFILE_H
#define QORVEL_PROGRAM_OUTPUT_GROWINGFILE_H

#include "program/fileMark.h"
#include "program/output/RowFile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// A file that grows where it stands, from run to run. One run at a time can have it.
class GrowingFile : public RowFile {
public:
    /// Opens the file, or makes it; what stands in it stays. Throws Failure(broken) where it cannot
    /// be opened, or another run has it.
    /// @param name  not one that isWrittenDirectly()
    explicit GrowingFile(const std::string& name);
    ~GrowingFile() override;
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;

    const std::string& name() const { return name_; }

    bool isEmpty() const;

    /// As markOf() of the file.
    std::optional<FileMark> mark(std::uint64_t length) const;

    /// Takes away what stands behind that length, bytes, which is where it grows from then on.
    void cutTo(std::uint64_t length);

    void write(std::string_view rows) override;

    /// Has all that was written on the disk. Returns the length of the file, bytes.
    std::uint64_t sync();

    void finish() override { sync(); }

private:
    void drain();

    std::string name_;
    int file_;
    std::uint64_t length_ = 0; ///< without the buffer
    std::string buffer_;
};

} // namespace program

#endif
