#ifndef QORVEL_ENGINE_RUN_DETAIL_RESULTMAKER_H
#define QORVEL_ENGINE_RUN_DETAIL_RESULTMAKER_H

#include "engine/analysis/Analysis.h"
#include "engine/run/Renderer.h"
#include "engine/run/ResultBatch.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace qorvel_engine::detail {

/// In which form a session hands on its results.
class ResultMaker {
public:
    /// The renderer may be null; neither must go before this.
    ResultMaker(const Analysis& analysis, const Renderer* renderer)
        : analysis_(analysis), renderer_(renderer) {}

    /// What entities are called. Before all else.
    void setNames(std::shared_ptr<const EntityNames> names) { names_ = std::move(names); }
    const std::shared_ptr<const EntityNames>& names() const { return names_; }

    /// An empty table, and a batch with one.
    ResultTable makeTable() const { return analysis_.makeTable(names_); }
    ResultBatch makeBatch() const { return {makeTable(), {}, 0}; }

    bool makesTexts() const { return renderer_ != nullptr; }

    /// Appends the texts of the rows from one on. Where texts are made.
    void render(const ResultTable& table, std::size_t from, std::string& out) const;

    /// Appends a row of a table as what the session hands on.
    void append(const ResultTable& table, std::size_t row, ResultBatch& to) const;

private:
    const Analysis& analysis_;
    const Renderer* renderer_;
    std::shared_ptr<const EntityNames> names_;
};

} // namespace qorvel_engine::detail

#endif
