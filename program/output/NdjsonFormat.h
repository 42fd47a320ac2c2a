#ifndef QORVEL_PROGRAM_OUTPUT_NDJSONFORMAT_H
#define QORVEL_PROGRAM_OUTPUT_NDJSONFORMAT_H

#include "program/output/TextFormat.h"
#include "program/output/jsonText.h"

namespace program {

/// A JSON object a line. Cells are not drawn.
class NdjsonFormat : public TextFormat {
public:
    /// @param zone  of times; none: UTC
    NdjsonFormat(const ResultSchema& schema, const std::optional<TimeZone>& zone)
        : object_(schema.columns, zone) {}

    void append(std::string& out, const ResultTable& table, std::size_t row) const override {
        object_.append(out, table, row);
        out += '\n';
    }

private:
    JsonObject object_;
};

} // namespace program

#endif
