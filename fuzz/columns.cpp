// Arrow's structures with any lie in them: either they are refused in words, or every row reads
// within its buffers, which are as long as lengths and offsets declare, and once more from copies.

#include "anyTable.h"
#include "engine/columns/EntityDictionary.h"
#include "engine/columns/Fault.h"
#include "engine/columns/ObservationSchema.h"
#include "law.h"

namespace {

using namespace qorvel_engine;

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
