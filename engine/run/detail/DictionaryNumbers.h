#ifndef QORVEL_ENGINE_RUN_DETAIL_DICTIONARYNUMBERS_H
#define QORVEL_ENGINE_RUN_DETAIL_DICTIONARYNUMBERS_H

#include "engine/columns/TextColumn.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Numbers of the texts of a column: of a dictionary's, each is asked for once a batch, when a row
/// first has it.
class DictionaryNumbers {
public:
    /// What was kept of the last batch is of no use for this one.
    void begin(const TextColumn& column) {
        ++batch_;
        const auto size =
            static_cast<std::size_t>(column.isDictionary() ? column.dictionarySize() : 0);
        if (size > kept_.size()) {
            kept_.resize(size);
        }
    }

    /// What `numberOf` says of the row's text. The row has one.
    template <class NumberOf>
    std::int64_t at(const TextColumn& column, std::int64_t row, const NumberOf& numberOf) {
        if (!column.isDictionary()) {
            return numberOf(column.text(row));
        }
        Kept& kept = kept_[static_cast<std::size_t>(column.dictionaryIndex(row))];
        if (kept.batch != batch_) {
            kept = {batch_, numberOf(column.text(row))};
        }
        return kept.number;
    }

private:
    struct Kept {
        std::uint64_t batch = 0; ///< in which it was asked for
        std::int64_t number = 0;
    };

    std::uint64_t batch_ = 0;
    std::vector<Kept> kept_; ///< by index; as long as the longest dictionary was
};

} // namespace qorvel_engine::detail

#endif
