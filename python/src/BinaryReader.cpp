#include "src/BinaryReader.h"

#include "engine/columns/Values.h"
#include "src/faults.h"

#include <cstddef>
#include <string>

namespace qorvel_python {

namespace {

using qorvel_engine::loadAt;

std::string_view formatOf(const ArrowSchema& schema) {
    return schema.format == nullptr ? "" : schema.format;
}

} // namespace

void expectColumn(bool holds, const ArrowSchema& schema) {
    if (!holds) {
        refuseColumn("The column \"" + std::string(schema.name == nullptr ? "" : schema.name) +
                     "\" contradicts itself, or is of a type that is not read here.");
    }
}

bool BinaryReader::reads(const ArrowSchema& schema) {
    const std::string_view format = formatOf(schema);
    return schema.dictionary == nullptr && (format == "u" || format == "U" || format == "vu" ||
                                            format == "z" || format == "Z" || format == "vz");
}

BinaryReader::BinaryReader(const ArrowSchema& schema, const ArrowArray& array)
    : schema_(schema), array_(array) {
    expectColumn(reads(schema) && array.n_buffers >= 3 && array.buffers != nullptr &&
                     (array.length == 0 || array.buffers[1] != nullptr),
                 schema);
    const std::string_view format = formatOf(schema);
    layout_ = format[0] == 'v'                       ? Layout::views
              : format[0] == 'U' || format[0] == 'Z' ? Layout::offsets64
                                                     : Layout::offsets32;
}

std::string_view BinaryReader::at(std::int64_t place) const {
    switch (layout_) {
    case Layout::offsets32:
        return between<std::int32_t>(place);
    case Layout::offsets64:
        return between<std::int64_t>(place);
    default:
        return viewed(place);
    }
}

template <class Offset>
std::string_view BinaryReader::between(std::int64_t place) const {
    const auto begin = loadAt<Offset>(array_.buffers[1], place);
    const auto end = loadAt<Offset>(array_.buffers[1], place + 1);
    if (begin == end) {
        return {};
    }
    expectColumn(0 <= begin && begin < end && array_.buffers[2] != nullptr, schema_);
    return {static_cast<const char*>(array_.buffers[2]) + begin,
            static_cast<std::size_t>(end - begin)};
}

std::string_view BinaryReader::viewed(std::int64_t place) const {
    struct View {
        std::int32_t length;
        std::int32_t prefix;
        std::int32_t buffer;
        std::int32_t offset;
    };
    constexpr std::int32_t kLongestInView = 12;
    constexpr std::int64_t kBuffersAround = 3; // validity, views, and at the end the sizes
    const auto view = loadAt<View>(array_.buffers[1], place);
    expectColumn(view.length >= 0, schema_);
    const auto size = static_cast<std::size_t>(view.length);
    if (view.length <= kLongestInView) {
        return {static_cast<const char*>(array_.buffers[1]) +
                    static_cast<std::size_t>(place) * sizeof(View) + offsetof(View, prefix),
                size};
    }
    expectColumn(0 <= view.buffer && view.buffer < array_.n_buffers - kBuffersAround &&
                     view.offset >= 0,
                 schema_);
    const auto total = loadAt<std::int64_t>(array_.buffers[array_.n_buffers - 1], view.buffer);
    expectColumn(std::int64_t{view.offset} + view.length <= total, schema_);
    return {static_cast<const char*>(array_.buffers[2 + view.buffer]) + view.offset, size};
}

} // namespace qorvel_python
