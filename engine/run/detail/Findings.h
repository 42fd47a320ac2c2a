#ifndef QORVEL_ENGINE_RUN_DETAIL_FINDINGS_H
#define QORVEL_ENGINE_RUN_DETAIL_FINDINGS_H

#include "engine/run/detail/ResultMaker.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// What one shard found in a batch, and for which of its entries or collections. Results of entries
/// that become texts do so at once, in the shard's thread.
class Findings final : public Found {
public:
    explicit Findings(const ResultMaker& maker)
        : maker_(&maker), results_(maker.makeBatch()), collected_(maker.makeTable()) {}

    ResultTable& results() override { return results_.table; }
    void add(const SeenFix& fix) override { fixes_.emplace_back(entry_, fix); }

    /// What is found from now on belongs to this entry; they come in ascending order.
    void beginEntry(std::size_t entry) { entry_ = entry; }
    /// Nothing more belongs to it.
    void endEntry();

    /// What was found in a table belongs to no entry: no other shard has rows of the batch.
    void endTable() { endEntry(); }

    /// Results of a collection are added to these; collections come in order, each of them.
    LastResults& collected() { return collected_; }
    void endCollection() { collectionEnds_.push_back(collected_.places().size()); }

    bool isEmpty() const { return results_.size == 0 && collected_.places().empty(); }
    bool hasCollected() const { return !collected_.places().empty(); }

    /// All of the entries.
    ResultBatch takeAll();

    /// Appends those of an entry; they are asked for in ascending order.
    void appendTo(ResultBatch& results, std::size_t entry);

    /// Which of the collected ones are of that collection: from the first to before the second.
    std::pair<std::size_t, std::size_t> ofCollection(std::size_t number) const {
        return {number == 0 ? 0 : collectionEnds_[number - 1], collectionEnds_[number]};
    }
    const LastResults& collected() const { return collected_; }

    bool hasFixes() const { return !fixes_.empty(); }

    /// Hands the fixes of an entry to the analysis; they are asked for in ascending order.
    void show(Analysis& analysis, std::size_t entry);

    /// For another batch; memory is kept.
    void clear();

private:
    /// Where an entry's results end.
    struct End {
        std::size_t entry;
        std::size_t text;
        std::uint64_t size;
    };

    const ResultMaker* maker_;
    std::size_t entry_ = 0;
    ResultBatch results_;   ///< as texts too, where they become such
    std::vector<End> ends_; ///< of the entries that have results
    std::size_t nextEnd_ = 0;
    LastResults collected_;
    std::vector<std::size_t> collectionEnds_;
    std::vector<std::pair<std::size_t, SeenFix>> fixes_; ///< by entry
    std::size_t nextFix_ = 0;
};

} // namespace qorvel_engine::detail

#endif
