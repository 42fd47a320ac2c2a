#include "engine/columns/detail/ArrowType.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace qorvel_engine::detail {

namespace {

struct Row {
    std::string_view format; ///< of a timestamp, what comes before the zone
    const char* name;
    std::size_t width;
};

/// In the order of ArrowType.
constexpr Row kTypes[] = {
    {"", "no type", 0},
    {"n", "null", 0},
    {"c", "int8", 1},
    {"s", "int16", 2},
    {"i", "int32", 4},
    {"l", "int64", 8},
    {"C", "uint8", 1},
    {"S", "uint16", 2},
    {"I", "uint32", 4},
    {"L", "uint64", 8},
    {"f", "float32", 4},
    {"g", "float64", 8},
    {"tss:", "timestamp[s]", 8},
    {"tsm:", "timestamp[ms]", 8},
    {"tsu:", "timestamp[us]", 8},
    {"tsn:", "timestamp[ns]", 8},
    {"u", "utf8", 4},
    {"U", "large_utf8", 8},
    {"vu", "utf8_view", 16},
    {"+s", "struct", 0},
};

const Row* rowOf(std::string_view format) {
    return std::find_if(std::begin(kTypes) + 1, std::end(kTypes), [format](const Row& row) {
        return row.format.back() == ':' ? format.substr(0, row.format.size()) == row.format
                                        : format == row.format;
    });
}

} // namespace

ArrowType typeOf(const char* format) {
    return static_cast<ArrowType>(rowOf(format) - std::begin(kTypes));
}

std::string typeText(const char* format) {
    const Row* const row = rowOf(format);
    if (row != std::end(kTypes)) {
        return row->name;
    }
    constexpr std::size_t kMost = 20;
    return '"' + std::string(format).substr(0, kMost) + '"';
}

TimeUnit unitOf(ArrowType type) {
    switch (type) {
    case ArrowType::seconds:
        return TimeUnit::seconds;
    case ArrowType::microseconds:
        return TimeUnit::microseconds;
    case ArrowType::nanoseconds:
        return TimeUnit::nanoseconds;
    case ArrowType::milliseconds:
        return TimeUnit::milliseconds;
    default:
        return TimeUnit::unsaid;
    }
}

std::size_t widthOf(ArrowType type) {
    return kTypes[static_cast<std::size_t>(type)].width;
}

} // namespace qorvel_engine::detail
