#include "tools/run/Findings.h"

#include <string_view>

namespace host {

void Findings::add(const ResultRow& row) {
    if (writer_->isText()) {
        writer_->append(text_, row);
        textEnds_.items.emplace_back(entry_, text_.size());
    } else {
        rows_.items.emplace_back(entry_, row);
    }
}

void Findings::add(const SeenBox& box) {
    boxes_.items.emplace_back(entry_, box);
}

std::uint64_t Findings::handOver(std::size_t entry, ResultWriter& writer, Analysis& analysis) {
    std::uint64_t results = 0;
    std::size_t textEnd = textBegin_;
    for (; textEnds_.has(entry); ++results) {
        textEnd = textEnds_.take();
    }
    if (textEnd != textBegin_) {
        writer.writeText(std::string_view(text_).substr(textBegin_, textEnd - textBegin_));
        textBegin_ = textEnd;
    }
    for (; rows_.has(entry); ++results) {
        writer.writeRow(rows_.take());
    }
    while (boxes_.has(entry)) {
        analysis.see(boxes_.take());
    }
    return results;
}

void Findings::clear() {
    text_.clear();
    textBegin_ = 0;
    textEnds_.clear();
    rows_.clear();
    boxes_.clear();
}

} // namespace host
