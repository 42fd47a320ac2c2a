#ifndef QORVEL_TOOLS_OUTPUT_GEOJSONFORMAT_H
#define QORVEL_TOOLS_OUTPUT_GEOJSONFORMAT_H

#include "tools/output/TextFormat.h"
#include "tools/output/jsonText.h"

namespace host {

/// A feature collection by RFC 7946, a feature a line.
class GeoJsonFormat : public TextFormat {
public:
    explicit GeoJsonFormat(const ResultSchema& schema)
        : schema_(schema), properties_(schema.columns) {}

    std::string head() const override;
    std::string_view end() const override { return "\n]}\n"; }
    std::string_view separator() const override { return ","; }
    void append(std::string& out, const ResultTable& table, std::size_t row) const override;

private:
    const ResultSchema& schema_;
    JsonObject properties_;
};

} // namespace host

#endif
