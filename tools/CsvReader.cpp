#include "tools/CsvReader.h"

#include "tools/Failure.h"
#include "tools/Interrupt.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace host {

namespace {

constexpr std::size_t kPieceSize = std::size_t{1} << 16;
constexpr std::size_t kMaxRowSize = std::size_t{1} << 20;

/// Bounds the parser's buffer for one field.
void* boundedRealloc(void* memory, std::size_t size) {
    return size > kMaxRowSize ? nullptr : std::realloc(memory, size);
}

} // namespace

CsvReader::CsvReader(Input& input) : input_(input), piece_(kPieceSize) {
    if (csv_init(&parser_, CSV_REPALL_NL) != 0) {
        throw std::bad_alloc();
    }
    csv_set_realloc_func(&parser_, boundedRealloc);
}

CsvReader::~CsvReader() {
    csv_free(&parser_);
}

bool CsvReader::next() {
    ++row_;
    while (row_ >= rows_.size() && !ended_) {
        fill();
    }
    return row_ < rows_.size();
}

std::size_t CsvReader::fieldCount() const {
    return rows_[row_].endField - rows_[row_].firstField;
}

std::string_view CsvReader::field(std::size_t index) const {
    const std::size_t at = rows_[row_].firstField + index;
    const std::size_t begin = at == 0 ? 0 : fieldEnds_[at - 1];
    return std::string_view(text_).substr(begin, fieldEnds_[at] - begin);
}

void CsvReader::onField(void* text, std::size_t size, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    try {
        reader.addField({static_cast<const char*>(text), size});
    } catch (...) {
        reader.trouble_ = std::current_exception();
    }
}

void CsvReader::onRowEnd(int terminator, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    try {
        reader.endRow(terminator);
    } catch (...) {
        reader.trouble_ = std::current_exception();
    }
}

void CsvReader::addField(std::string_view text) {
    if (fieldEnds_.size() == openField_) {
        openLine_ = line_;
    }
    text_ += text;
    fieldEnds_.push_back(text_.size());
    line_ += static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
    afterCarriageReturn_ = false;

    const std::size_t openText = openField_ == 0 ? 0 : fieldEnds_[openField_ - 1];
    if (text_.size() - openText + fieldEnds_.size() - openField_ > kMaxRowSize) {
        fail("a row is longer than 1 MiB");
    }
}

void CsvReader::endRow(int terminator) {
    const bool secondHalfOfLineEnd = afterCarriageReturn_ && terminator == CSV_LF;
    afterCarriageReturn_ = terminator == CSV_CR;
    if (fieldEnds_.size() > openField_) { // else a blank line
        rows_.push_back({openLine_, openField_, fieldEnds_.size()});
        openField_ = fieldEnds_.size();
    }
    if (!secondHalfOfLineEnd) {
        ++line_;
    }
}

void CsvReader::fill() {
    dropFinishedRows();
    const std::size_t size = input_.read(piece_.data(), piece_.size());
    if (size > 0) {
        const std::size_t parsed =
            csv_parse(&parser_, piece_.data(), size, onField, onRowEnd, this);
        if (parsed != size) {
            fail("a row is longer than 1 MiB (a quote that is not closed?)");
        }
    } else {
        ended_ = true;
        // A row that a SIGINT cut off is no row. Strictness at the very end reports an open quote.
        csv_set_opts(&parser_, CSV_REPALL_NL | CSV_STRICT | CSV_STRICT_FINI);
        if (!interrupted() && csv_fini(&parser_, onField, onRowEnd, this) != 0) {
            fail("the input ends inside a quoted field");
        }
    }
    if (trouble_) {
        std::rethrow_exception(trouble_);
    }
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

void CsvReader::fail(const char* what) const {
    const bool isFirstField = fieldEnds_.size() == openField_;
    const std::string line = std::to_string(isFirstField ? line_ : openLine_);
    throw Failure(ExitCode::broken, input_.name() + ", line " + line + ": " + what);
}

} // namespace host
