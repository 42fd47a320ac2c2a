#ifndef QORVEL_ENGINE_COLUMNS_TEXTCOLUMN_H
#define QORVEL_ENGINE_COLUMNS_TEXTCOLUMN_H

#include "engine/columns/TextValues.h"
#include "engine/columns/WholeValues.h"

namespace qorvel_engine {

/// A column of texts, each in its row or looked up in a dictionary; read in place.
class TextColumn {
public:
    /// A column that is null in every row.
    TextColumn() noexcept = default;

    /// A text a row. Not explicit: the usual column.
    TextColumn(const TextValues& texts) noexcept : texts_(texts) {}

    /// An index a row, into `texts`. Indices that are not null are below `size`.
    TextColumn(const WholeValues& indices, const TextValues& texts, std::int64_t size) noexcept
        : indices_(indices), texts_(texts), dictionarySize_(size) {}

    /// Is there such a column?
    bool isThere() const noexcept { return isDictionary() || texts_.isThere(); }

    /// Is there no such column, or no text in this row?
    bool isNull(std::int64_t row) const noexcept {
        return isDictionary() ? indices_.isNull(row) || texts_.isNull(dictionaryIndex(row))
                              : texts_.isNull(row);
    }

    /// The text of a row that is not null: any bytes, until they are checked.
    std::string_view text(std::int64_t row) const noexcept {
        return texts_.text(isDictionary() ? dictionaryIndex(row) : row);
    }

    /// As TextValues::textsOf; nothing where there is a dictionary.
    std::string_view textsOf(std::int64_t from, std::int64_t to) const noexcept {
        return isDictionary() ? std::string_view() : texts_.textsOf(from, to);
    }

    /// Are the texts those of a dictionary? Then whatever is found out about a text can be kept by
    /// its index, as long as the batch is looked at.
    bool isDictionary() const noexcept { return dictionarySize_ >= 0; }

    /// How many texts the dictionary has.
    std::int64_t dictionarySize() const noexcept { return dictionarySize_; }

    /// The index into the dictionary, of a row that is not null.
    std::int64_t dictionaryIndex(std::int64_t row) const noexcept {
        return static_cast<std::int64_t>(indices_.bits(row));
    }

private:
    WholeValues indices_;
    TextValues texts_;
    std::int64_t dictionarySize_ = -1; ///< negative: no dictionary
};

} // namespace qorvel_engine

#endif
