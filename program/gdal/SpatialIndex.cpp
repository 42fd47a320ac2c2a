#include "program/gdal/SpatialIndex.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

namespace program {

namespace {

constexpr std::int64_t kRoot = 1;
constexpr std::size_t kHeadSize = 4;   ///< depth, of the root alone, and number of entries
constexpr std::size_t kEntrySize = 24; ///< an id and four floats

/// As SQLite does it, a whole unit in the last place or more.
float roundedDown(double value) {
    constexpr double kStep = 1.0 / 8388608.0;
    const auto rounded = static_cast<float>(value);
    return static_cast<double>(rounded) > value
               ? static_cast<float>(value * (value < 0 ? 1.0 + kStep : 1.0 - kStep))
               : rounded;
}

float roundedUp(double value) {
    return -roundedDown(-value);
}

/// In the order of the values.
std::uint32_t rankOf(float value) {
    constexpr std::uint32_t kSign = std::uint32_t{1} << 31;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

/// The highest byte first.
template <typename Unsigned>
char* put(char* to, Unsigned value) {
    for (std::size_t shift = sizeof value * 8; shift > 0; shift -= 8) {
        *to++ = static_cast<char>(value >> (shift - 8));
    }
    return to;
}

std::size_t dividedUp(std::size_t count, std::size_t by) {
    return (count + by - 1) / by;
}

} // namespace

SpatialIndex::SpatialIndex(const SqliteDatabase& database, const std::string& table,
                           std::size_t mostEntries)
    : node_(database, "REPLACE INTO " + sqlName(table + "_node") + " (nodeno, data) VALUES (?, ?)"),
      rows_(database, table + "_rowid", {"rowid", "nodeno"}),
      parents_(database, table + "_parent", {"nodeno", "parentnode"}),
      nodeSize_(static_cast<std::size_t>(
          SqliteStatement(database, "SELECT length(data) FROM " + sqlName(table + "_node"))
              .number())),
      nodeCapacity_((std::max(nodeSize_, kHeadSize) - kHeadSize) / kEntrySize),
      mostEntries_(mostEntries), levels_(1) {
    if (nodeCapacity_ < 2) {
        throw SqliteError("its R-tree has no root");
    }
}

void SpatialIndex::add(std::int64_t id, const CellBounds& bounds) {
    add(0, {id, roundedDown(bounds.west), roundedUp(bounds.east), roundedDown(bounds.south),
            roundedUp(bounds.north)});
}

void SpatialIndex::finish() {
    for (std::size_t level = 0; level < levels_.size(); ++level) {
        const bool isTop = level + 1 == levels_.size();
        if (!isTop || levels_[level].size() > nodeCapacity_) {
            pack(level);
            continue;
        }
        const Entries& entries = levels_[level];
        beginNode(level, entries.size());
        for (std::size_t i = 0; i < entries.size(); ++i) {
            putEntry(i, entries[i]);
            tellPlace(level, entries[i], kRoot);
        }
        writeNode(kRoot);
    }
    rows_.flush();
    parents_.flush();
}

void SpatialIndex::add(std::size_t level, const Entry& entry) {
    if (level == levels_.size()) {
        levels_.emplace_back();
    }
    if (levels_[level].size() == mostEntries_) {
        pack(level);
    }
    levels_[level].push_back(entry);
}

/// Where entries are is told in the order of their ids, not of the nodes: that table is sorted so.
void SpatialIndex::pack(std::size_t level) {
    const Entries parents = packTiles(levels_[level]);
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        tellPlace(level, levels_[level][i], nodes_[i]);
    }
    levels_[level].clear();
    for (const Entry& parent : parents) {
        add(level + 1, parent);
    }
}

/// Strips from west to east, each cut into tiles from south to north. Returns the tiles' nodes.
SpatialIndex::Entries SpatialIndex::packTiles(const Entries& entries) {
    const std::size_t count = entries.size();
    const std::size_t tiles = dividedUp(count, nodeCapacity_);
    const auto strips = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(tiles))));
    order_.resize(count);
    std::iota(order_.begin(), order_.end(), 0);
    nodes_.resize(count);
    sortPart(entries, 0, count, &Entry::minX, &Entry::maxX);
    Entries parents;
    for (std::size_t strip = 0; strip < strips; ++strip) {
        const std::size_t begin = count * strip / strips;
        const std::size_t size = count * (strip + 1) / strips - begin;
        const std::size_t parts = dividedUp(size, nodeCapacity_);
        sortPart(entries, begin, begin + size, &Entry::minY, &Entry::maxY);
        for (std::size_t part = 0; part < parts; ++part) {
            parents.push_back(
                packNode(entries, begin + size * part / parts, begin + size * (part + 1) / parts));
        }
    }
    return parents;
}

/// By the middles of their bounds; what is equal, by the entries' numbers.
void SpatialIndex::sortPart(const Entries& entries, std::size_t begin, std::size_t end,
                            float Entry::*low, float Entry::*high) {
    const auto from = order_.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto to = order_.begin() + static_cast<std::ptrdiff_t>(end);
    std::for_each(from, to, [&](std::uint64_t& place) {
        const Entry& entry = entries[place & UINT32_MAX];
        place = std::uint64_t{rankOf(entry.*low + entry.*high)} << 32 | (place & UINT32_MAX);
    });
    std::sort(from, to);
}

/// Returns the node as an entry of the level above.
SpatialIndex::Entry SpatialIndex::packNode(const Entries& entries, std::size_t begin,
                                           std::size_t end) {
    constexpr float kMost = std::numeric_limits<float>::infinity();
    Entry node{++lastNode_, kMost, -kMost, kMost, -kMost};
    beginNode(0, end - begin);
    for (std::size_t i = begin; i < end; ++i) {
        const std::size_t which = order_[i] & UINT32_MAX;
        const Entry& entry = entries[which];
        nodes_[which] = node.id;
        putEntry(i - begin, entry);
        node.minX = std::min(node.minX, entry.minX);
        node.maxX = std::max(node.maxX, entry.maxX);
        node.minY = std::min(node.minY, entry.minY);
        node.maxY = std::max(node.maxY, entry.maxY);
    }
    writeNode(node.id);
    return node;
}

void SpatialIndex::tellPlace(std::size_t level, const Entry& entry, std::int64_t node) {
    SqliteInsertion& to = level == 0 ? rows_ : parents_;
    to.put(entry.id);
    to.put(node);
    to.endRow();
}

/// The depth is that of the whole tree, and stands in its root alone.
void SpatialIndex::beginNode(std::size_t depth, std::size_t count) {
    bytes_.assign(nodeSize_, '\0');
    char* const to = put(bytes_.data(), static_cast<std::uint16_t>(depth));
    put(to, static_cast<std::uint16_t>(count));
}

void SpatialIndex::putEntry(std::size_t place, const Entry& entry) {
    char* to = bytes_.data() + kHeadSize + place * kEntrySize;
    to = put(to, static_cast<std::uint64_t>(entry.id));
    for (const float bound : {entry.minX, entry.maxX, entry.minY, entry.maxY}) {
        to = put(to, std::bit_cast<std::uint32_t>(bound));
    }
}

void SpatialIndex::writeNode(std::int64_t node) {
    node_.bind(1, node);
    node_.bindBlob(2, bytes_);
    node_.run();
}

} // namespace program
