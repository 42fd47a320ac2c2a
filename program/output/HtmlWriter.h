#ifndef QORVEL_PROGRAM_OUTPUT_HTMLWRITER_H
#define QORVEL_PROGRAM_OUTPUT_HTMLWRITER_H

#include "page/Page.h"
#include "program/output/ResultWriter.h"
#include "program/output/TextFile.h"

#include <cstddef>
#include <memory>
#include <string>

namespace program {

/// Writes a page with a map, at the end: until then results are kept in memory. More of them than
/// browsers take end the run, see qorvel_page::kMostRows.
class HtmlWriter : public ResultWriter {
public:
    /// @param tiles  as qorvel_page::Page::text has it
    HtmlWriter(const std::string& file, const std::string& extension, const ResultSchema& schema,
               std::string tiles);

    std::shared_ptr<const Renderer> renderer() const override { return nullptr; }
    void write(const ResultBatch& results) override;
    void flush() override {}
    void finish() override;
    std::string abandon() noexcept override;

private:
    void writePage();

    TextFile file_;
    qorvel_page::Page page_;
    std::string tiles_;
    std::size_t size_ = 0; ///< of the page, once it was to be written
};

} // namespace program

#endif
