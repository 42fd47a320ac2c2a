#include "engine/columns/detail/ArrayReader.h"

#include "engine/columns/Fault.h"

#include <cstdint>
#include <limits>

namespace qorvel_engine::detail {

namespace {

/// Of the buffers of views: the bits, the views; behind those with the texts, their lengths.
constexpr std::int64_t kBuffersOfViews = 3;

/// The most values that can stand in memory.
constexpr std::int64_t kMostValues = std::numeric_limits<std::ptrdiff_t>::max() / 16 - 1;

} // namespace

void refuse(const std::string& column, const std::string& what) {
    throw Fault(FaultCode::badColumn, column + ' ' + what + '.');
}

ArrayReader::ArrayReader(const ArrowArray& array, ArrowType type, const std::string& column)
    : array_(array), type_(type), column_(column) {
    expect(array_.release != nullptr, "has been released");
    checkCounts();
    checkPointers();
}

void ArrayReader::expect(bool holds, const char* what) const {
    if (!holds) {
        refuse(column_, what);
    }
}

void ArrayReader::checkCounts() const {
    expect(array_.length >= 0, "has a negative length");
    expect(array_.offset >= 0, "has a negative offset");
    expect(array_.offset <= kMostValues && array_.length <= kMostValues - array_.offset,
           "has a length and an offset beyond all memory");
    expect(array_.null_count >= -1 && array_.null_count <= array_.length,
           "has more nulls than values");
    expect(type_ == ArrowType::utf8View ? array_.n_buffers >= kBuffersOfViews
                                        : array_.n_buffers == expectedBuffers(),
           "has another number of buffers than its type");
    expect(type_ == ArrowType::table || array_.n_children == 0, "has children");
}

void ArrayReader::checkPointers() const {
    expect(array_.n_buffers == 0 || array_.buffers != nullptr, "has no buffers");
    expect(array_.null_count <= 0 || type_ == ArrowType::null || validity() != nullptr,
           "has nulls but no validity bits");
    expect(array_.length == 0 || widthOf(type_) == 0 || buffer(1) != nullptr,
           "has values but no buffer with them");
}

std::int64_t ArrayReader::expectedBuffers() const {
    switch (type_) {
    case ArrowType::null:
        return 0;
    case ArrowType::table:
        return 1;
    default:
        return isText(type_) ? 3 : 2;
    }
}

const ArrowArray& ArrayReader::child(std::int64_t place) const {
    expect(array_.children != nullptr && array_.children[place] != nullptr, "lacks a child");
    return *array_.children[place];
}

std::int64_t ArrayReader::start(Rows rows) const {
    expect(rows.first <= array_.length && rows.count <= array_.length - rows.first,
           "is shorter than its table");
    return array_.offset + rows.first;
}

WholeValues ArrayReader::wholes(Rows rows) const {
    expect(array_.dictionary == nullptr, "has a dictionary that its type does not have");
    return {widthOf(type_), isSigned(type_), buffer(1), validity(), start(rows)};
}

RealValues ArrayReader::reals(Rows rows) const {
    expect(array_.dictionary == nullptr, "has a dictionary that its type does not have");
    const std::int64_t first = start(rows);
    if (type_ == ArrowType::null) {
        return {};
    }
    return type_ == ArrowType::float32
               ? RealValues(static_cast<const float*>(buffer(1)), validity(), first)
               : RealValues(static_cast<const double*>(buffer(1)), validity(), first);
}

TimeValues ArrayReader::times(Rows rows) const {
    expect(array_.dictionary == nullptr, "has a dictionary that its type does not have");
    return TimeValues(static_cast<const std::int64_t*>(buffer(1)), unitOf(type_), validity(),
                      start(rows));
}

TextColumn ArrayReader::texts(Rows rows, ArrowType dictionaryType) const {
    if (dictionaryType != ArrowType::none) {
        return textsByIndex(rows, dictionaryType);
    }
    return plainTexts(rows);
}

TextValues ArrayReader::plainTexts(Rows rows) const {
    expect(array_.dictionary == nullptr, "has a dictionary that its type does not have");
    switch (type_) {
    case ArrowType::utf8:
        return textsByOffsets<std::int32_t>(rows);
    case ArrowType::largeUtf8:
        return textsByOffsets<std::int64_t>(rows);
    case ArrowType::utf8View:
        return textsByViews(rows);
    default:
        start(rows);
        return {};
    }
}

/// The last offset of the array declares how many bytes there are; the offsets of the rows must
/// stay below it, and those in between are not read.
template <class Offset>
TextValues ArrayReader::textsByOffsets(Rows rows) const {
    const std::int64_t first = start(rows);
    const void* const offsets = buffer(1);
    if (rows.count > 0) {
        const auto begin = loadAt<Offset>(offsets, first);
        Offset last = begin;
        bool isAscending = begin >= 0;
        for (std::int64_t row = first + 1; row <= first + rows.count; ++row) {
            const auto next = loadAt<Offset>(offsets, row);
            isAscending = isAscending && next >= last;
            last = next;
        }
        const auto end = loadAt<Offset>(offsets, array_.offset + array_.length);
        expect(isAscending && last <= end, "has offsets that are negative or descend");
        expect(std::uintmax_t(end) <= PTRDIFF_MAX, "has more bytes than memory can");
        expect(last == begin || buffer(2) != nullptr, "has texts but no buffer with them");
    }
    return {static_cast<const Offset*>(offsets), static_cast<const char*>(buffer(2)), validity(),
            first};
}

TextValues ArrayReader::textsByViews(Rows rows) const {
    const std::int64_t buffers = array_.n_buffers - kBuffersOfViews;
    const void* const* const texts = array_.buffers + 2;
    const void* const lengths = buffer(array_.n_buffers - 1);
    expect(buffers == 0 || lengths != nullptr, "has no lengths of its buffers");
    const std::int64_t first = start(rows);
    const TextValues values = TextValues::ofViews(buffer(1), texts, validity(), first);
    for (std::int64_t row = 0; row < rows.count; ++row) {
        if (values.isNull(row)) {
            continue;
        }
        const auto view = loadAt<TextValues::ArrowView>(buffer(1), first + row);
        expect(view.length >= 0, "has a text of negative length");
        if (view.length > TextValues::kLongestInView) {
            expect(view.buffer >= 0 && view.buffer < buffers, "has a text in no buffer");
            expect(view.offset >= 0 && std::int64_t{view.offset} + view.length <=
                                           loadAt<std::int64_t>(lengths, view.buffer),
                   "has a text beyond its buffer");
            expect(texts[view.buffer] != nullptr, "has texts but no buffer with them");
        }
    }
    return values;
}

TextColumn ArrayReader::textsByIndex(Rows rows, ArrowType dictionaryType) const {
    expect(array_.dictionary != nullptr, "has no dictionary");
    const ArrayReader dictionary(*array_.dictionary, dictionaryType, column_);
    const std::int64_t size = array_.dictionary->length;
    const WholeValues indices(widthOf(type_), isSigned(type_), buffer(1), validity(), start(rows));
    for (std::int64_t row = 0; row < rows.count; ++row) {
        // A negative index is a huge one.
        expect(indices.isNull(row) || indices.bits(row) < static_cast<std::uint64_t>(size),
               "has an index that is not in its dictionary");
    }
    return {indices, dictionary.plainTexts({0, size}), size};
}

} // namespace qorvel_engine::detail
