#ifndef QORVEL_ENGINE_COLUMNS_DETAIL_ARROWTYPE_H
#define QORVEL_ENGINE_COLUMNS_DETAIL_ARROWTYPE_H

#include "engine/columns/TimeValues.h"

#include <cstdint>
#include <string>

namespace qorvel_engine::detail {

/// The types that are read, in groups that the functions below tell apart by order.
enum class ArrowType : std::uint8_t {
    none,
    null,
    int8,
    int16,
    int32,
    int64,
    uint8,
    uint16,
    uint32,
    uint64,
    float32,
    float64,
    seconds, ///< a timestamp, as the next three
    milliseconds,
    microseconds,
    nanoseconds,
    utf8,
    largeUtf8,
    utf8View,
    table, ///< a struct
    other  ///< any type that is not read
};

/// The type of a format that is not null.
ArrowType typeOf(const char* format);

/// For people: the type's name, or the format itself where it is another.
std::string typeText(const char* format);

inline bool isBetween(ArrowType type, ArrowType first, ArrowType last) {
    return first <= type && type <= last;
}
inline bool isWhole(ArrowType type) {
    return isBetween(type, ArrowType::int8, ArrowType::uint64);
}
inline bool isSigned(ArrowType type) {
    return isBetween(type, ArrowType::int8, ArrowType::int64);
}
inline bool isReal(ArrowType type) {
    return isBetween(type, ArrowType::float32, ArrowType::float64);
}
inline bool isTime(ArrowType type) {
    return type == ArrowType::int64 || isBetween(type, ArrowType::seconds, ArrowType::nanoseconds);
}
inline bool isText(ArrowType type) {
    return isBetween(type, ArrowType::utf8, ArrowType::utf8View);
}

/// Of a type that isTime.
TimeUnit unitOf(ArrowType type);

/// How many bytes a value takes in the second buffer, of a type that is read: of texts an offset or
/// a view.
std::size_t widthOf(ArrowType type);

} // namespace qorvel_engine::detail

#endif
