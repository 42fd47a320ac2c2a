#include "program/output/TextWriter.h"

#include <string_view>
#include <utility>

namespace program {

TextWriter::TextWriter(const std::string& file, const std::string& extension,
                       std::shared_ptr<const TextFormat> format)
    : format_(std::move(format)), file_(file, extension) {
    file_.write(format_->head());
}

void TextWriter::write(const ResultBatch& results) {
    std::string_view rows = results.text;
    if (isEmpty_ && !rows.empty()) {
        rows.remove_prefix(format_->separator().size());
        isEmpty_ = false;
    }
    file_.write(rows);
}

void TextWriter::finish() {
    file_.write(format_->end());
    file_.finish();
}

} // namespace program
