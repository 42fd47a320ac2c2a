#ifndef QORVEL_TOOLS_RUN_FINDINGS_H
#define QORVEL_TOOLS_RUN_FINDINGS_H

#include "tools/output/ResultWriter.h"
#include "tools/run/Analysis.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// What one shard found in a batch, and for which of its entries. Results of a text format become
/// text at once, in the shard's thread.
class Findings : public Found {
public:
    /// The writer only lends its format.
    explicit Findings(const ResultWriter& writer) : writer_(&writer) {}

    /// What is added from now on belongs to this entry; they come in ascending order.
    void beginEntry(std::size_t entry) { entry_ = entry; }

    void add(const ResultRow& row) override;
    void add(const SeenBox& box) override;

    /// Hands over what belongs to an entry; they are asked for in ascending order. Returns the
    /// number of results.
    std::uint64_t handOver(std::size_t entry, ResultWriter& writer, Analysis& analysis);

    void clear();

private:
    /// Values by entry, in ascending order, to be taken in that order.
    template <typename T>
    struct ByEntry {
        std::vector<std::pair<std::size_t, T>> items;
        std::size_t next = 0;

        bool has(std::size_t entry) const {
            return next < items.size() && items[next].first == entry;
        }
        const T& take() { return items[next++].second; }
        void clear() {
            items.clear();
            next = 0;
        }
    };

    const ResultWriter* writer_;
    std::size_t entry_ = 0;
    std::string text_;
    std::size_t textBegin_ = 0;
    ByEntry<std::size_t> textEnds_; ///< of results in text_
    ByEntry<ResultRow> rows_;
    ByEntry<SeenBox> boxes_;
};

} // namespace host

#endif
