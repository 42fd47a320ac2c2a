#include "page/packColumns.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <optional>

namespace qorvel_page {

namespace {

using qorvel_engine::ResultKind;
using Values = std::vector<std::int64_t>;

/// How values are written; the numbers are read by page/data.js.
enum class Way : std::uint8_t {
    bySteps = 0,      ///< the difference to the value before
    byDifference = 1, ///< to another column's value in the same row
    byText = 2,       ///< a value for each of another column's texts
    asBits = 3        ///< eight bytes each
};

/// Doubles, and so the page, are exact up to 2^53; sums of two of these are.
constexpr std::int64_t kMostExact = std::int64_t{1} << 51;

bool isExact(const Values& values) {
    return std::all_of(values.begin(), values.end(), [](std::int64_t value) {
        return -kMostExact <= value && value <= kMostExact;
    });
}

/// Rows by entity: which row stands at which place.
std::vector<std::size_t> orderBy(const PageColumn* entities, std::size_t rows) {
    std::vector<std::size_t> order(rows);
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (entities != nullptr) {
        const Values& codes = entities->values();
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return codes[a] < codes[b]; });
    }
    return order;
}

Values inOrder(const Values& values, const std::vector<std::size_t>& order) {
    Values sorted(values.size());
    std::transform(order.begin(), order.end(), sorted.begin(),
                   [&](std::size_t row) { return values[row]; });
    return sorted;
}

Values steps(const Values& values) {
    Values result(values.size());
    std::adjacent_difference(values.begin(), values.end(), result.begin());
    return result;
}

Values differences(const Values& values, const Values& others) {
    Values result(values.size());
    std::transform(values.begin(), values.end(), others.begin(), result.begin(), std::minus<>());
    return result;
}

/// Roughly the bits that numbers take when compressed: what repeats is almost free.
std::size_t costOf(const Values& values) {
    constexpr int kPerNumber = 4;
    std::size_t bits = 0;
    std::int64_t last = 0;
    for (const std::int64_t value : values) {
        if (value != last) {
            const auto size = static_cast<std::uint64_t>(value < 0 ? -value : value);
            bits += static_cast<std::size_t>(kPerNumber + std::bit_width(size));
        }
        last = value;
    }
    return bits;
}

/// The numbers as the first one and how often a common unit the others are away from it; for steps
/// the first one stands alone.
void writeNumbers(const Values& values, bool areSteps, ByteWriter& to) {
    const std::int64_t base = areSteps || values.empty() ? 0 : values.front();
    const auto firstOfAll = values.begin() + (areSteps && !values.empty() ? 1 : 0);
    std::int64_t unit = 0;
    for (auto value = firstOfAll; value != values.end(); ++value) {
        unit = std::gcd(unit, *value - base);
    }
    unit = std::max<std::int64_t>(unit, 1);
    to.number(values.empty() ? 0 : values.front());
    to.unsignedNumber(static_cast<std::uint64_t>(unit));
    for (auto value = firstOfAll; value != values.end(); ++value) {
        to.number((*value - base) / unit);
    }
}

void writeBits(const Values& values, ByteWriter& to) {
    for (const std::int64_t value : values) {
        for (int shift = 0; shift < 64; shift += 8) {
            to.byte(static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> shift));
        }
    }
}

/// The value for each text of a column, if it follows from that.
std::optional<Values> byText(const Values& values, const PageColumn& texts) {
    std::vector<bool> isKnown(texts.texts().size());
    Values result(texts.texts().size());
    for (std::size_t row = 0; row < values.size(); ++row) {
        const auto code = static_cast<std::size_t>(texts.values()[row]);
        if (isKnown[code] && result[code] != values[row]) {
            return std::nullopt;
        }
        isKnown[code] = true;
        result[code] = values[row];
    }
    return result;
}

/// What the page calls it.
std::string_view wordOf(ResultKind kind) {
    switch (kind) {
    case ResultKind::entity:
        return "entity";
    case ResultKind::text:
        return "text";
    case ResultKind::degrees:
        return "degrees";
    case ResultKind::metres:
        return "metres";
    case ResultKind::hours:
        return "hours";
    case ResultKind::whole:
        return "whole";
    case ResultKind::time:
        return "time";
    case ResultKind::boxEnd:
        return "boxEnd";
    }
    return {};
}

bool isTime(ResultKind kind) {
    return kind == ResultKind::time || kind == ResultKind::boxEnd;
}

void writeTexts(const PageColumn& column, ByteWriter& to) {
    to.unsignedNumber(column.texts().size());
    for (const std::string_view text : column.texts()) {
        to.unsignedNumber(text.size());
    }
    for (const std::string_view text : column.texts()) {
        to.append(text);
    }
}

class Packer {
public:
    Packer(const std::vector<PageColumn>& columns, ByteWriter& to)
        : columns_(columns), to_(to), entities_(firstEntities()),
          order_(orderBy(entities_, columns.empty() ? 0 : columns.front().values().size())) {}

    void operator()() {
        to_.unsignedNumber(entities_ == nullptr ? columns_.size() : indexOf(*entities_));
        if (entities_ != nullptr) { // in the order of the rows, from which the other order follows
            writeNumbers(steps(entities_->values()), true, to_);
        }
        for (const PageColumn& column : columns_) {
            writeColumn(column);
        }
    }

private:
    const PageColumn* firstEntities() const {
        const auto found =
            std::find_if(columns_.begin(), columns_.end(), [](const PageColumn& column) {
                return column.about().kind == ResultKind::entity;
            });
        return found == columns_.end() ? nullptr : &*found;
    }

    std::size_t indexOf(const PageColumn& column) const {
        return static_cast<std::size_t>(&column - columns_.data());
    }

    void writeColumn(const PageColumn& column) {
        to_.text(column.about().name);
        to_.text(wordOf(column.about().kind));
        to_.text(column.about().unit);
        to_.text(column.about().description);
        to_.unsignedNumber(column.missing().size());
        if (!column.missing().empty()) {
            const Values rows(column.missing().begin(), column.missing().end());
            writeNumbers(steps(rows), true, to_);
        }
        if (column.hasTexts()) {
            writeTexts(column, to_);
        }
        if (&column != entities_) {
            writeValues(column);
        }
    }

    void writeValues(const PageColumn& column) {
        const Values values = inOrder(column.values(), order_);
        if (!isExact(values)) {
            writeWay(Way::asBits, 0);
            return writeBits(values, to_);
        }
        for (const PageColumn& other : columns_) {
            if (&other == &column) {
                break;
            }
            const bool isShorter = other.hasTexts() && 2 * other.texts().size() <= values.size();
            const auto each = isShorter ? byText(column.values(), other) : std::nullopt;
            if (each) {
                writeWay(Way::byText, indexOf(other));
                return writeNumbers(steps(*each), true, to_);
            }
        }
        writeCheapest(column, values);
    }

    void writeCheapest(const PageColumn& column, const Values& values) {
        Values best = steps(values);
        std::size_t cost = costOf(best);
        const PageColumn* from = nullptr;
        for (const PageColumn& other : columns_) {
            if (&other == &column) {
                break;
            }
            if (isTime(other.about().kind) && isTime(column.about().kind) &&
                isExact(other.values())) {
                Values difference = differences(values, inOrder(other.values(), order_));
                if (const std::size_t other_cost = costOf(difference); other_cost < cost) {
                    best = std::move(difference);
                    cost = other_cost;
                    from = &other;
                }
            }
        }
        writeWay(from == nullptr ? Way::bySteps : Way::byDifference,
                 from == nullptr ? 0 : indexOf(*from));
        writeNumbers(best, from == nullptr, to_);
    }

    void writeWay(Way way, std::size_t other) {
        to_.byte(static_cast<std::uint8_t>(way));
        to_.unsignedNumber(other);
    }

    const std::vector<PageColumn>& columns_;
    ByteWriter& to_;
    const PageColumn* entities_;
    std::vector<std::size_t> order_;
};

} // namespace

void packColumns(const std::vector<PageColumn>& columns, ByteWriter& to) {
    Packer(columns, to)();
}

} // namespace qorvel_page
