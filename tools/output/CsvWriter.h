#ifndef QORVEL_TOOLS_OUTPUT_CSVWRITER_H
#define QORVEL_TOOLS_OUTPUT_CSVWRITER_H

#include "tools/output/TextWriter.h"

namespace host {

/// Comma-separated values under a row of column names. Cells are not drawn.
class CsvWriter : public TextWriter {
public:
    /// @param isSafe  texts by csv::appendSafeField
    CsvWriter(const std::string& file, const std::string& extension, const Schema& schema,
              bool isSafe);
    void append(std::string& text, const ResultRow& row) const override;

private:
    void appendValue(std::string& text, ColumnKind kind, const Value& value) const;

    const Schema& schema_;
    bool isSafe_;
};

} // namespace host

#endif
