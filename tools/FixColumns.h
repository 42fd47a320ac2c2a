#ifndef QORVEL_TOOLS_FIXCOLUMNS_H
#define QORVEL_TOOLS_FIXCOLUMNS_H

#include "tools/CsvReader.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// One row of movement data that has passed every check.
struct Fix {
    std::string entity;              ///< never empty
    double latitude = 0.0;           ///< degrees, -90 to 90
    double longitude = 0.0;          ///< degrees, -180 to 180
    std::int64_t time = 0;           ///< ms since 1970 UTC, not negative
    std::optional<double> accuracyM; ///< metres, not negative; none where the row has none
};

/// Finds the columns entity, lat, lon, time_ms and accuracy_m by their names in the header, in any
/// order and among others, and reads rows by them.
class FixColumns {
public:
    /// `header` stands on the header row. Throws Failure(broken) when a column other than
    /// accuracy_m is missing, or one stands there twice.
    explicit FixColumns(const CsvReader& header);

    /// Reads the row on which `row` stands. Returns what is wrong with it, or an empty text: only
    /// then `fix` is wholly set.
    std::string read(const CsvReader& row, Fix& fix) const;

    /// The time of a row of which nothing else need be right; none if it has no valid one.
    std::optional<std::int64_t> readTime(const CsvReader& row) const;

private:
    enum Column : std::size_t { kEntity, kLat, kLon, kTime, kAccuracy, kColumns };
    static const std::array<std::string_view, kColumns> kNames;

    std::string_view text(const CsvReader& row, Column column) const;
    std::string readTimeField(const CsvReader& row, std::int64_t& time) const;
    std::string readReal(const CsvReader& row, Column column, double low, double high,
                         double& value) const;

    std::size_t fieldCount_;
    std::array<std::size_t, kColumns> at_{}; ///< field of each column; kAbsent for none
};

} // namespace host

#endif
