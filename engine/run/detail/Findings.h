#ifndef QORVEL_ENGINE_RUN_DETAIL_FINDINGS_H
#define QORVEL_ENGINE_RUN_DETAIL_FINDINGS_H

#include "engine/run/detail/ResultMaker.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// What one shard found in a batch, and for which of its entries. Results that become texts do so
/// at once, in the shard's thread.
class Findings final : public Found {
public:
    explicit Findings(const ResultMaker& maker) : maker_(&maker), results_(maker.makeBatch()) {}

    ResultTable& results() override { return results_.table; }
    void add(const SeenBox& box) override { boxes_.emplace_back(entry_, box); }

    /// What is found from now on belongs to this entry; they come in ascending order.
    void beginEntry(std::size_t entry) { entry_ = entry; }
    /// Nothing more belongs to it.
    void endEntry();

    /// How many results there are.
    std::uint64_t size() const { return results_.size; }

    /// All of them.
    ResultBatch takeAll();

    /// Appends those of an entry; they are asked for in ascending order.
    void appendTo(ResultBatch& results, std::size_t entry);

    /// Hands the boxes of an entry to the analysis; they are asked for in ascending order.
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
    std::vector<std::pair<std::size_t, SeenBox>> boxes_; ///< by entry
    std::size_t nextBox_ = 0;
};

} // namespace qorvel_engine::detail

#endif
