#include "tools/output/TextWriter.h"

namespace host {

TextWriter::TextWriter(const std::string& file, const std::string& extension, std::string_view head,
                       std::string_view end)
    : file_(file, extension), end_(end) {
    file_.write(head);
}

void TextWriter::writeRow(const ResultRow& row) {
    std::string text;
    append(text, row);
    writeText(text);
}

void TextWriter::finish() {
    file_.write(end_);
    file_.finish();
}

} // namespace host
