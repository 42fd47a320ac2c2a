#ifndef QORVEL_TESTING_SUPPORT_FINDSTAYS_H
#define QORVEL_TESTING_SUPPORT_FINDSTAYS_H

#include "engine/run/Session.h"
#include "testing/world/StayScene.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

/// A row of the stays found, and with how many rows pushed it came.
struct StayRow {
    std::uint32_t entity;
    std::int64_t from;
    std::int64_t to;
    double lat;
    double lon;
    double spread;
    double farthest;
    std::int64_t fixes;
    std::size_t rows;

    bool operator==(const StayRow& other) const {
        return entity == other.entity && from == other.from && to == other.to && lat == other.lat &&
               lon == other.lon && spread == other.spread && farthest == other.farthest &&
               fixes == other.fixes;
    }
};

/// The columns of such fixes, of which there are to be some.
class SceneColumns {
public:
    explicit SceneColumns(const std::vector<world::SceneFix>& fixes) {
        for (const world::SceneFix& fix : fixes) {
            entities_.push_back(fix.entity);
            times_.push_back(fix.time);
            lats_.push_back(fix.lat);
            lons_.push_back(fix.lon);
            accuracies_.push_back(fix.accuracy);
        }
    }

    qorvel_engine::Observations slice(std::size_t from, std::size_t count) const {
        const auto first = static_cast<std::int64_t>(from);
        qorvel_engine::ObservationColumns columns;
        columns.size = static_cast<std::int64_t>(count);
        columns.entityKind = qorvel_engine::EntityKind::int64;
        columns.entityNumber = qorvel_engine::WholeValues(entities_.data(), nullptr, first);
        columns.latitude = qorvel_engine::RealValues(lats_.data(), nullptr, first);
        columns.longitude = qorvel_engine::RealValues(lons_.data(), nullptr, first);
        columns.time = qorvel_engine::TimeValues(
            times_.data(), qorvel_engine::TimeUnit::milliseconds, nullptr, first);
        columns.accuracy = qorvel_engine::RealValues(accuracies_.data(), nullptr, first);
        return qorvel_engine::Observations(columns);
    }

private:
    std::vector<std::int64_t> entities_;
    std::vector<std::int64_t> times_;
    std::vector<double> lats_;
    std::vector<double> lons_;
    std::vector<double> accuracies_;
};

inline void takeStays(qorvel_engine::Session& session, std::size_t rows,
                      std::vector<StayRow>& stays) {
    while (const std::optional<qorvel_engine::ResultBatch> batch = session.take()) {
        const qorvel_engine::ResultTable& table = batch->table;
        for (std::size_t row = 0; row < table.size(); ++row) {
            stays.push_back(
                {static_cast<std::uint32_t>(session.names()->bits(table.entity(row, 0))),
                 table.whole(row, 1), table.whole(row, 2), table.real(row, 4), table.real(row, 5),
                 table.real(row, 6), table.real(row, 7), table.whole(row, 8), rows});
        }
    }
}

/// Those of a session to which fixes are pushed, so many at a time.
/// @param isOldestKnown  each push tells it
inline std::vector<StayRow> findStays(const std::vector<world::SceneFix>& fixes,
                                      const qorvel_engine::StayOptions& options = {},
                                      const qorvel_engine::SessionOptions& session = {},
                                      std::size_t rowsPerPush = 100'000,
                                      bool isOldestKnown = false) {
    qorvel_engine::AnalysisOptions asked;
    asked.question = qorvel_engine::Question::stays;
    asked.stays = options;
    qorvel_engine::Session work(asked, {}, session);
    std::vector<std::int64_t> oldest(fixes.size() + 1, std::numeric_limits<std::int64_t>::max());
    for (std::size_t i = fixes.size(); i-- > 0;) {
        oldest[i] = std::min(oldest[i + 1], fixes[i].time);
    }
    const SceneColumns columns(fixes);
    std::vector<StayRow> stays;
    for (std::size_t from = 0; from < fixes.size(); from += rowsPerPush) {
        const std::size_t count = std::min(rowsPerPush, fixes.size() - from);
        work.push(columns.slice(from, count), nullptr,
                  isOldestKnown ? std::optional(oldest[from + count]) : std::nullopt);
        takeStays(work, from + count, stays);
    }
    work.finish();
    takeStays(work, fixes.size() + 1, stays);
    return stays;
}

inline std::vector<StayRow> byEntity(std::vector<StayRow> stays) {
    std::sort(stays.begin(), stays.end(), [](const StayRow& a, const StayRow& b) {
        return std::tie(a.entity, a.from) < std::tie(b.entity, b.from);
    });
    return stays;
}

#endif
