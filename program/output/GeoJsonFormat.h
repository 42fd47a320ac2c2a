#ifndef QORVEL_PROGRAM_OUTPUT_GEOJSONFORMAT_H
#define QORVEL_PROGRAM_OUTPUT_GEOJSONFORMAT_H

#include "program/output/TextFormat.h"
#include "program/output/jsonText.h"

namespace program {

/// A feature collection by RFC 7946, a feature a line.
class GeoJsonFormat : public TextFormat {
public:
    /// @param zone  of times; none: UTC
    GeoJsonFormat(const ResultSchema& schema, const std::optional<TimeZone>& zone)
        : schema_(schema), properties_(schema.columns, zone) {}

    std::string head() const override;
    std::string_view end() const override { return "\n]}\n"; }
    std::string_view separator() const override { return ","; }
    void append(std::string& out, const ResultTable& table, std::size_t row) const override;

private:
    const ResultSchema& schema_;
    JsonObject properties_;
};

} // namespace program

#endif
