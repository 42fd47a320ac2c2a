#ifndef QORVEL_PROGRAM_OUTPUT_GROWINGWRITER_H
#define QORVEL_PROGRAM_OUTPUT_GROWINGWRITER_H

#include "program/output/GrowingFile.h"
#include "program/output/ResultWriter.h"
#include "program/output/TextFormat.h"

#include <memory>
#include <string>
#include <utility>

namespace program {

/// Writes results behind those that stand in a file, in a format without an end. After a failure
/// the file stays as it is.
class GrowingWriter : public ResultWriter {
public:
    GrowingWriter(std::shared_ptr<GrowingFile> file, std::shared_ptr<const TextFormat> format)
        : file_(std::move(file)), format_(std::move(format)) {}

    std::shared_ptr<const Renderer> renderer() const override { return format_; }
    void write(const ResultBatch& results) override { file_->write(results.text); }
    void flush() override {}
    void finish() override { file_->finish(); }
    std::string abandon() noexcept override { return {}; }

private:
    std::shared_ptr<GrowingFile> file_;
    std::shared_ptr<const TextFormat> format_;
};

/// CSV or NDJSON. Throws Failure(usage) for a format that has an end, or that cannot grow.
std::shared_ptr<const TextFormat> growingFormat(const OutputOptions& options,
                                                const ResultSchema& schema);

} // namespace program

#endif
