#ifndef QORVEL_TOOLS_OUTPUT_NDJSONFORMAT_H
#define QORVEL_TOOLS_OUTPUT_NDJSONFORMAT_H

#include "tools/output/TextFormat.h"
#include "tools/output/jsonText.h"

namespace host {

/// A JSON object a line. Cells are not drawn.
class NdjsonFormat : public TextFormat {
public:
    explicit NdjsonFormat(const ResultSchema& schema) : object_(schema.columns) {}

    void append(std::string& out, const ResultTable& table, std::size_t row) const override {
        object_.append(out, table, row);
        out += '\n';
    }

private:
    JsonObject object_;
};

} // namespace host

#endif
