#ifndef QORVEL_FUZZ_ANYTABLE_H
#define QORVEL_FUZZ_ANYTABLE_H

#include "Bytes.h"
#include "engine/columns/TextValues.h"
#include "testing/support/ArrowColumn.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Now and then something else than the truth.
template <class Value>
Value told(Bytes& bytes, Value truth, std::initializer_list<Value> lies) {
    return bytes.take(1) < 250 ? truth : bytes.pick(lies);
}

inline std::int64_t toldNumber(Bytes& bytes, std::int64_t truth) {
    return told<std::int64_t>(bytes, truth, {-1, -2, 0, 1, 20, INT64_MAX, INT64_MIN});
}

/// A buffer with any bytes in it; now and then there is none.
inline void addAny(ArrowColumn& column, Bytes& bytes, std::size_t size) {
    std::vector<std::uint8_t> content(size);
    const auto same = static_cast<std::uint8_t>(bytes.take(1));
    for (std::uint8_t& byte : content) {
        byte = same < 128 ? same : static_cast<std::uint8_t>(bytes.take(1));
    }
    column.addBuffer(content);
    if (bytes.take(1) >= 250) {
        column.buffers.back() = nullptr;
    }
}

/// Offsets that mostly ascend, and as many bytes as the last one says.
template <class Offset>
void addTexts(ArrowColumn& column, Bytes& bytes, std::size_t places) {
    std::vector<Offset> offsets(1, static_cast<Offset>(bytes.take(1) % 4));
    for (std::size_t i = 0; i < places; ++i) {
        const std::uint64_t next = static_cast<std::uint64_t>(offsets.back()) + bytes.take(1) % 16;
        offsets.push_back(static_cast<Offset>(toldNumber(bytes, static_cast<std::int64_t>(next))));
    }
    offsets.back() = std::min(offsets.back(), static_cast<Offset>(4096));
    column.addBuffer(offsets);
    addAny(column, bytes, static_cast<std::size_t>(std::max<Offset>(offsets.back(), 0)));
}

inline void addViews(ArrowColumn& column, Bytes& bytes, std::size_t places) {
    std::vector<qorvel_engine::TextValues::ArrowView> views;
    for (std::size_t i = 0; i < places; ++i) {
        const auto any = [&](std::int64_t truth) {
            return static_cast<std::int32_t>(toldNumber(bytes, truth));
        };
        views.push_back({any(static_cast<std::int64_t>(bytes.take(1) % 20)), any(0),
                         any(static_cast<std::int64_t>(bytes.take(1) % 3)),
                         any(static_cast<std::int64_t>(bytes.take(1) % 40))});
    }
    column.addBuffer(views);
    std::vector<std::int64_t> lengths;
    for (std::uint64_t left = bytes.take(1) % 4; left > 0; --left) {
        lengths.push_back(told<std::int64_t>(bytes, static_cast<std::int64_t>(bytes.take(1)),
                                             {-1, 0, INT64_MIN}));
        addAny(column, bytes, static_cast<std::size_t>(std::max<std::int64_t>(lengths.back(), 0)));
    }
    column.addBuffer(lengths);
}

/// The buffers of a type, with values for so many places.
inline void addBuffers(ArrowColumn& column, Bytes& bytes, std::size_t places) {
    const char type = column.format.front();
    const bool hasNone = type == 'n' || type == '+';
    if (type != 'n') {
        addAny(column, bytes, (places + 7) / 8);
        if (bytes.take(1) < 128) {
            column.buffers.back() = nullptr;
        }
    }
    if (column.format == "u") {
        addTexts<std::int32_t>(column, bytes, places);
    } else if (column.format == "U") {
        addTexts<std::int64_t>(column, bytes, places);
    } else if (column.format == "vu") {
        addViews(column, bytes, places);
    } else if (!hasNone) {
        const std::map<char, std::size_t> widths{{'c', 1}, {'C', 1}, {'s', 2}, {'S', 2},
                                                 {'i', 4}, {'I', 4}, {'f', 4}};
        addAny(column, bytes, places * (widths.contains(type) ? widths.at(type) : 8));
    }
}

inline std::unique_ptr<ArrowColumn> makeColumn(Bytes& bytes, const char* name,
                                               const std::string& format) {
    auto column = std::make_unique<ArrowColumn>(format, name);
    const std::uint64_t shape = bytes.take(1);
    column->array.offset = static_cast<std::int64_t>(shape % 16);
    column->array.length = toldNumber(bytes, static_cast<std::int64_t>(shape / 16));
    column->array.offset = toldNumber(bytes, column->array.offset);
    column->array.null_count = toldNumber(bytes, -1);
    // Lengths that no memory holds have buffers of another length: they are to be refused.
    const auto count = static_cast<std::uint64_t>(std::max<std::int64_t>(column->array.length, 0)) +
                       static_cast<std::uint64_t>(std::max<std::int64_t>(column->array.offset, 0));
    addBuffers(*column, bytes, count < 64 ? static_cast<std::size_t>(count) : 0);
    return column;
}

/// The same with a dictionary, now and then; a lie about what the structures point at.
inline std::unique_ptr<ArrowColumn> anyColumn(Bytes& bytes, const char* name,
                                              std::initializer_list<const char*> formats) {
    auto column = makeColumn(bytes, name, bytes.pick(formats));
    if (bytes.take(1) < 64) {
        column->dictionary = makeColumn(bytes, "", bytes.pick({"u", "U", "vu"}));
        column->dictionary->show();
    }
    column->show();
    switch (bytes.take(1)) {
    case 250: // with views a number that is large enough would be believed
        column->array.n_buffers = static_cast<std::int64_t>(bytes.take(1)) %
                                  std::min<std::int64_t>(column->array.n_buffers + 1, 3);
        break;
    case 251:
        column->array.release = nullptr;
        break;
    case 252:
        column->array.dictionary = nullptr;
        break;
    case 253:
        column->schema.format = nullptr;
        break;
    case 254:
        column->array.buffers = nullptr;
        break;
    case 255:
        column->array.n_children = column->schema.n_children = 1;
        break;
    default:
        break;
    }
    return column;
}

/// A table of observations with any lie in it. Its buffers are as long as lengths and offsets
/// declare.
inline std::unique_ptr<ArrowColumn> anyTable(Bytes& bytes) {
    auto table = makeColumn(bytes, "", "+s");
    const auto add = [&](const char* name, std::initializer_list<const char*> formats) {
        table->children.push_back(anyColumn(bytes, name, formats));
    };
    add("entity", {"u", "U", "vu", "c", "C", "s", "S", "i", "I", "l", "L"});
    add("lat", {"g", "f"});
    add("lon", {"g", "f"});
    add("time", {"l", "tss:", "tsm:UTC", "tsu:", "tsn:"});
    add("accuracy", {"g", "f", "n"});
    add("primary_key", {"u", "U", "vu", "n", "i", "C"});
    add(told(bytes, "secondary_key", {"entity", "other"}), {"u", "U", "vu", "n", "S", "l"});
    table->show();
    if (bytes.take(1) >= 250) {
        table->arrays[bytes.take(1) % 7] = nullptr;
    }
    table->array.n_children -= bytes.take(1) >= 250 ? 1 : 0;
    return table;
}

#endif
