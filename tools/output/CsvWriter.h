#ifndef QORVEL_TOOLS_OUTPUT_CSVWRITER_H
#define QORVEL_TOOLS_OUTPUT_CSVWRITER_H

#include "tools/output/TextWriter.h"

namespace host {

/// Comma-separated values under a row of column names. Cells are not drawn.
class CsvWriter : public TextWriter {
public:
    CsvWriter(const std::string& file, const std::string& extension, const Schema& schema);
    void append(std::string& text, const ResultRow& row) const override;

private:
    const Schema& schema_;
};

} // namespace host

#endif
