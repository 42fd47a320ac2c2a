#ifndef QORVEL_TESTING_SUPPORT_FINDPLACES_H
#define QORVEL_TESTING_SUPPORT_FINDPLACES_H

#include "testing/support/findStays.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A row of places: hours as all, night, work, Monday to Sunday.
struct PlaceRow {
    std::int64_t entity, rank;
    std::string label;
    double lat, lon;
    std::int64_t visits;
    std::array<double, 10> hours;
    std::int64_t first, last;

    bool operator==(const PlaceRow&) const = default;
};

inline std::vector<PlaceRow> findPlaces(const std::vector<world::SceneFix>& fixes,
                                        const qorvel_engine::AnalysisOptions& asked,
                                        const qorvel_engine::SessionOptions& how = {},
                                        std::size_t rowsPerPush = 100'000) {
    qorvel_engine::Session session(asked, {}, how);
    const SceneColumns columns(fixes);
    for (std::size_t from = 0; from < fixes.size(); from += rowsPerPush) {
        session.push(columns.slice(from, std::min(rowsPerPush, fixes.size() - from)));
    }
    session.finish();
    std::vector<PlaceRow> rows;
    while (const std::optional<qorvel_engine::ResultBatch> batch = session.take()) {
        const qorvel_engine::ResultTable& table = batch->table;
        for (std::size_t i = 0; i < table.size(); ++i) {
            PlaceRow& row = rows.emplace_back(
                PlaceRow{static_cast<std::int64_t>(session.names()->bits(table.entity(i, 0))),
                         table.whole(i, 1),
                         std::string(table.text(i, 2)),
                         table.real(i, 3),
                         table.real(i, 4),
                         table.whole(i, 6),
                         {},
                         table.whole(i, 17),
                         table.whole(i, 18)});
            for (std::size_t k = 0; k < row.hours.size(); ++k) {
                row.hours[k] = table.real(i, 7 + k);
            }
        }
    }
    return rows;
}

#endif
