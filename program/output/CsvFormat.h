#ifndef QORVEL_PROGRAM_OUTPUT_CSVFORMAT_H
#define QORVEL_PROGRAM_OUTPUT_CSVFORMAT_H

#include "program/output/TextFormat.h"

namespace program {

/// Comma-separated values under a row of column names; nothing stands for a value that is missing.
/// Cells are not drawn.
class CsvFormat : public TextFormat {
public:
    /// @param isSafe  texts by csv::appendSafeField
    CsvFormat(const ResultSchema& schema, bool isSafe) : schema_(schema), isSafe_(isSafe) {}

    std::string head() const override;
    void append(std::string& out, const ResultTable& table, std::size_t row) const override;

private:
    const ResultSchema& schema_;
    bool isSafe_;
};

} // namespace program

#endif
