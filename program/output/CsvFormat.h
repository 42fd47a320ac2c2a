#ifndef QORVEL_PROGRAM_OUTPUT_CSVFORMAT_H
#define QORVEL_PROGRAM_OUTPUT_CSVFORMAT_H

#include "engine/setup/TimeZone.h"
#include "program/output/TextFormat.h"

#include <optional>
#include <utility>

namespace program {

/// Comma-separated values under a row of column names; nothing stands for a value that is missing.
/// Cells are not drawn.
class CsvFormat : public TextFormat {
public:
    /// @param isSafe  texts by csv::appendSafeField
    /// @param zone    of times; none: UTC
    CsvFormat(const ResultSchema& schema, bool isSafe, std::optional<TimeZone> zone)
        : schema_(schema), isSafe_(isSafe), zone_(std::move(zone)) {}

    std::string head() const override;
    void append(std::string& out, const ResultTable& table, std::size_t row) const override;

private:
    const ResultSchema& schema_;
    bool isSafe_;
    std::optional<TimeZone> zone_;
};

} // namespace program

#endif
