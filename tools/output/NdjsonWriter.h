#ifndef QORVEL_TOOLS_OUTPUT_NDJSONWRITER_H
#define QORVEL_TOOLS_OUTPUT_NDJSONWRITER_H

#include "tools/output/TextWriter.h"
#include "tools/output/jsonText.h"

namespace host {

/// A JSON object a line. Cells are not drawn.
class NdjsonWriter : public TextWriter {
public:
    NdjsonWriter(const std::string& file, const std::string& extension, const Schema& schema);
    void append(std::string& text, const ResultRow& row) const override;

private:
    JsonObject object_;
};

} // namespace host

#endif
