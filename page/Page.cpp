#include "page/Page.h"

#include "page/ByteWriter.h"
#include "page/base64.h"
#include "page/packColumns.h"
#include "page/parts.h"

#include <algorithm>

namespace qorvel_page {

using qorvel_engine::ResultKind;
using qorvel_engine::ResultTable;

namespace {

void addValue(PageColumn& to, const ResultTable& table, std::size_t row, std::size_t column) {
    switch (to.about().kind) {
    case ResultKind::entity:
        if (table.names().kind() == qorvel_engine::EntityKind::text) {
            return to.addText(table.names().text(table.entity(row, column)));
        } else {
            std::string name;
            table.names().append(table.entity(row, column), name);
            return to.addText(name);
        }
    case ResultKind::text:
        return to.addText(table.text(row, column));
    case ResultKind::degrees:
    case ResultKind::metres:
    case ResultKind::hours:
        return to.addReal(table.real(row, column));
    case ResultKind::whole:
    case ResultKind::time:
    case ResultKind::boxEnd:
        return to.addWhole(table.whole(row, column));
    }
}

/// The scheme and the host of an address, which is what a policy names.
std::string_view originOf(std::string_view address) {
    return address.substr(0, address.find('/', address.find("//") + 2));
}

} // namespace

Page::Page(const qorvel_engine::ResultSchema& schema)
    : name_(schema.name), description_(schema.description) {
    for (const qorvel_engine::ResultColumn& column : schema.columns) {
        columns_.emplace_back(column);
    }
}

void Page::add(const ResultTable& table) {
    for (std::size_t column = 0; column < columns_.size(); ++column) {
        for (std::size_t row = 0; row < table.size(); ++row) {
            if (table.isNull(row, column)) {
                columns_[column].addMissing();
            } else {
                addValue(columns_[column], table, row, column);
            }
        }
    }
}

std::string Page::text(const Compress& compress, const std::string& tiles) const {
    ByteWriter data;
    data.text(name_);
    data.text(description_);
    data.text(tiles);
    data.unsignedNumber(size());
    data.unsignedNumber(columns_.size());
    packColumns(columns_, data);

    const std::string_view frame = pageFrame();
    constexpr std::string_view kTiles = "@TILES@";
    constexpr std::string_view kData = "@DATA@";
    const std::size_t tilesAt = frame.find(kTiles);
    const std::size_t dataAt = frame.find(kData);
    const std::string packed = base64(compress(data.bytes()));
    std::string page;
    page.reserve(frame.size() + packed.size() + tiles.size());
    page += frame.substr(0, tilesAt);
    page += tiles.empty() ? "" : originOf(tiles);
    page += frame.substr(tilesAt + kTiles.size(), dataAt - tilesAt - kTiles.size());
    page += packed;
    page += frame.substr(dataAt + kData.size());
    return page;
}

bool isTileAddress(std::string_view address) {
    const bool isWeb = address.starts_with("https://") || address.starts_with("http://");
    const auto has = [address](std::string_view part) {
        return address.find(part) != std::string_view::npos;
    };
    const auto isPlain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("-._~:/?=&%+{}").find(c) != std::string_view::npos;
    };
    const std::string_view host = isWeb ? originOf(address).substr(address.find("//") + 2) : "";
    return isWeb && !host.empty() && host.find_first_of("?=&%+{}/") == std::string_view::npos &&
           has("{z}") && has("{x}") && has("{y}") &&
           std::all_of(address.begin(), address.end(), isPlain);
}

} // namespace qorvel_page
