#ifndef QORVEL_TOOLS_INPUT_H
#define QORVEL_TOOLS_INPUT_H

#include <cstddef>
#include <string>

namespace host {

/// Bytes of a file, or of standard input for the name "-".
class Input {
public:
    /// Throws Failure(broken) when the file cannot be opened.
    explicit Input(const std::string& name);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Whether the input can be read a second time from where it began: a regular file can (also
    /// as standard input), a pipe or a terminal cannot.
    bool isRepeatable() const { return repeatable_; }

    /// Goes back to where the input began; only for a repeatable one.
    void rewind();

    /// Reads at most `size` bytes and returns their number: 0 at the end, and after a SIGINT.
    /// Throws Failure(broken) when reading fails.
    std::size_t read(char* to, std::size_t size);

    /// For messages.
    const std::string& name() const { return name_; }

private:
    [[noreturn]] void fail(const char* what) const;

    std::string name_;
    int file_;
    bool repeatable_ = false;
    long begin_ = 0;
};

} // namespace host

#endif
