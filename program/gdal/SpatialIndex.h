#ifndef QORVEL_PROGRAM_GDAL_SPATIALINDEX_H
#define QORVEL_PROGRAM_GDAL_SPATIALINDEX_H

#include "program/gdal/SqliteDatabase.h"
#include "program/gdal/SqliteInsertion.h"
#include "program/output/CellBounds.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace program {

/// Fills an R-tree of SQLite's that was made empty, of two dimensions, by writing the tables in
/// which SQLite keeps it: one entry after the other is an eighth as fast, and packs worse.
///
/// Entries are gathered until there are half a million, then sorted into tiles, and each tile is
/// one full node; the nodes are the entries of the level above. So it takes up some 20 MiB, and 12
/// more from 26 million entries on, and again from a thousand million.
class SpatialIndex {
public:
    /// The database must outlive it. Throws SqliteError, as all of it does.
    /// @param table        the virtual one
    /// @param mostEntries  that are gathered
    SpatialIndex(const SqliteDatabase& database, const std::string& table,
                 std::size_t mostEntries = std::size_t{1} << 19);

    /// Entries may come in any order, but are read soonest when their ids rise.
    void add(std::int64_t id, const CellBounds& bounds);

    /// Writes what is left, and the root. Only then is it an R-tree.
    void finish();

private:
    /// What SQLite keeps: bounds rounded outwards.
    struct Entry {
        std::int64_t id; ///< of a row, or the number of a node below
        float minX;
        float maxX;
        float minY;
        float maxY;
    };
    using Entries = std::vector<Entry>;

    void add(std::size_t level, const Entry& entry);
    void pack(std::size_t level);
    Entries packTiles(const Entries& entries);
    void sortPart(const Entries& entries, std::size_t begin, std::size_t end, float Entry::*low,
                  float Entry::*high);
    Entry packNode(const Entries& entries, std::size_t begin, std::size_t end);
    void tellPlace(std::size_t level, const Entry& entry, std::int64_t node);
    void beginNode(std::size_t depth, std::size_t count);
    void putEntry(std::size_t place, const Entry& entry);
    void writeNode(std::int64_t node);

    SqliteStatement node_;
    SqliteInsertion rows_;
    SqliteInsertion parents_;
    std::size_t nodeSize_;     ///< bytes, as SQLite has chosen
    std::size_t nodeCapacity_; ///< entries
    std::size_t mostEntries_;
    std::int64_t lastNode_ = 1;
    std::vector<Entries> levels_;      ///< not yet packed; leaves first
    std::vector<std::uint64_t> order_; ///< of what is packed: a rank, and below it which entry
    std::vector<std::int64_t> nodes_;  ///< into which it goes
    std::string bytes_;                ///< of a node
};

} // namespace program

#endif
