// Prints a hash of all results of each kind, bit for bit, over fixed inputs: equal hashes on two
// platforms are equal results. The inputs are made with exact arithmetic, the same everywhere.

#include "testing/model/compare.h"
#include "testing/world/Random.h"
#include "testing/world/World.h"

#include "qorvel/qorvel.h"

#include <array>
#include <bit>
#include <cstdio>
#include <memory>

namespace {

using API = QorvelMotionProcessorAPI;

/// FNV-1a over 64-bit words.
class Hash {
public:
    void add(std::uint64_t word) {
        for (int i = 0; i < 8; ++i, word >>= 8) {
            hash_ = (hash_ ^ (word & 0xFFU)) * 0x100000001B3U;
        }
    }
    void add(std::uint32_t number) { add(std::uint64_t{number}); }
    void add(std::int32_t number) { add(static_cast<std::uint64_t>(number)); }
    void add(std::int64_t number) { add(static_cast<std::uint64_t>(number)); }
    /// One NaN is as good as another: which one arises is the processor's choice.
    void add(double number) {
        add(number == number ? std::bit_cast<std::uint64_t>(number) : ~std::uint64_t{0});
    }
    template <class Items>
    void add(const Items& items) {
        for (const auto& item : items) {
            add(item);
        }
    }
    void add(const std::string& text) {
        for (const char c : text) {
            add(std::uint32_t{static_cast<unsigned char>(c)});
        }
    }
    template <class Record>
    void addFields(const std::list<Record>& records) {
        for (const Record& record : records) {
            std::apply([this](const auto&... field) { (this->add(field), ...); },
                       model::fields(record));
        }
    }

    void print(const char* subject) const {
        std::printf("%-28s %016llx\n", subject, static_cast<unsigned long long>(hash_));
    }

private:
    std::uint64_t hash_ = 0xCBF29CE484222325U;
};

/// Points all over the world, and each with one near it.
struct Points {
    PointGeodetic128 first;
    PointGeodetic128 second;
};

Points drawPoints(world::Random& random) {
    const double latitude = random.between(-90, 90);
    const double longitude = random.between(-180, 180);
    const double apart = 180.0 / static_cast<double>(1 << random.whole(0, 24));
    return {{latitude, longitude},
            {latitude + random.between(-apart, apart), longitude + random.between(-apart, apart)}};
}

void hashCells() {
    world::Random random(1, 0);
    Hash codes;
    Hash neighbours;
    for (std::uint32_t i = 0; i < 100000; ++i) {
        const std::uint32_t depth = i % 130;
        const PointGeodetic128 point = drawPoints(random).first;
        const SpaceBox box(point.getLatitude(), point.getLongitude(), depth);
        std::stringstream errors;
        double latitude = 0;
        double longitude = 0;
        API::getCentroid(box, latitude, longitude, errors);
        codes.add(box.getFirst64Bits());
        codes.add(box.getSecond64Bits());
        codes.add(box.toASCIIString());
        codes.add(latitude);
        codes.add(longitude);

        SpaceBox near[UtilG2::_NUM_NEAREST_NEIGHBORS];
        std::uint32_t count = 0;
        const double radius = 2e7 / static_cast<double>(1U << depth / 5);
        UtilG2::pointToSpaceBoxes(point.getLatitude(), point.getLongitude(), depth, radius, near,
                                  count);
        neighbours.add(count);
        for (std::uint32_t k = 0; k < count; ++k) {
            neighbours.add(near[k].getFirst64Bits());
            neighbours.add(near[k].getSecond64Bits());
        }
    }
    codes.print("cells");
    neighbours.print("neighbours");
}

void hashTimeBoxes() {
    world::Random random(2, 0);
    Hash hash;
    for (const char* unit : {"milliseconds", "seconds", "minutes", "hours", "days", "months",
                             "years", "ever", "nonsense"}) {
        for (int i = 0; i < 20000; ++i) {
            const TimeBoxSpec spec(static_cast<std::uint32_t>(random.whole(0, 60)), unit);
            const std::int64_t time = random.whole(INT64_MIN / 4, INT64_MAX / 4) >> i % 40;
            hash.add(spec.getDurationMillis());
            hash.add(spec.getTimeBoxStart(time));
            hash.add(spec.getTimeBoxEnd(time));
        }
    }
    hash.print("time boxes");
}

void hashMetric(const char* subject, const IMetric& metric) {
    world::Random random(3, 0);
    Hash hash;
    for (int i = 0; i < 20000; ++i) {
        const Points points = drawPoints(random);
        const double azimuth = random.between(0, 6.2);
        const double distance = random.between(0, 1e6);
        const std::unique_ptr<const PointGeodetic128> reached(
            metric.destination(points.first, azimuth, distance));
        hash.add(metric.distance(points.first, points.second));
        hash.add(metric.azimuth(points.first, points.second));
        hash.add(reached->getLatitude());
        hash.add(reached->getLongitude());
    }
    hash.print(subject);
}

/// Cells of about 150 m by 15 minutes, and months; every stay of ten minutes is a hangout.
MotionProcessor makeProcessor(bool withSpecs) {
    std::stringstream errors;
    std::list<STBMasterRow> masters(2);
    std::list<STBAssignmentRow> rows(2);
    std::list<STBCompressionSpec> specs(2);
    API::createSTBMasterRow("minutes", 7, 15, "minutes", masters.front(), errors);
    API::createSTBMasterRow("months", 8, 1, "months", masters.back(), errors);
    API::createSTBAssignmentRow("ANY", "fix", 500, 0, "minutes", {}, 43.0, 5.0, 2e7, 1, 1,
                                rows.front(), errors);
    API::createSTBAssignmentRow("ANY", "fix", 60, 0, "months", {}, 43.0, 5.0, 2e7, 0.5, 1,
                                rows.back(), errors);
    API::createHangoutSpec("ANY", "fix", "minutes", 10, "minutes", 2, 0.5, specs.front(), errors);
    API::createHangoutSpec("ANY", "fix", "months", 1, "hours", 3, 0.3, specs.back(), errors);
    return {masters, rows, withSpecs ? specs : std::list<STBCompressionSpec>()};
}

/// Runs the sample world through a processor of its own; `process` appends to the records.
template <class Record, class Process>
void hashRecords(const char* subject, const world::World& world, Process process) {
    MotionProcessor processor = makeProcessor(!std::is_same_v<Record, SpaceTimeBox>);
    std::stringstream errors;
    Hash hash;
    std::uint64_t results = 0;
    std::uint64_t sequenceNumber = 0;
    for (const world::Fix& fix : world.fixes) {
        Event event;
        API::createEvent("entity", world.entities[fix.entity], "fix", fix.lat, fix.lon,
                         fix.accuracyM, fix.timeMs, 0, event, errors);
        event.sequenceNumber = ++sequenceNumber;
        std::list<Record> records;
        process(processor, event, records);
        hash.addFields(records);
        results += records.size();
    }
    hash.add(results);
    hash.print(subject);
}

} // namespace

int main() {
    const world::World world = world::makeWorld({});
    hashCells();
    hashTimeBoxes();
    hashRecords<SpaceTimeBox>("boxes", world,
                              [](const MotionProcessor& processor, const Event& event, auto& out) {
                                  processor.getSTB(event, out);
                              });
    hashRecords<STBCompressedEvent>("presence", world,
                                    [](MotionProcessor& processor, const Event& event, auto& out) {
                                        processor.processEventForPresenceCompression(event, out);
                                    });
    hashRecords<STBCompressedEvent>("hangouts", world,
                                    [](MotionProcessor& processor, const Event& event, auto& out) {
                                        processor.processEventForHangout(event, out);
                                    });
    hashMetric("metric, sphere", SpheroidalMetric());
    hashMetric("metric, ellipsoid", VincentyEllipsoidalMetric());
    hashMetric("metric, plane on sphere", EuclideanMetricSpheroid(48, 11));
    hashMetric("metric, plane on ellipsoid", EuclideanMetricEllipsoid(48, 11));
    return 0;
}
