#include "engine/run/detail/Findings.h"

#include "engine/run/detail/appendRows.h"

#include <utility>

namespace qorvel_engine::detail {

void Findings::endEntry() {
    const std::uint64_t before = std::exchange(results_.size, results_.table.size());
    if (results_.size == before) {
        return;
    }
    if (maker_->makesTexts()) {
        maker_->render(results_.table, static_cast<std::size_t>(before), results_.text);
    }
    ends_.push_back({entry_, results_.text.size(), results_.size});
}

ResultBatch Findings::takeAll() {
    ResultBatch fresh = maker_->makeBatch();
    if (maker_->makesTexts()) {
        std::swap(fresh.text, results_.text);
        results_.text.reserve(fresh.text.size()); // the next will have about as much
        std::swap(fresh.size, results_.size);
    } else {
        std::swap(fresh, results_);
    }
    ends_.clear();
    return fresh;
}

void Findings::appendTo(ResultBatch& results, std::size_t entry) {
    if (nextEnd_ == ends_.size() || ends_[nextEnd_].entry != entry) {
        return;
    }
    const End begin = nextEnd_ == 0 ? End{} : ends_[nextEnd_ - 1];
    const End& end = ends_[nextEnd_++];
    if (maker_->makesTexts()) {
        results.text.append(results_.text, begin.text, end.text - begin.text);
    } else {
        appendRows(results_.table, begin.size, end.size, results.table);
    }
    results.size += end.size - begin.size;
}

void Findings::show(Analysis& analysis, std::size_t entry) {
    for (; nextFix_ < fixes_.size() && fixes_[nextFix_].first == entry; ++nextFix_) {
        analysis.see(fixes_[nextFix_].second);
    }
}

void Findings::clear() {
    results_.table.clear();
    results_.text.clear();
    results_.size = 0;
    ends_.clear();
    nextEnd_ = 0;
    collected_.clear();
    collectionEnds_.clear();
    fixes_.clear();
    nextFix_ = 0;
}

} // namespace qorvel_engine::detail
