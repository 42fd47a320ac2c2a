#ifndef QORVEL_ENGINE_ANALYSIS_LASTRESULTS_H
#define QORVEL_ENGINE_ANALYSIS_LASTRESULTS_H

#include "engine/columns/ResultTable.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace qorvel_engine {

/// Results that no row brings, with what they are sorted by: they are known at the end, or when it
/// is known how old the oldest row to come is.
class LastResults {
public:
    /// What they are sorted by, ascending; equal ones come from one shard, which orders them.
    struct Place {
        std::int64_t order = 0;
        std::uint64_t row = 0;

        bool operator<(const Place& other) const {
            return order != other.order ? order < other.order : row < other.row;
        }
    };

    explicit LastResults(ResultTable table) : table_(std::move(table)) {}

    template <class Result>
    void add(const Place& place, const Result& result) {
        table_.append(result);
        places_.push_back(place);
    }

    const ResultTable& table() const { return table_; }
    const std::vector<Place>& places() const { return places_; }

    /// None again; memory is kept.
    void clear() {
        table_.clear();
        places_.clear();
    }

private:
    ResultTable table_;
    std::vector<Place> places_;
};

} // namespace qorvel_engine

#endif
