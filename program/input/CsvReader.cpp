#include "program/input/CsvReader.h"

#include "program/Failure.h"
#include "program/Interrupt.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <new>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

constexpr char kQuote = '"';

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

/// How many bytes are looked at together.
constexpr std::size_t kBlock = 16;
static_assert(kBlock <= LineBuffer::kPadding);

/// Of that many bytes a bit each, the lowest for the first: is it a delimiter or a quote?
std::uint32_t marksIn(const char* bytes, char delimiter) {
#ifdef __SSE2__
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i marks = _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8(delimiter)),
                                       _mm_cmpeq_epi8(block, _mm_set1_epi8(kQuote)));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(marks));
#else
    std::uint32_t marks = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        marks |= (bytes[i] == delimiter || bytes[i] == kQuote ? 1U : 0U) << i;
    }
    return marks;
#endif
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
    const Row& row = rows_[row_];
    const Field field = fields_[row.firstField + index];
    return row.isPlain ? lines_.text(field.begin, field.end)
                       : std::string_view(text_).substr(field.begin, field.end - field.begin);
}

std::string_view CsvReader::verbatim() const {
    const std::string_view row = lines_.text(rows_[row_].begin, rows_[row_].end);
    return row.substr(0, row.find_last_not_of("\r\n") + 1);
}

void CsvReader::onField(void* text, std::size_t size, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    try {
        const std::size_t begin = reader.text_.size();
        reader.text_.append(static_cast<const char*>(text), size);
        reader.makeRoom(1);
        reader.fields_[reader.endField_++] = {begin, reader.text_.size()};
    } catch (...) { // must not pass through the C parser
        reader.trouble_ = std::current_exception();
    }
}

void CsvReader::onRowEnd(int, void* self) {
    static_cast<CsvReader*>(self)->lineEndsRow_ = true;
}

/// Line by line, since libcsv does not tell where in its input a row ended.
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

void CsvReader::learnDelimiter(std::string_view line) {
    if (!isDelimiterKnown_) {
        const std::optional<char> delimiter = delimiterOf(line);
        isDelimiterKnown_ = delimiter.has_value();
        setDelimiter(delimiter.value_or(','));
    }
}

void CsvReader::parse(std::string_view line) {
    learnDelimiter(line);
    if (lineEndsRow_ && splitPlain(line)) {
        endRow(true);
        return;
    }
    parseQuoted(line);
    if (lineEndsRow_) {
        endRow(false);
    }
}

/// A line that begins a row, with its line end. False, and nothing is done, if a quote is in it.
bool CsvReader::splitPlain(std::string_view line) {
    std::size_t size = line.size();
    for (; size > 0 && (line[size - 1] == '\n' || line[size - 1] == '\r'); --size) {
    }
    makeRoom(size + 1);
    Field* field = fields_.data() + endField_;
    std::size_t begin = 0;
    for (std::size_t block = 0; block < size; block += kBlock) {
        std::uint32_t marks = marksIn(line.data() + block, delimiter_);
        for (; marks != 0; marks &= marks - 1) {
            const std::size_t at = block + static_cast<std::size_t>(std::countr_zero(marks));
            if (at >= size) {
                break;
            }
            if (line[at] == kQuote) {
                return false;
            }
            *field++ = plainField(line, begin, at);
            begin = at + 1;
        }
    }
    const Field last = plainField(line, begin, size);
    const bool isBlankLine = begin == 0 && last.begin == last.end;
    if (!isBlankLine) {
        *field++ = last;
        endField_ = static_cast<std::size_t>(field - fields_.data());
    }
    return true;
}

/// Without blanks around it; one that is a delimiter is not within a field.
CsvReader::Field CsvReader::plainField(std::string_view line, std::size_t begin,
                                       std::size_t end) const {
    for (; begin < end && isBlank(line[begin]); ++begin) {
    }
    for (; begin < end && isBlank(line[end - 1]); --end) {
    }
    return {lines_.rowBegin() + begin, lines_.rowBegin() + end};
}

void CsvReader::makeRoom(std::size_t count) {
    if (fields_.size() - endField_ < count) {
        fields_.resize(std::max(endField_ + count, 2 * fields_.size()));
    }
}

void CsvReader::parseQuoted(std::string_view line) {
    lineEndsRow_ = false;
    if (csv_parse(&parser_, line.data(), line.size(), onField, onRowEnd, this) != line.size()) {
        throw std::bad_alloc();
    }
    if (trouble_) {
        std::rethrow_exception(trouble_);
    }
}

void CsvReader::parseEnd() {
    const std::string_view rest = lines_.takeRest();
    learnDelimiter(rest);
    parseQuoted(rest);
    // Strictness at the very end reports an open quote.
    csv_set_opts(&parser_, CSV_REPALL_NL | CSV_STRICT | CSV_STRICT_FINI);
    if (csv_fini(&parser_, onField, onRowEnd, this) != 0) {
        lines_.fail("the input ends inside a quoted field");
    }
    isUnended_ = endField_ > openField_;
    endRow(false);
}

void CsvReader::endRow(bool isPlain) {
    if (endField_ > openField_) { // else a blank line
        rows_.push_back({lines_.rowLine(), openField_, endField_, lines_.rowBegin(),
                         lines_.rowEnd(), lines_.line(), isPlain});
        openField_ = endField_;
        openText_ = text_.size();
    }
    lines_.endRow();
}

void CsvReader::dropFinishedRows() {
    text_.erase(0, openText_);
    for (std::size_t i = openField_; i < endField_; ++i) {
        fields_[i - openField_] = {fields_[i].begin - openText_, fields_[i].end - openText_};
    }
    endField_ -= openField_;
    openField_ = 0;
    openText_ = 0;
    rows_.clear();
    row_ = 0;
}

void CsvReader::fail(const std::string& what) const {
    throw Failure(ExitCode::broken, name_ + ", line " + std::to_string(line()) + ": " + what);
}

} // namespace program
