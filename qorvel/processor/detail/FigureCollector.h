#ifndef QORVEL_PROCESSOR_DETAIL_FIGURECOLLECTOR_H
#define QORVEL_PROCESSOR_DETAIL_FIGURECOLLECTOR_H

#include "qorvel/base/hashing.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

namespace qorvel_detail {

/// What BoxCollector is for hosts, at the end of a vector: nothing is allocated for an event that
/// has but few boxes.
class FigureCollector {
public:
    using BoxFigures = qorvel_port::BoxFigures;

    explicit FigureCollector(std::vector<BoxFigures>& out) : out_(out), begin_(out.size()) {}

    void insert(const BoxFigures& box) {
        if (contains(box)) {
            return;
        }
        out_.push_back(box);
        const std::size_t count = out_.size() - begin_;
        if (count == kMany) {
            index_.emplace(2 * kMany, Hash{out_}, Equal{out_});
            for (std::size_t place = begin_; place < out_.size(); ++place) {
                index_->insert(place);
            }
        } else if (count > kMany) {
            index_->insert(out_.size() - 1);
        }
    }

private:
    static constexpr std::size_t kMany = 32;

    static bool isSame(const BoxFigures& a, const BoxFigures& b) {
        return a.start == b.start && a.end == b.end && cellOf(a) == cellOf(b);
    }
    static Cell cellOf(const BoxFigures& box) {
        return significant(box.first, box.second, box.depth);
    }

    struct Hash {
        const std::vector<BoxFigures>& boxes;
        std::size_t operator()(std::size_t place) const {
            const BoxFigures& box = boxes[place];
            const std::uint64_t hash =
                combine(hashOf(cellOf(box)), static_cast<std::uint64_t>(box.start));
            return static_cast<std::size_t>(combine(hash, static_cast<std::uint64_t>(box.end)));
        }
    };
    struct Equal {
        const std::vector<BoxFigures>& boxes;
        bool operator()(std::size_t a, std::size_t b) const { return isSame(boxes[a], boxes[b]); }
    };

    /// The box to look for stands behind the others while that is done.
    bool contains(const BoxFigures& box) {
        if (!index_) {
            return std::any_of(out_.begin() + static_cast<std::ptrdiff_t>(begin_), out_.end(),
                               [&box](const BoxFigures& known) { return isSame(known, box); });
        }
        out_.push_back(box);
        const bool isKnown = index_->count(out_.size() - 1) > 0;
        out_.pop_back();
        return isKnown;
    }

    std::vector<BoxFigures>& out_;
    std::size_t begin_;
    std::optional<std::unordered_set<std::size_t, Hash, Equal>> index_;
};

} // namespace qorvel_detail

#endif
