#include "program/input/CsvReader.h"

#include "program/Failure.h"
#include "program/Interrupt.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace program {

namespace {

/// The first that is there most often outside of quotes; none in a line that is blank.
std::optional<char> delimiterOf(std::string_view line) {
    constexpr std::string_view kDelimiters = ",;\t|";
    std::size_t counts[kDelimiters.size()] = {};
    bool isQuoted = false;
    for (const char c : line) {
        isQuoted = isQuoted != (c == '"');
        const std::size_t which = isQuoted ? std::string_view::npos : kDelimiters.find(c);
        if (which != std::string_view::npos) {
            ++counts[which];
        }
    }
    if (line.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        return std::nullopt;
    }
    const auto* most = std::max_element(std::begin(counts), std::end(counts));
    return kDelimiters[static_cast<std::size_t>(most - std::begin(counts))];
}

} // namespace

CsvReader::CsvReader(ByteSource& source, std::optional<char> delimiter)
    : CsvReader(source.name(), LineBuffer(source), delimiter) {}

CsvReader::CsvReader(ByteSource& source, char delimiter, std::uint64_t offset, std::uint64_t line)
    : CsvReader(source.name(), LineBuffer(source, offset, line), delimiter) {
    offsetBehind_ = offset;
    lineBehind_ = line;
}

CsvReader::CsvReader(const std::string& name, LineBuffer lines, std::optional<char> delimiter)
    : name_(name), lines_(std::move(lines)), isDelimiterKnown_(delimiter.has_value()) {
    if (csv_init(&parser_, CSV_REPALL_NL) != 0) {
        throw std::bad_alloc();
    }
    constexpr std::size_t kGrowth = std::size_t{1} << 16; // not by 128 bytes, each time a copy
    csv_set_blk_size(&parser_, kGrowth);
    setDelimiter(delimiter.value_or(','));
}

CsvReader::~CsvReader() {
    csv_free(&parser_);
}

bool CsvReader::next() {
    ++row_;
    while (row_ >= rows_.size()) {
        if (trouble_) {
            std::rethrow_exception(trouble_);
        }
        if (ended_ && (isEndParsed_ || leavesUnended_)) {
            return false;
        }
        dropFinishedRows();
        try {
            fill();
        } catch (...) {
            trouble_ = std::current_exception();
        }
    }
    offsetBehind_ = lines_.offsetOf(rows_[row_].end);
    lineBehind_ = rows_[row_].nextLine;
    return true;
}

std::string_view CsvReader::field(std::size_t index) const {
    const std::size_t at = rows_[row_].firstField + index;
    const std::size_t begin = at == 0 ? 0 : fieldEnds_[at - 1];
    return std::string_view(text_).substr(begin, fieldEnds_[at] - begin);
}

std::string_view CsvReader::verbatim() const {
    const std::string_view row = lines_.text(rows_[row_].begin, rows_[row_].end);
    return row.substr(0, row.find_last_not_of("\r\n") + 1);
}

void CsvReader::onField(void* text, std::size_t size, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    try {
        reader.text_.append(static_cast<const char*>(text), size);
        reader.fieldEnds_.push_back(reader.text_.size());
    } catch (...) { // must not pass through the C parser
        reader.trouble_ = std::current_exception();
    }
}

void CsvReader::onRowEnd(int, void* self) {
    static_cast<CsvReader*>(self)->lineEndsRow_ = true;
}

/// Line by line, since the parser does not tell where in its input a row ended.
void CsvReader::fill() {
    ended_ = ended_ || !lines_.readOn();
    for (std::string_view line = lines_.takeLine(); !line.empty(); line = lines_.takeLine()) {
        parse(line);
    }
    if (ended_ && !leavesUnended_) {
        isEndParsed_ = true;
        if (!interrupted()) { // a row that a SIGINT cut off is no row
            parseEnd();
        }
    }
}

void CsvReader::setDelimiter(char delimiter) {
    delimiter_ = delimiter;
    csv_set_delim(&parser_, static_cast<unsigned char>(delimiter));
}

void CsvReader::parse(std::string_view line) {
    if (!isDelimiterKnown_) {
        const std::optional<char> delimiter = delimiterOf(line);
        isDelimiterKnown_ = delimiter.has_value();
        setDelimiter(delimiter.value_or(','));
    }
    lineEndsRow_ = false;
    if (csv_parse(&parser_, line.data(), line.size(), onField, onRowEnd, this) != line.size()) {
        throw std::bad_alloc();
    }
    if (trouble_) {
        std::rethrow_exception(trouble_);
    }
    if (lineEndsRow_) {
        endRow();
    }
}

void CsvReader::parseEnd() {
    parse(lines_.takeRest());
    // Strictness at the very end reports an open quote.
    csv_set_opts(&parser_, CSV_REPALL_NL | CSV_STRICT | CSV_STRICT_FINI);
    if (csv_fini(&parser_, onField, onRowEnd, this) != 0) {
        lines_.fail("the input ends inside a quoted field");
    }
    isUnended_ = fieldEnds_.size() > openField_;
    endRow();
}

void CsvReader::endRow() {
    if (fieldEnds_.size() > openField_) { // else a blank line
        rows_.push_back({lines_.rowLine(), openField_, fieldEnds_.size(), lines_.rowBegin(),
                         lines_.rowEnd(), lines_.line()});
        openField_ = fieldEnds_.size();
    }
    lines_.endRow();
}

void CsvReader::dropFinishedRows() {
    const std::size_t finished = openField_ == 0 ? 0 : fieldEnds_[openField_ - 1];
    text_.erase(0, finished);
    fieldEnds_.erase(fieldEnds_.begin(),
                     fieldEnds_.begin() + static_cast<std::ptrdiff_t>(openField_));
    for (std::size_t& end : fieldEnds_) {
        end -= finished;
    }
    openField_ = 0;
    rows_.clear();
    row_ = 0;
}

void CsvReader::fail(const std::string& what) const {
    throw Failure(ExitCode::broken, name_ + ", line " + std::to_string(line()) + ": " + what);
}

} // namespace program
