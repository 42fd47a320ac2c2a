#ifndef QORVEL_ENGINE_COLUMNS_OBSERVATIONS_H
#define QORVEL_ENGINE_COLUMNS_OBSERVATIONS_H

#include "engine/columns/EntityNames.h"
#include "engine/columns/RealValues.h"
#include "engine/columns/RowReason.h"
#include "engine/columns/TextColumn.h"
#include "engine/columns/TimeValues.h"
#include "engine/columns/WholeValues.h"
#include "engine/export.h"

#include <cassert>
#include <optional>

namespace qorvel_engine {

/// The columns of a batch, where they stand in memory. What is not set is null in every row.
struct ObservationColumns {
    std::int64_t size = 0;                    ///< rows
    EntityKind entityKind = EntityKind::text; ///< which of the next two holds the entities
    TextColumn entityText{};                  ///< who
    WholeValues entityNumber{};               ///< who, where entities are integers
    RealValues latitude{};                    ///< degrees
    RealValues longitude{};                   ///< degrees
    TimeValues time{};                        ///< when
    RealValues accuracy{};                    ///< how far off it may be, metres; may be null
    TextColumn primaryKey{};                  ///< may be null
    TextColumn secondaryKey{};                ///< may be null
    Validity rows{};                          ///< which rows are there at all
};

/// A batch of observations, read in place: what the columns point at must stay as long as the batch
/// is looked at.
///
/// Every row that is asked for must be one of the batch's, and but for check() one that can be
/// used. Nothing allocates, throws or locks.
class QORVEL_ENGINE_EXPORT Observations {
public:
    /// Takes the columns as they are: rows are checked by check(), memory is not. Columns of
    /// another origin than the host's own are read by an ObservationSchema.
    explicit Observations(const ObservationColumns& columns) noexcept : columns_(columns) {}

    /// How many rows there are.
    std::int64_t size() const noexcept { return columns_.size; }

    /// Can the row be used? If not, the first reason why, in the order of the accessors below.
    RowReason check(std::int64_t row) const noexcept;

    /// The same of the rows from one to before another, each into its place in `reasons`; true if
    /// all can be used. Faster than one by one.
    bool check(std::int64_t from, std::int64_t to, RowReason* reasons) const noexcept;

    /// The least time of all rows that have one, good or bad, ms since 1970 UTC; the largest number
    /// where none has. Faster than to check each row.
    std::int64_t oldestTime() const noexcept;

    /// Are entities texts or integers?
    EntityKind entityKind() const noexcept { return columns_.entityKind; }

    /// The name of the entity: UTF-8, never empty. Where entities are texts.
    std::string_view entityText(std::int64_t row) const noexcept {
        return columns_.entityText.text(known(row));
    }
    /// The integer that the entity is called, a negative one as two's complement. Where they are.
    std::uint64_t entityBits(std::int64_t row) const noexcept {
        return columns_.entityNumber.bits(known(row));
    }
    /// The column of names, for its dictionary.
    const TextColumn& entities() const noexcept { return columns_.entityText; }

    /// Degrees, -90 to 90.
    double latitude(std::int64_t row) const noexcept { return columns_.latitude.value(known(row)); }
    /// Degrees, -180 to 180.
    double longitude(std::int64_t row) const noexcept {
        return columns_.longitude.value(known(row));
    }
    /// Milliseconds since 1970-01-01 00:00 UTC, not negative.
    std::int64_t timeMs(std::int64_t row) const noexcept {
        return columns_.time.milliseconds(known(row));
    }
    /// Metres, not negative and finite; none where the row has none.
    std::optional<double> accuracy(std::int64_t row) const noexcept {
        return columns_.accuracy.isNull(known(row))
                   ? std::nullopt
                   : std::optional<double>(columns_.accuracy.value(row));
    }
    /// UTF-8; empty where the row has none.
    std::string_view primaryKey(std::int64_t row) const noexcept {
        return textOrNone(columns_.primaryKey, known(row));
    }
    /// UTF-8; empty where the row has none.
    std::string_view secondaryKey(std::int64_t row) const noexcept {
        return textOrNone(columns_.secondaryKey, known(row));
    }
    /// The columns of keys, for their dictionaries.
    const TextColumn& primaryKeys() const noexcept { return columns_.primaryKey; }
    const TextColumn& secondaryKeys() const noexcept { return columns_.secondaryKey; }

private:
    std::int64_t known(std::int64_t row) const noexcept {
        assert(0 <= row && row < columns_.size);
        return row;
    }
    static std::string_view textOrNone(const TextColumn& texts, std::int64_t row) noexcept {
        return texts.isNull(row) ? std::string_view() : texts.text(row);
    }

    ObservationColumns columns_;
};

} // namespace qorvel_engine

#endif
