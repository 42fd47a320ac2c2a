#include "page/PageColumn.h"

#include <cmath>

namespace qorvel_page {

using qorvel_engine::ResultKind;

void PageColumn::addText(std::string_view text) {
    const auto next = static_cast<std::int64_t>(texts_.size());
    const auto [place, isNew] = codes_.try_emplace(std::string(text), next);
    if (isNew) {
        texts_.push_back(place->first);
    }
    values_.push_back(place->second);
}

void PageColumn::addReal(double value) {
    constexpr double kMost = 1e11; // far beyond any on earth, and a whole number of units after it
    if (!(std::fabs(value) <= kMost)) {
        return addMissing();
    }
    values_.push_back(std::llround(value * (about_.kind == ResultKind::degrees ? 1e7 : 1e2)));
}

void PageColumn::addMissing() {
    missing_.push_back(values_.size());
    if (hasTexts()) {
        addText({});
    } else {
        values_.push_back(0);
    }
}

bool PageColumn::hasTexts() const {
    return about_.kind == ResultKind::entity || about_.kind == ResultKind::text;
}

} // namespace qorvel_page
