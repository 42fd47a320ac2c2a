#ifndef QORVEL_PROGRAM_OUTPUT_TEXTWRITER_H
#define QORVEL_PROGRAM_OUTPUT_TEXTWRITER_H

#include "program/output/ResultWriter.h"
#include "program/output/TextFile.h"
#include "program/output/TextFormat.h"

#include <memory>
#include <string>

namespace program {

/// Writes a text format. Also an abandoned file has its end.
class TextWriter : public ResultWriter {
public:
    TextWriter(const std::string& file, const std::string& extension,
               std::shared_ptr<const TextFormat> format);

    std::shared_ptr<const Renderer> renderer() const override { return format_; }
    void write(const ResultBatch& results) override;
    void flush() override { file_.flush(); }
    void finish() override;
    std::string abandon() noexcept override { return file_.abandon(format_->end()); }

private:
    std::shared_ptr<const TextFormat> format_;
    TextFile file_;
    bool isEmpty_ = true;
};

} // namespace program

#endif
