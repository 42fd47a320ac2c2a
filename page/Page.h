#ifndef QORVEL_PAGE_PAGE_H
#define QORVEL_PAGE_PAGE_H

#include "engine/columns/ResultTable.h"
#include "page/PageColumn.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qorvel_page {

/// More rows than that make a page that browsers take minutes and gigabytes for.
constexpr std::size_t kMostRows = 4'000'000;

/// Compresses bytes by DEFLATE with zlib's header.
using Compress = std::function<std::string(std::string_view bytes)>;

/// A page that shows results on a map, in one text of HTML that needs nothing besides and asks for
/// nothing: its policy forbids every request. What the columns are tells how they are shown, see
/// page/data.js.
class Page {
public:
    explicit Page(const qorvel_engine::ResultSchema& schema);

    /// Rows of the same schema, behind those that are there.
    void add(const qorvel_engine::ResultTable& table);

    /// For rows from elsewhere: each has to get a value in every column.
    PageColumn& column(std::size_t index) { return columns_[index]; }

    /// How many rows there are.
    std::size_t size() const { return columns_.empty() ? 0 : columns_.front().values().size(); }

    /// The page.
    ///
    /// @param tiles  where a street map comes from if the reader asks for one, see isTileAddress;
    ///               empty for none
    std::string text(const Compress& compress, const std::string& tiles = {}) const;

private:
    std::string name_;
    std::string description_;
    std::vector<PageColumn> columns_;
};

/// Is this an address of map tiles that a page may have: http:// or https://, a host, and a path
/// with {z}, {x} and {y}, of characters that mean nothing in HTML and in a policy?
bool isTileAddress(std::string_view address);

} // namespace qorvel_page

#endif
