#include "engine/run/detail/ResultMaker.h"

#include "engine/run/detail/appendRows.h"

namespace qorvel_engine::detail {

void ResultMaker::render(const ResultTable& table, std::size_t from, std::string& out) const {
    for (std::size_t row = from; row < table.size(); ++row) {
        renderer_->append(out, table, row);
    }
}

void ResultMaker::append(const ResultTable& table, std::size_t row, ResultBatch& to) const {
    if (makesTexts()) {
        renderer_->append(to.text, table, row);
    } else {
        appendRows(table, row, row + 1, to.table);
    }
    ++to.size;
}

} // namespace qorvel_engine::detail
