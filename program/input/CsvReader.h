#ifndef QORVEL_PROGRAM_INPUT_CSVREADER_H
#define QORVEL_PROGRAM_INPUT_CSVREADER_H

#include "program/input/LineBuffer.h"

#include <cstdint>
#include <csv.h>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// Reads CSV row by row, by the rules of RFC 4180 with these leniencies: any line end, blanks
/// around unquoted fields dropped, blank lines skipped, a stray quote inside a field kept.
/// Holds one piece of the input at a time.
///
/// Lines in which no quote stands, which most are, are split here; rows with quotes by libcsv,
/// which takes each byte by itself and ten times as long.
class CsvReader {
public:
    /// Reads from where the source stands. The source must outlive the reader.
    /// @param delimiter  none: a comma, semicolon, tab or bar, whichever the first row has most of
    CsvReader(ByteSource& source, std::optional<char> delimiter);

    /// Reads from behind that many bytes, 1 or more, where that line begins.
    CsvReader(ByteSource& source, char delimiter, std::uint64_t offset, std::uint64_t line);
    ~CsvReader();
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// Goes to the next row; false at the end of the input, or when SIGINT ended it early.
    /// Throws Failure(broken) when reading fails, when the input ends inside a quoted field, or
    /// when a row is longer than 1 MiB (most likely a quote that nobody closed).
    bool next();

    /// A row at the end without a line end, or with an open quote, is none as long as that holds.
    void leaveUnended(bool holds) { leavesUnended_ = holds; }

    /// By now.
    char delimiter() const { return delimiter_; }

    /// Behind the row that was read last: bytes from the beginning of the input, and the line.
    std::uint64_t offsetBehind() const { return offsetBehind_; }
    std::uint64_t lineBehind() const { return lineBehind_; }

    std::size_t fieldCount() const { return rows_[row_].endField - rows_[row_].firstField; }
    /// One field of the current row, without its quotes; valid until next().
    std::string_view field(std::size_t index) const;
    /// The current row as it stands in the input, without its line end; valid until next().
    std::string_view verbatim() const;
    /// The line on which the current row begins, the first of the input being 1.
    std::uint64_t line() const { return rows_[row_].line; }
    /// Whether the input ends behind the last row that was read, without a line end.
    bool isUnended() const { return isUnended_ && row_ + 1 >= rows_.size(); }

    /// Whether the next call of next() has to wait for the input.
    bool isDrained() const { return row_ + 1 >= rows_.size(); }

    /// Ends the run: what is wrong with the current row.
    [[noreturn]] void fail(const std::string& what) const;

private:
    /// A row of the piece. Places are in the buffer of lines.
    struct Row {
        std::uint64_t line;
        std::size_t firstField;
        std::size_t endField;
        std::size_t begin;
        std::size_t end; ///< behind its line end
        std::uint64_t nextLine;
        bool isPlain; ///< then its fields stand in the buffer, too, else in text_
    };

    struct Field {
        std::size_t begin;
        std::size_t end;
    };

    CsvReader(const std::string& name, LineBuffer lines, std::optional<char> delimiter);
    static void onField(void* text, std::size_t size, void* self);
    static void onRowEnd(int terminator, void* self);
    void fill();
    void learnDelimiter(std::string_view line);
    void parse(std::string_view line);
    bool splitPlain(std::string_view line);
    Field plainField(std::string_view line, std::size_t begin, std::size_t end) const;
    void makeRoom(std::size_t count);
    void parseQuoted(std::string_view line);
    void setDelimiter(char delimiter);
    void parseEnd();
    void endRow(bool isPlain);
    void dropFinishedRows();

    const std::string& name_;
    LineBuffer lines_;
    csv_parser parser_{};
    bool isDelimiterKnown_;
    char delimiter_ = ',';
    std::string text_;          ///< the fields of the piece's rows with quotes, one after another
    std::vector<Field> fields_; ///< of the piece's rows, and room for more of them
    std::size_t endField_ = 0;  ///< behind the last of them
    std::vector<Row> rows_;     ///< the rows that the piece has ended
    std::size_t row_ = 0;       ///< the current one of them
    std::size_t openField_ = 0; ///< the first field of the row that is being read
    std::size_t openText_ = 0;  ///< where that begins in text_
    bool lineEndsRow_ = true;   ///< the line that was read last; else a quote is open
    std::uint64_t offsetBehind_ = 0;
    std::uint64_t lineBehind_ = 1;
    bool ended_ = false; ///< all of the input has been read
    bool isEndParsed_ = false;
    bool leavesUnended_ = false;
    bool isUnended_ = false;
    std::exception_ptr trouble_; ///< thrown once the rows before it have been taken
};

} // namespace program

#endif
