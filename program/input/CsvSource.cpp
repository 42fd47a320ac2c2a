#include "program/input/CsvSource.h"

#include "program/Interrupt.h"

namespace program {

bool CsvSource::next() {
    if ((!reader_ && !readHeader()) || !reader_->next()) {
        return false;
    }
    if (reader_->isUnended() && reader_->fieldCount() < fieldCount_) {
        reader_->fail(kCutOff);
    }
    return true;
}

std::string CsvSource::read(Fix& fix) {
    if (!isComplete()) {
        return std::to_string(reader_->fieldCount()) + " fields where the header has " +
               std::to_string(fieldCount_);
    }
    readTexts();
    return fixes_.read(texts_, fix);
}

std::optional<std::int64_t> CsvSource::readTime() {
    const std::size_t column = fixes_.columns().index(FixField::time);
    return isComplete() ? fixes_.readTime(reader_->field(column)) : std::nullopt;
}

void CsvSource::rewind() {
    TextSource::rewind();
    reader_.reset();
}

void CsvSource::takeUnended() {
    TextSource::takeUnended();
    if (reader_) {
        reader_->leaveUnended(false);
    }
}

InputPlace CsvSource::place() const {
    InputPlace place = TextSource::place();
    if (reader_) {
        place.offset = reader_->offsetBehind();
        place.line = reader_->lineBehind();
        place.isUnended = reader_->isUnended();
    }
    return place;
}

void CsvSource::goTo(const InputPlace& place) {
    if (place.offset > 0) {
        const bool isKnown = readHeader();
        goOn(place);
        if (isKnown) { // else it was interrupted
            const char delimiter = reader_->delimiter();
            reader_.emplace(*bytes_, delimiter, place.offset, place.line);
            reader_->leaveUnended(leavesUnended_);
        } else {
            reader_.reset();
        }
    }
}

bool CsvSource::readHeader() {
    reader_.emplace(*bytes_, delimiter_);
    reader_->leaveUnended(leavesUnended_);
    if (!reader_->next()) {
        if (interrupted()) {
            return false;
        }
        failEmpty();
    }
    fieldCount_ = reader_->fieldCount();
    std::vector<std::string> names;
    for (std::size_t i = 0; i < fieldCount_; ++i) {
        names.emplace_back(reader_->field(i));
        if (names.back().find('\0') != std::string::npos) {
            reader_->fail("the header holds a NUL: the file is no text, or its text is UTF-16, "
                          "where UTF-8 is wanted");
        }
    }
    fixes_.find(names, name() + ": the header");
    taken_.clear();
    for (std::size_t i = 0; i < kFixFields; ++i) {
        const std::size_t column = fixes_.columns().index(static_cast<FixField>(i));
        if (column != FixColumns::kAbsent) {
            taken_.emplace_back(i, column);
        }
    }
    return true;
}

void CsvSource::readTexts() {
    for (const auto& [field, column] : taken_) {
        texts_[field] = reader_->field(column);
    }
}

} // namespace program
