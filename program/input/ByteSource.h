#ifndef QORVEL_PROGRAM_INPUT_BYTESOURCE_H
#define QORVEL_PROGRAM_INPUT_BYTESOURCE_H

#include "program/fileMark.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct z_stream_s;

namespace program {

/// Bytes of a file, or of standard input for the name "-". What begins with the magic bytes of
/// gzip is unpacked on the way, all of its members one after another.
class ByteSource {
public:
    /// Throws Failure(broken) when the file cannot be opened.
    explicit ByteSource(const std::string& file);
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// Whether the input can be read a second time from where it began: a regular file can (also
    /// as standard input), a pipe or a terminal cannot.
    bool isRepeatable() const { return repeatable_; }

    /// Goes back to where the input began; only for a repeatable one.
    void rewind();

    /// Is it a file, by its name, that is not packed? Then what is added to it can be read later.
    /// To be called before read(). Throws as that does.
    bool isGrowing();

    /// Goes to that byte of a growing one, from 1; returns the one before it.
    char goTo(std::uint64_t offset);

    /// As markOf() of the file.
    std::optional<FileMark> mark(std::uint64_t length) const;

    /// Of the file, packed as it is.
    std::uint64_t bytesRead() const { return bytesRead_; }

    /// Reads at most `size` bytes (more than 0) and returns their number: 0 at the end, and after
    /// a SIGINT. Throws Failure(broken) when reading fails or gzip data is broken or cut off, after
    /// it has delivered what was good before.
    std::size_t read(char* to, std::size_t size);

    /// The first bytes that read() will give, up to one that is no blank; fewer at the end of the
    /// input. To be called before read(). Throws as that does.
    std::string_view peek();

    /// The share of the file that has been read, packed as it is; none for what is no regular file.
    std::optional<double> shareRead() const;

    /// For messages.
    const std::string& name() const { return name_; }

private:
    enum class Coding { unknown, plain, gzip };
    struct InflateEnd {
        void operator()(z_stream_s* stream) const;
    };

    std::size_t readDecoded(char* to, std::size_t size);
    std::size_t readFile(char* to, std::size_t size);
    void detectCoding();
    std::size_t readPlain(char* to, std::size_t size);
    std::size_t unpack(char* to, std::size_t size);
    bool hasPacked();
    void takeInflated(int status);
    [[noreturn]] void fail(const char* what) const;

    std::string name_;
    int file_;
    bool repeatable_ = false;
    long begin_ = 0;
    double fileSize_ = 0.0;
    std::uint64_t bytesRead_ = 0;

    std::string peeked_; ///< not yet given by read()
    Coding coding_ = Coding::unknown;
    std::vector<char> held_; ///< read from the file, not yet delivered or unpacked
    std::size_t heldAt_ = 0;
    std::size_t heldEnd_ = 0;
    std::unique_ptr<z_stream_s, InflateEnd> stream_;
    bool betweenMembers_ = false;
    std::string trouble_; ///< of the gzip data, told once the good bytes before it are delivered
};

} // namespace program

#endif
