#ifndef QORVEL_TESTING_SUPPORT_ROWSTREAM_H
#define QORVEL_TESTING_SUPPORT_ROWSTREAM_H

#include "engine/columns/Observations.h"
#include "testing/support/ArrowMaker.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A row as a person would write it down; what is not there is null.
struct StreamRow {
    std::string entity;
    double latitude;
    double longitude;
    std::int64_t time;
    std::optional<double> accuracy;
    std::optional<std::string> primaryKey;
    std::optional<std::string> secondaryKey;
    /// Why it cannot be used.
    qorvel_engine::RowReason reason = qorvel_engine::RowReason::none;
};
using RowStream = std::vector<StreamRow>;

inline constexpr std::int64_t kStreamMinute = 60000; ///< ms

/// A row every two minutes: ten entities in few places, up to half an hour out of order; some rows
/// are bad.
inline RowStream makeRowStream(std::uint64_t seed, std::size_t rows) {
    std::mt19937_64 chance(seed);
    const auto below = [&](std::uint64_t end) { return chance() % end; };
    const auto real = [&](std::uint64_t end) { return static_cast<double>(below(end)); };
    RowStream stream;
    for (std::size_t i = 0; i < rows; ++i) {
        const std::int64_t time = (100 + 2 * static_cast<std::int64_t>(i)) * kStreamMinute;
        StreamRow row{std::to_string(below(10)),
                      48.0 + 1e-5 * real(400),
                      11.0 + 0.2 * real(2),
                      time - static_cast<std::int64_t>(below(30)) * kStreamMinute,
                      {},
                      {},
                      {}};
        constexpr const char* kPrimary[] = {"car", "bike", "ANY", "nobody's", ""};
        constexpr const char* kSecondary[] = {"", "night", "nobody's"};
        if (below(3) > 0) {
            row.accuracy = below(2) == 0 ? -0.0 : real(400);
        }
        if (below(3) > 0) {
            row.primaryKey = kPrimary[below(5)];
            row.secondaryKey = below(2) == 0 ? std::nullopt : std::optional(kSecondary[below(3)]);
        }
        switch (below(40)) {
        case 0:
            row.latitude = std::numeric_limits<double>::quiet_NaN();
            row.reason = qorvel_engine::RowReason::latitudeOutOfRange;
            break;
        case 1:
            row.time = -5;
            row.reason = qorvel_engine::RowReason::timeNegative;
            break;
        case 2:
            row.secondaryKey = "\xFF";
            row.reason = qorvel_engine::RowReason::secondaryKeyNotUtf8;
            break;
        default:
            break;
        }
        stream.push_back(row);
    }
    return stream;
}

/// A stream as a host's own columns.
class RowColumns {
public:
    RowColumns(RowStream stream, qorvel_engine::EntityKind kind)
        : stream_(std::move(stream)), kind_(kind) {
        hasAccuracy_.resize(stream_.size() / 8 + 1);
        for (const StreamRow& row : stream_) {
            const std::size_t at = numbers_.size();
            entities_.push_back(row.entity);
            numbers_.push_back(std::stoi(row.entity));
            latitudes_.push_back(row.latitude);
            longitudes_.push_back(row.longitude);
            times_.push_back(row.time);
            accuracies_.push_back(row.accuracy.value_or(-7.0));
            hasAccuracy_[at / 8] = static_cast<std::uint8_t>(hasAccuracy_[at / 8] |
                                                             (row.accuracy ? 1U : 0U) << at % 8);
            primaryKeys_.push_back(viewOf(row.primaryKey));
            secondaryKeys_.push_back(viewOf(row.secondaryKey));
        }
    }

    qorvel_engine::Observations slice(std::size_t from, std::size_t count) const {
        const auto first = static_cast<std::int64_t>(from);
        qorvel_engine::ObservationColumns columns;
        columns.size = static_cast<std::int64_t>(count);
        columns.entityKind = kind_;
        columns.entityText = qorvel_engine::TextValues(entities_.data(), nullptr, first);
        columns.entityNumber = qorvel_engine::WholeValues(numbers_.data(), nullptr, first);
        columns.latitude = qorvel_engine::RealValues(latitudes_.data(), nullptr, first);
        columns.longitude = qorvel_engine::RealValues(longitudes_.data(), nullptr, first);
        columns.time = qorvel_engine::TimeValues(
            times_.data(), qorvel_engine::TimeUnit::milliseconds, nullptr, first);
        columns.accuracy =
            qorvel_engine::RealValues(accuracies_.data(), hasAccuracy_.data(), first);
        columns.primaryKey = qorvel_engine::TextValues(primaryKeys_.data(), nullptr, first);
        columns.secondaryKey = qorvel_engine::TextValues(secondaryKeys_.data(), nullptr, first);
        return qorvel_engine::Observations(columns);
    }

private:
    static std::string_view viewOf(const std::optional<std::string>& text) {
        return text ? std::string_view(*text) : std::string_view();
    }

    RowStream stream_;
    qorvel_engine::EntityKind kind_;
    std::vector<std::string_view> entities_;
    std::vector<std::int32_t> numbers_;
    std::vector<double> latitudes_;
    std::vector<double> longitudes_;
    std::vector<std::int64_t> times_;
    std::vector<double> accuracies_;
    std::vector<std::uint8_t> hasAccuracy_;
    std::vector<std::string_view> primaryKeys_;
    std::vector<std::string_view> secondaryKeys_;
};

template <class Value, class Get>
std::vector<std::optional<Value>> valuesOf(const RowStream& stream, const Get& get) {
    std::vector<std::optional<Value>> values;
    for (const StreamRow& row : stream) {
        values.push_back(get(row));
    }
    return values;
}

/// A stream as a table, with what the layout leaves to chance.
inline ColumnPointer makeArrowTable(const RowStream& stream, ArrowMaker& make) {
    auto table = std::make_unique<ArrowColumn>("+s", "");
    const auto addTexts = [&](const char* name, const auto& get) {
        const Texts texts = valuesOf<std::string>(stream, get);
        table->children.push_back(make.below(2) == 0
                                      ? make.dictionary<std::int32_t>("i", name, texts)
                                      : make.texts(name, texts));
    };
    const auto add = [&]<class Value>(const char* format, const char* name, Value,
                                      const auto& get) {
        table->children.push_back(make.numbers<Value>(format, name, valuesOf<Value>(stream, get)));
    };
    addTexts("who", [](const StreamRow& row) { return row.entity; });
    add("g", "lat", 0.0, [](const StreamRow& row) { return row.latitude; });
    add("g", "lon", 0.0, [](const StreamRow& row) { return row.longitude; });
    add("tsm:", "time", std::int64_t{}, [](const StreamRow& row) { return row.time; });
    add("g", "accuracy", 0.0, [](const StreamRow& row) { return row.accuracy; });
    addTexts("primary_key", [](const StreamRow& row) { return row.primaryKey; });
    addTexts("secondary_key", [](const StreamRow& row) { return row.secondaryKey; });
    table->array.length = std::ssize(stream);
    table->buffers.push_back(nullptr);
    table->show();
    return table;
}

#endif
