#ifndef QORVEL_ENGINE_RUN_DETAIL_LASTBATCHES_H
#define QORVEL_ENGINE_RUN_DETAIL_LASTBATCHES_H

#include "engine/analysis/LastResults.h"
#include "engine/run/detail/ResultMaker.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace qorvel_engine::detail {

/// The results that are known only at the end, in their order, batch by batch.
class LastBatches {
public:
    explicit LastBatches(LastResults results);

    std::uint64_t size() const { return order_.size(); }

    /// The next, if there are any.
    std::optional<ResultBatch> take(const ResultMaker& maker);

private:
    LastResults results_;
    std::vector<std::size_t> order_;
    std::size_t next_ = 0; ///< in the order
};

} // namespace qorvel_engine::detail

#endif
