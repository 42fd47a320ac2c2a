#ifndef QORVEL_TOOLS_OUTPUT_H
#define QORVEL_TOOLS_OUTPUT_H

#include <string>

namespace host {

/// Text to a file, or to standard output for the name "-", written in large pieces.
/// Every operation throws Failure(broken) when the text cannot be written (a full disk, a reader
/// that went away). What is buffered at destruction is lost: call flush.
class Output {
public:
    explicit Output(const std::string& name);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Where the current row is appended.
    std::string& row() { return buffer_; }

    /// Ends the row with a line feed.
    void endRow();

    void flush();

private:
    [[noreturn]] void fail() const;

    std::string name_;
    int file_;
    std::string buffer_;
};

} // namespace host

#endif
