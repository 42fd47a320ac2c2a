#ifndef QORVEL_TOOLS_CSVREADER_H
#define QORVEL_TOOLS_CSVREADER_H

#include "tools/Input.h"

#include <cstdint>
#include <csv.h>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Reads CSV row by row, by the rules of RFC 4180 with these leniencies: any line end, blanks
/// around unquoted fields dropped, blank lines skipped, a stray quote inside a field kept.
/// Holds one piece of the input at a time.
class CsvReader {
public:
    /// Reads from where the input stands. The input must outlive the reader.
    explicit CsvReader(Input& input);
    ~CsvReader();
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// Goes to the next row; false at the end of the input, or when SIGINT ended it early.
    /// Throws Failure(broken) when reading fails, when the input ends inside a quoted field, or
    /// when a row is longer than 1 MiB (most likely a quote that nobody closed).
    bool next();

    std::size_t fieldCount() const;
    /// One field of the current row, without its quotes; valid until next().
    std::string_view field(std::size_t index) const;
    /// The line on which the current row begins, the first of the input being 1.
    std::uint64_t line() const { return rows_[row_].line; }

    /// Whether the next call of next() has to wait for the input.
    bool isDrained() const { return row_ + 1 >= rows_.size(); }

private:
    struct Row {
        std::uint64_t line;
        std::size_t firstField;
        std::size_t endField;
    };

    static void onField(void* text, std::size_t size, void* self);
    static void onRowEnd(int terminator, void* self);
    void addField(std::string_view text);
    void endRow(int terminator);
    void fill();
    void dropFinishedRows();
    [[noreturn]] void fail(const char* what) const;

    Input& input_;
    csv_parser parser_{};
    std::vector<char> piece_;
    std::string text_;                   ///< the fields of the piece's rows, one after another
    std::vector<std::size_t> fieldEnds_; ///< fieldEnds_[i] is where field i ends in text_
    std::vector<Row> rows_;              ///< the rows that the piece has ended
    std::size_t row_ = 0;                ///< the current one of them
    std::size_t openField_ = 0;          ///< the first field of the row that is being read
    std::uint64_t openLine_ = 1;         ///< the line on which that row begins
    std::uint64_t line_ = 1;             ///< the line that is being read
    bool afterCarriageReturn_ = false;
    bool ended_ = false;
    std::exception_ptr trouble_; ///< thrown in a callback: must not pass through the C parser
};

} // namespace host

#endif
