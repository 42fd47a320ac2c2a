#include "program/input/NdjsonSource.h"

#include "program/Interrupt.h"
#include "program/input/PlainObject.h"

#include <simdjson.h>

namespace program {

namespace {

using simdjson::error_code;
namespace ondemand = simdjson::ondemand;

static_assert(LineBuffer::kPadding >= simdjson::SIMDJSON_PADDING);

std::string_view trimmed(std::string_view line) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    while (!line.empty() && isBlank(line.back())) {
        line.remove_suffix(1);
    }
    return line;
}

} // namespace

/// Finds the values in a row's object. What it found stays valid until the next row.
struct NdjsonSource::Parser {
    explicit Parser(FixColumns& columnsToUse) : columns(columnsToUse) {}

    void readKeys(std::string_view row, std::vector<std::string>& keys);
    void parse(std::string_view row);

    FixTexts texts;
    error_code broken = simdjson::SUCCESS;
    std::string fault; ///< also where the row is sound JSON, but not of the kind that is wanted

private:
    /// What a key holds; the same keys mostly come in the same order.
    struct Known {
        std::string key;
        FixField field;
    };

    template <typename Visit>
    error_code visit(std::string_view row, Visit visit);
    void takePlain();
    void note(error_code result);
    FixField fieldOf(std::size_t position, std::string_view key);
    FixField find(std::string_view key);
    void see(FixField field);
    error_code take(FixField field, ondemand::value value);
    static error_code takeNumber(ondemand::value& value, std::string_view& text);

    FixColumns& columns;
    PlainObject plain;
    ondemand::parser parser;
    std::vector<Known> known;
    std::array<bool, kFixFields> seen{};
};

template <typename Visit>
error_code NdjsonSource::Parser::visit(std::string_view row, Visit visitMember) {
    ondemand::document document;
    ondemand::object object;
    const std::size_t held = row.size() + LineBuffer::kPadding;
    if (auto error = parser.iterate(row.data(), row.size(), held).get(document)) {
        return error;
    }
    if (auto error = document.get_object().get(object)) {
        return error;
    }
    std::size_t position = 0;
    for (auto member : object) {
        std::string_view key;
        ondemand::value value;
        if (auto error = member.unescaped_key().get(key)) {
            return error;
        }
        if (auto error = member.value().get(value)) {
            return error;
        }
        if (auto error = visitMember(position++, key, value)) {
            return error;
        }
    }
    const bool isAtEnd = document.current_location().error() == simdjson::OUT_OF_BOUNDS;
    return isAtEnd ? simdjson::SUCCESS : simdjson::TRAILING_CONTENT;
}

void NdjsonSource::Parser::readKeys(std::string_view row, std::vector<std::string>& keys) {
    note(visit(row, [&](std::size_t, std::string_view key, ondemand::value&) {
        keys.emplace_back(key);
        return simdjson::SUCCESS;
    }));
}

void NdjsonSource::Parser::parse(std::string_view row) {
    texts.fill({});
    seen.fill(false);
    fault.clear();
    if (plain.read(row)) {
        takePlain();
        return;
    }
    note(visit(row, [this](std::size_t position, std::string_view key, ondemand::value& value) {
        const FixField field = fieldOf(position, key);
        return field == FixField::count ? simdjson::SUCCESS : take(field, value);
    }));
}

void NdjsonSource::Parser::takePlain() {
    broken = simdjson::SUCCESS;
    std::size_t position = 0;
    for (const auto& [key, value] : plain.members()) {
        const FixField field = fieldOf(position++, key);
        if (field != FixField::count) {
            see(field);
            texts[indexOf(field)] = value;
        }
    }
}

void NdjsonSource::Parser::note(error_code result) {
    broken = result;
    if (broken != simdjson::SUCCESS) {
        fault = "not one JSON object";
        fault += broken == simdjson::INCORRECT_TYPE
                     ? ""
                     : std::string(": ") + simdjson::error_message(broken);
    }
}

FixField NdjsonSource::Parser::fieldOf(std::size_t position, std::string_view key) {
    if (position >= known.size()) {
        known.resize(position + 1, {"", FixField::count});
    }
    Known& here = known[position];
    if (here.key != key || key.empty()) {
        here = {std::string(key), find(key)};
    }
    return here.field;
}

FixField NdjsonSource::Parser::find(std::string_view key) {
    for (std::size_t i = 0; i < kFixFields; ++i) {
        const auto field = static_cast<FixField>(i);
        if (columns.index(field) != FixColumns::kAbsent && columns.name(field) == key) {
            return field;
        }
    }
    return columns.adopt(key);
}

void NdjsonSource::Parser::see(FixField field) {
    const auto at = indexOf(field);
    if (seen[at]) {
        fault = columns.name(field) + " stands there twice";
    }
    seen[at] = true;
}

error_code NdjsonSource::Parser::take(FixField field, ondemand::value value) {
    const auto at = indexOf(field);
    see(field);
    ondemand::json_type type{};
    if (auto error = value.type().get(type)) {
        return error;
    }
    switch (type) {
    case ondemand::json_type::string:
        return value.get_string().get(texts[at]);
    case ondemand::json_type::number:
        return takeNumber(value, texts[at]);
    case ondemand::json_type::null: // or something else that begins with an n
        return value.is_null().error();
    case ondemand::json_type::boolean:
        fault = columns.name(field) + " is true or false, where a number or a text is wanted";
        return value.get_bool().error();
    case ondemand::json_type::object:
        if (field == FixField::point) {
            ondemand::object geometry;
            const auto error = value.get_object().get(geometry);
            return error != simdjson::SUCCESS ? error : geometry.raw_json().get(texts[at]);
        }
        [[fallthrough]];
    case ondemand::json_type::array:
        fault = columns.name(field) + " is nested, where a number or a text is wanted";
        break;
    }
    return simdjson::SUCCESS;
}

/// As it is written, so that the checks of texts hold for it too, and no digit is lost.
error_code NdjsonSource::Parser::takeNumber(ondemand::value& value, std::string_view& text) {
    text = trimmed(value.raw_json_token());
    return value.get_double().error();
}

NdjsonSource::NdjsonSource(std::unique_ptr<ByteSource> bytes, const InputOptions& options)
    : TextSource(std::move(bytes), options), parser_(std::make_unique<Parser>(fixes_.columns())) {}

NdjsonSource::~NdjsonSource() = default;

bool NdjsonSource::next() {
    if (!lines_) {
        lines_.emplace(*bytes_);
    }
    if (!takeRow()) {
        if (!anyRow_ && !interrupted()) {
            failEmpty();
        }
        return false;
    }
    anyRow_ = true;
    if (!fixes_.columns().isFound()) {
        learnKeys();
    }
    if (isUnended_ && !fault().empty() && parser_->broken != simdjson::SUCCESS) {
        lines_->fail(kCutOff);
    }
    return true;
}

std::string NdjsonSource::read(Fix& fix) {
    return fault().empty() ? fixes_.read(parser_->texts, fix) : fault();
}

std::optional<std::int64_t> NdjsonSource::readTime() {
    return fault().empty() ? fixes_.readTime(parser_->texts[indexOf(FixField::time)])
                           : std::nullopt;
}

void NdjsonSource::rewind() {
    TextSource::rewind();
    lines_.reset();
    anyRow_ = false;
    hasEnded_ = false;
}

InputPlace NdjsonSource::place() const {
    InputPlace place = TextSource::place();
    if (lines_) {
        place.offset = lines_->offsetOf(lines_->rowEnd());
        place.line = lines_->line();
        place.isUnended = isUnended_;
    }
    return place;
}

/// The rows up to the one that stood for a header are read again.
void NdjsonSource::goTo(const InputPlace& place) {
    if (place.offset > 0) {
        while (!fixes_.columns().isFound() && this->place().offset < place.offset && next()) {
        }
        goOn(place);
        lines_.emplace(*bytes_, place.offset, place.line);
        anyRow_ = true;
        hasEnded_ = false;
    }
}

/// Goes to the next line that is not blank.
bool NdjsonSource::takeRow() {
    std::string_view line;
    do {
        lines_->endRow();
        line = takeLine();
        row_ = trimmed(line);
    } while (row_.empty() && !line.empty());
    isParsed_ = false;
    return !row_.empty();
}

std::string_view NdjsonSource::takeLine() {
    std::string_view line = lines_->takeLine();
    while (line.empty() && !hasEnded_) {
        hasEnded_ = !lines_->readOn();
        line = lines_->takeLine();
    }
    // A row that a SIGINT cut off is no row.
    isUnended_ = line.empty() && !leavesUnended_ && !interrupted();
    return isUnended_ ? lines_->takeRest() : line;
}

void NdjsonSource::learnKeys() {
    std::vector<std::string> keys;
    parser_->readKeys(row_, keys);
    isParsed_ = parser_->broken != simdjson::SUCCESS;
    if (!isParsed_) {
        fixes_.find(keys, name() + ": the first object");
    }
}

/// What is wrong with the row, other than with its values.
const std::string& NdjsonSource::fault() {
    if (!isParsed_) {
        parser_->parse(row_);
        isParsed_ = true;
    }
    return parser_->fault;
}

} // namespace program
