#include "src/derivedColumns.h"

#include "engine/columns/Values.h"
#include "src/BinaryReader.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>
#include <string_view>

namespace qorvel_python {

namespace {

using qorvel_engine::loadAt;
using qorvel_engine::Validity;

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

/// As the program has it: the dilution of precision stretches the error of one range, and 5 m is
/// what a common receiver has under an open sky.
constexpr double kMetresPerHdop = 5.0;

std::string_view formatOf(const ArrowSchema& schema) {
    return schema.format == nullptr ? "" : schema.format;
}

/// A list of two to four coordinates: "+w:2" to "+w:4".
bool isInterleaved(const ArrowSchema& schema) {
    const std::string_view format = formatOf(schema);
    return format.size() == 4 && format.substr(0, 3) == "+w:" && format[3] >= '2' &&
           format[3] <= '4';
}

template <class Value>
double loadAs(const void* values, std::int64_t place) {
    return static_cast<double>(loadAt<Value>(values, place));
}

struct NumberType {
    std::string_view format;
    double (*load)(const void* values, std::int64_t place);
};
/// Real ones first.
constexpr NumberType kNumbers[] = {{"g", loadAs<double>},       {"f", loadAs<float>},
                                   {"c", loadAs<std::int8_t>},  {"C", loadAs<std::uint8_t>},
                                   {"s", loadAs<std::int16_t>}, {"S", loadAs<std::uint16_t>},
                                   {"i", loadAs<std::int32_t>}, {"I", loadAs<std::uint32_t>},
                                   {"l", loadAs<std::int64_t>}, {"L", loadAs<std::uint64_t>}};
constexpr std::ptrdiff_t kRealTypes = 2;

const NumberType* findNumber(const ArrowSchema& schema) {
    return std::find_if(std::begin(kNumbers), std::end(kNumbers), [&schema](const NumberType& row) {
        return row.format == formatOf(schema) && schema.dictionary == nullptr;
    });
}

template <class T>
T readBytes(const char* bytes, bool isLittle) {
    char raw[sizeof(T)];
    const bool isNative = isLittle == (std::endian::native == std::endian::little);
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        raw[i] = bytes[isNative ? i : sizeof(T) - 1 - i];
    }
    T value;
    std::memcpy(&value, raw, sizeof(T));
    return value;
}

/// A coordinate of a point in WKB, of which ISO's and the extended kinds are read: the coordinates
/// stand behind the byte order, the type, and maybe a number of a coordinate system.
double coordinateOf(std::string_view wkb, bool isY) {
    constexpr std::size_t kTypeAt = 1;
    constexpr std::size_t kHeader = 5;
    constexpr std::uint32_t kHasSystem = 0x20000000;
    constexpr std::uint32_t kFlags = 0xE0000000;
    constexpr std::uint32_t kIsoDimension = 1000;
    if (wkb.size() < kHeader || static_cast<unsigned char>(wkb[0]) > 1) {
        return kNoNumber;
    }
    const bool isLittle = wkb[0] == 1;
    const auto type = readBytes<std::uint32_t>(wkb.data() + kTypeAt, isLittle);
    const std::size_t from = kHeader + ((type & kHasSystem) != 0 ? sizeof(std::uint32_t) : 0);
    const std::uint32_t kind = type & ~kFlags;
    if (kind % kIsoDimension != 1 || kind > 3 * kIsoDimension + 1 ||
        wkb.size() < from + 2 * sizeof(double)) {
        return kNoNumber;
    }
    return readBytes<double>(wkb.data() + from + (isY ? sizeof(double) : 0), isLittle);
}

/// Numbers by their places, counted from the start of a column's buffers.
class Numbers {
public:
    Numbers(const ArrowSchema& schema, const ArrowArray& array, Part part) {
        const bool isY = part == Part::y;
        if (part == Part::number || part == Part::hdop) {
            const auto* const row = findNumber(schema);
            expectColumn(row != std::end(kNumbers), schema);
            load_ = row->load;
            values_ = valuesOf(schema, array, 0);
        } else if (formatOf(schema) == "+s") {
            const ArrowArray& child = coordinates(schema, array, isY ? 1 : 0);
            values_ = valuesOf(schema, child, array.offset + array.length);
            first_ = child.offset;
        } else if (isInterleaved(schema)) {
            const ArrowArray& child = coordinates(schema, array, 0);
            step_ = schema.format[3] - '0';
            values_ = valuesOf(schema, child, (array.offset + array.length) * step_);
            first_ = child.offset + (isY ? 1 : 0);
        } else {
            wkb_.emplace(schema, array);
            isY_ = isY;
        }
    }

    double at(std::int64_t place) const {
        if (wkb_) {
            return coordinateOf(wkb_->at(place), isY_);
        }
        return load_(values_, first_ + place * step_);
    }

private:
    static const void* valuesOf(const ArrowSchema& schema, const ArrowArray& array,
                                std::int64_t length) {
        constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 16;
        expectColumn(array.length >= length && 0 <= array.offset && array.offset <= kMost &&
                         array.n_buffers == 2 && array.buffers != nullptr &&
                         (length == 0 || array.buffers[1] != nullptr),
                     schema);
        return array.buffers[1];
    }

    static const ArrowArray& coordinates(const ArrowSchema& schema, const ArrowArray& array,
                                         std::int64_t child) {
        expectColumn(schema.n_children > child && array.n_children == schema.n_children &&
                         formatOf(*schema.children[child]) == "g" &&
                         array.children[child] != nullptr,
                     schema);
        return *array.children[child];
    }

    const void* values_ = nullptr;
    std::int64_t first_ = 0;
    std::int64_t step_ = 1;
    double (*load_)(const void* values, std::int64_t place) = loadAs<double>;
    bool isY_ = false;
    std::optional<BinaryReader> wkb_;
};

} // namespace

bool isPoint(const ArrowSchema& schema) {
    return formatOf(schema) == "+s" || isInterleaved(schema) || BinaryReader::reads(schema);
}

bool isWhole(const ArrowSchema& schema) {
    const NumberType* const row = findNumber(schema);
    return row != std::end(kNumbers) && row - std::begin(kNumbers) >= kRealTypes;
}

RealColumn deriveColumn(const ArrowSchema& schema, const ArrowArray& array, Part part) {
    expectColumn(array.n_buffers >= 1 && array.buffers != nullptr, schema);
    const Numbers numbers(schema, array, part);
    const Validity present{array.buffers[0], array.offset};
    const double unit = part == Part::hdop ? kMetresPerHdop : 1.0;
    const auto size = static_cast<std::size_t>(array.length);
    RealColumn column{std::vector<double>(size), std::vector<unsigned char>(size / 8 + 1)};
    for (std::size_t row = 0; row < size; ++row) {
        const auto at = static_cast<std::int64_t>(row);
        if (present.has(at)) {
            column.values[row] = unit * numbers.at(array.offset + at);
            column.validity[row / 8] =
                static_cast<unsigned char>(column.validity[row / 8] | 1U << row % 8);
        }
    }
    return column;
}

} // namespace qorvel_python
