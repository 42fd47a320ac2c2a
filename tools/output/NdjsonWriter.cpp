#include "tools/output/NdjsonWriter.h"

namespace host {

NdjsonWriter::NdjsonWriter(const std::string& file, const std::string& extension,
                           const Schema& schema)
    : TextWriter(file, extension, {}, {}), object_(schema.columns) {}

void NdjsonWriter::append(std::string& text, const ResultRow& row) const {
    object_.append(text, row);
    text += '\n';
}

} // namespace host
