#include "src/synth.h"

#include "engine/columns/EntityDictionary.h"
#include "engine/columns/ResultLayout.h"
#include "src/Attention.h"
#include "src/faults.h"
#include "testing/world/World.h"

#include <nanobind/nanobind.h>
#include <string>
#include <utility>

namespace qorvel_python {

namespace {

using namespace qorvel_engine; // NOLINT(google-build-using-namespace): whose tables these are

struct FixRow {
    std::uint64_t entity;
    double latitude;
    double longitude;
    std::int64_t time;
    double accuracy;

    explicit FixRow(const world::Fix& fix)
        : entity(fix.entity), latitude(fix.lat), longitude(fix.lon), time(fix.timeMs),
          accuracy(fix.accuracyM) {}

    static const ResultLayout<FixRow>& layout() {
        using Layout = ResultLayout<FixRow>;
        static const Layout layout(
            "tracks", "what a device reports",
            {Layout::entity<&FixRow::entity>("entity", "whose it is"),
             Layout::degrees<&FixRow::latitude>("lat", "the latitude"),
             Layout::degrees<&FixRow::longitude>("lon", "the longitude"),
             Layout::time<&FixRow::time>("time", "when it was there"),
             Layout::metres<&FixRow::accuracy>("accuracy_m", "how far off it may be")});
        return layout;
    }
};

struct StayRow {
    std::uint64_t entity;
    std::string place;
    double latitude;
    double longitude;
    double radius;
    std::int64_t from;
    std::int64_t to;

    explicit StayRow(const world::Stay& stay)
        : entity(stay.entity), place(stay.place), latitude(stay.lat), longitude(stay.lon),
          radius(stay.radiusM), from(stay.fromMs), to(stay.toMs) {}

    static const ResultLayout<StayRow>& layout() {
        using Layout = ResultLayout<StayRow>;
        static const Layout layout(
            "truth", "an entity that stayed somewhere",
            {Layout::entity<&StayRow::entity>("entity", "who it is"),
             Layout::text<&StayRow::place>("place", "what the place is called"),
             Layout::degrees<&StayRow::latitude>("lat", "the latitude of the place"),
             Layout::degrees<&StayRow::longitude>("lon", "the longitude of the place"),
             Layout::metres<&StayRow::radius>("radius_m", "how far from it the entity may be"),
             Layout::time<&StayRow::from>("from", "from when on it stayed"),
             Layout::time<&StayRow::to>("to", "until when")});
        return layout;
    }
};

template <class Row, class Entry>
std::unique_ptr<Results> tableOf(const world::World& world, const std::vector<Entry>& entries) {
    const auto names = std::make_shared<EntityDictionary>(EntityKind::text);
    for (const std::string& name : world.entities) {
        names->numberOf(std::string_view(name));
    }
    ResultTable table = Row::layout().makeTable(names);
    Attention attention;
    for (const Entry& entry : entries) {
        table.append(Row(entry));
        attention();
    }
    auto results = std::make_unique<Results>(
        std::make_shared<const ResultSchema>(Row::layout().schema()), EntityKind::text);
    results->add(std::move(table));
    return results;
}

} // namespace

std::unique_ptr<Results> synth(std::int64_t entities, std::int64_t days, std::uint64_t seed,
                               bool truth) {
    if (entities < 1 || entities > 1'000'000) {
        refuseSetting("The number of entities has to be from 1 to 1,000,000.");
    }
    if (days < 1 || days > 3650) {
        refuseSetting("The number of days has to be from 1 to 3650.");
    }
    const nanobind::gil_scoped_release unlocked;
    Attention attention;
    const world::World world = world::makeWorld(
        {static_cast<std::uint32_t>(entities), static_cast<std::uint32_t>(days), seed},
        [&attention] {
            if (attention.isDue()) {
                Attention::look();
            }
        });
    return truth ? tableOf<StayRow>(world, world.stays) : tableOf<FixRow>(world, world.fixes);
}

} // namespace qorvel_python
