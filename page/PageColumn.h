#ifndef QORVEL_PAGE_PAGECOLUMN_H
#define QORVEL_PAGE_PAGECOLUMN_H

#include "engine/columns/ResultSchema.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qorvel_page {

/// A column of a page. Each value is kept as one whole number: a time or an integer as it is,
/// degrees as 1e-7 of them, metres and hours as hundredths, which is what is shown, and a text as
/// its number among the different ones, in the order in which they came.
class PageColumn {
public:
    explicit PageColumn(qorvel_engine::ResultColumn about) : about_(std::move(about)) {}

    /// For columns of entities and texts.
    void addText(std::string_view text);
    /// For integers and times.
    void addWhole(std::int64_t value) { values_.push_back(value); }
    /// For degrees, metres and hours. What is not finite is missing.
    void addReal(double value);
    /// The value is missing.
    void addMissing();

    const qorvel_engine::ResultColumn& about() const { return about_; }
    bool hasTexts() const;
    const std::vector<std::int64_t>& values() const { return values_; }
    /// The different texts.
    const std::vector<std::string_view>& texts() const { return texts_; }
    /// The rows that have no value; 0 stands for it.
    const std::vector<std::size_t>& missing() const { return missing_; }

private:
    qorvel_engine::ResultColumn about_;
    std::vector<std::int64_t> values_;
    std::unordered_map<std::string, std::int64_t> codes_;
    std::vector<std::string_view> texts_; ///< into the keys of codes_, which stay where they are
    std::vector<std::size_t> missing_;
};

} // namespace qorvel_page

#endif
