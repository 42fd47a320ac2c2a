#ifndef QORVEL_TOOLS_OUTPUT_TEXTWRITER_H
#define QORVEL_TOOLS_OUTPUT_TEXTWRITER_H

#include "tools/output/ResultWriter.h"
#include "tools/output/TextFile.h"

#include <string>
#include <string_view>

namespace host {

/// What the text formats have in common: a head, rows, an end.
class TextWriter : public ResultWriter {
public:
    bool isText() const final { return true; }
    void writeText(std::string_view rows) override { file_.write(rows); }
    void writeRow(const ResultRow& row) final;
    void flush() final { file_.flush(); }
    void finish() final;
    std::string abandon() noexcept final { return file_.abandon(end_); }

protected:
    /// `end` must outlive the writer.
    TextWriter(const std::string& file, const std::string& extension, std::string_view head,
               std::string_view end);

private:
    TextFile file_;
    std::string_view end_;
};

} // namespace host

#endif
