// Arrow's structures with any lie in them: either they are refused in words, or every row reads
// within its buffers, which are as long as lengths and offsets declare, and once more from copies.

#include "Bytes.h"
#include "engine/columns/EntityDictionary.h"
#include "engine/columns/Fault.h"
#include "engine/columns/ObservationSchema.h"
#include "law.h"
#include "testing/support/ArrowColumn.h"

#include <map>

namespace {

using namespace qorvel_engine;

/// Now and then something else than the truth.
template <class Value>
Value told(Bytes& bytes, Value truth, std::initializer_list<Value> lies) {
    return bytes.take(1) < 250 ? truth : bytes.pick(lies);
}

std::int64_t toldNumber(Bytes& bytes, std::int64_t truth) {
    return told<std::int64_t>(bytes, truth, {-1, -2, 0, 1, 20, INT64_MAX, INT64_MIN});
}

/// A buffer with any bytes in it; now and then there is none.
void addAny(ArrowColumn& column, Bytes& bytes, std::size_t size) {
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

void addViews(ArrowColumn& column, Bytes& bytes, std::size_t places) {
    std::vector<TextValues::ArrowView> views;
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
void addBuffers(ArrowColumn& column, Bytes& bytes, std::size_t places) {
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

std::unique_ptr<ArrowColumn> makeColumn(Bytes& bytes, const char* name, const std::string& format) {
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
std::unique_ptr<ArrowColumn> anyColumn(Bytes& bytes, const char* name,
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

std::unique_ptr<ArrowColumn> anyTable(Bytes& bytes) {
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
        table->arrays[static_cast<std::size_t>(bytes.take(1) % 7)] = nullptr;
    }
    table->array.n_children -= bytes.take(1) >= 250 ? 1 : 0;
    return table;
}

/// The rows that can be used, copied out and read again: the same, and nothing more is wrong.
void expectCopies(const Observations& batch, EntityDictionary& names) {
    for (std::int64_t row = 0; row < batch.size(); ++row) {
        const RowReason reason = batch.check(row);
        LAW((*reasonText(reason) == '\0') == (reason == RowReason::none));
        if (reason != RowReason::none) {
            continue;
        }
        const bool isText = batch.entityKind() == EntityKind::text;
        const std::string entity(isText ? batch.entityText(row) : "7");
        const std::string_view view = entity;
        const std::int32_t offsets[] = {0, static_cast<std::int32_t>(batch.primaryKey(row).size())};
        const std::string key(batch.primaryKey(row));
        const double lat = batch.latitude(row);
        const double lon = batch.longitude(row);
        const std::int64_t time = batch.timeMs(row);
        const double accuracy = batch.accuracy(row).value_or(0);
        LAW(std::abs(lat) <= 90 && std::abs(lon) <= 180 && time >= 0 && accuracy >= 0 &&
            !entity.empty());
        ObservationColumns columns;
        columns.size = 1;
        columns.entityText = TextValues(&view);
        columns.latitude = RealValues(&lat);
        columns.longitude = RealValues(&lon);
        columns.time = TimeValues(&time);
        columns.accuracy = RealValues(&accuracy);
        columns.primaryKey = TextValues(offsets, key.data());
        const Observations copy(columns);
        LAW(copy.check(0) == RowReason::none && copy.timeMs(0) == time &&
            copy.primaryKey(0) == key);
        const std::uint64_t number =
            isText ? names.numberOf(entity) : names.numberOf(batch.entityBits(row));
        LAW(isText ? names.text(number) == entity : names.bits(number) == batch.entityBits(row));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const auto table = anyTable(bytes);
    try {
        const ObservationSchema schema(table->schema);
        const Observations batch = schema.bind(table->array);
        EntityDictionary names(batch.entityKind());
        expectCopies(batch, names);
    } catch (const Fault& fault) {
        LAW(fault.code() == FaultCode::badColumn || fault.code() == FaultCode::missingColumn);
        LAW(std::string(fault.what()).starts_with("The "));
    }
    return 0;
}
