#ifndef QORVEL_TOOLS_OUTPUT_GEOJSONWRITER_H
#define QORVEL_TOOLS_OUTPUT_GEOJSONWRITER_H

#include "tools/output/TextWriter.h"
#include "tools/output/jsonText.h"

namespace host {

/// A feature collection by RFC 7946, a feature a line. Also an abandoned one is closed.
class GeoJsonWriter : public TextWriter {
public:
    GeoJsonWriter(const std::string& file, const std::string& extension, const Schema& schema);
    void append(std::string& text, const ResultRow& row) const override;
    void writeText(std::string_view rows) override;

private:
    JsonObject properties_;
    bool hasSeveralCells_;
    bool isEmpty_ = true;
};

} // namespace host

#endif
