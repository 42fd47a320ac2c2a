// Random streams through the library and through the straightforward model: after every event all
// results, every field of every record and the counts of the state must agree.
//
// QORVEL_SEED sets the seed of the first stream (a failure names its stream's seed), QORVEL_EVENTS
// how many events each kind of stream gets.

#include "testing/model/ModelDetector.h"
#include "testing/model/ModelProcessor.h"
#include "testing/model/compare.h"
#include "testing/support/wantedEvents.h"
#include "testing/world/Random.h"

#include "qorvel/base/bits.h"
#include "qorvel/facade/loadState.h"
#include "qorvel/facade/saveState.h"
#include "qorvel/hangout/HangoutDetector.h"
#include "qorvel/processor/MotionProcessor.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <vector>

namespace {

constexpr std::int64_t kMinute = 60000;
constexpr std::uint32_t kHuge = UINT32_MAX;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::uint64_t kStreamLength = 1000;

/// Traits of a kind of stream.
constexpr unsigned kEdges = 1;     // positions on and close to the edges of cells
constexpr unsigned kLate = 2;      // events out of order
constexpr unsigned kRepeating = 4; // equal times
constexpr unsigned kExtreme = 8;   // both ends of time
constexpr unsigned kWild = 16;     // NaN, infinities, and factors that no validator lets through

using TimeBoxes = std::vector<TimeBoxSpec>;
using Depths = std::vector<std::uint32_t>;

/// What the configurations and events of a stream are drawn from.
struct Kind {
    const char* name;
    unsigned traits;
    std::int64_t step; ///< typical time from event to event, ms
    double reach;      ///< how far an entity strays from its place, degrees
    Depths depths;
    TimeBoxes timeBoxes;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

std::vector<Kind> kinds() {
    const TimeBoxes fixed = {{3, "minutes"}, {15, "minutes"}, {1, "hours"}};
    const TimeBoxes calendar = {{1, "months"}, {5, "months"}, {10, "years"}, {1, "ever"}};
    const TimeBoxes any = {{1, "milliseconds"}, {7, "seconds"},         {0, "hours"},
                           {0, "months"},       {1, "nonsense"},        {1U << 31U, "seconds"},
                           {50, "days"},        {1U << 31U, "months"},  {3, "months"},
                           {1, "years"},        {1U << 31U, "minutes"}, {1, "ever"}};
    Depths all(131);
    std::iota(all.begin(), all.end(), 0U);
    all.insert(all.end(), {200, kHuge - 1, kHuge});
    return {{"Staying", 0, kMinute, 2e-4, {35, 40}, fixed},
            {"CellEdges", kEdges, kMinute, 5e-4, {30, 33, 35}, fixed},
            {"Jumping", kLate, kMinute, 0.02, {25, 35}, fixed},
            {"Late", kLate, kMinute / 3, 1e-4, {35}, fixed},
            {"Repeating", kRepeating, kMinute, 1e-4, {35, 36}, fixed},
            {"Calendar", kLate, 7200 * kMinute, 1e-4, {30, 35}, calendar},
            {"EndsOfTime", kExtreme, 1000, 1e-4, {35}, any},
            {"FewCells", kEdges, kMinute, 2.0, {1, 2, 3, 129}, fixed},
            {"AnyDepth", kEdges | kRepeating, kMinute, 5e-4, all, fixed},
            {"Wild", kExtreme | kRepeating | kWild, kMinute, 5e-4, all, any}};
}

/// Draws everything that one stream consists of.
class Stream : public world::Random {
public:
    Stream(const Kind& kind, std::uint64_t seed) : Random(seed, 0), kind_(kind) {
        for (Point& home : homes_) {
            home = pick<Point>({{48, 11}, {48, 11}, {0, 0}, {89.9999, 179.9999}, {-90, -180}});
        }
    }

    template <class T>
    T pick(const std::vector<T>& from) {
        return from[static_cast<std::size_t>(whole(0, static_cast<std::int64_t>(from.size()) - 1))];
    }

    Event event() {
        const auto entity = static_cast<std::size_t>(whole(0, 3));
        const Point at = position(homes_[entity]);
        const auto timeTolerance = pick<std::int64_t>({0, 0, 0, 1, kind_.step, chance(0.1) * -1});
        return {pick<std::int32_t>({1, 1, 2, -1}),
                entity,
                pick<std::int32_t>({1, 1, 1, 2, 0}),
                at.latitude,
                at.longitude,
                tame({0.0, 5.0, 20.0, 60.0, 150.0, 1e5}),
                time(),
                static_cast<std::uint32_t>(timeTolerance)};
    }

    SpaceTimeBoxSpec resolution() {
        return {SpaceBoxSpec(pick(kind_.depths)), pick(kind_.timeBoxes)};
    }

    /// Streams of presence, of hangouts, and of both in one.
    bool drawPresence() { return chance(presenceShare_); }

    double factor() { return tame({0.0, 0.5, 1.0}); }

    STBCompressionSpec spec() {
        const auto step = static_cast<std::uint32_t>(kind_.step);
        return {pick<std::uint32_t>({0, 0, 1, kHuge}),
                1,
                pick<std::uint32_t>({0, 1, 2, 2, 2, 3}),
                pick<std::uint32_t>({0, 1, 3 * step, 10 * step, 40 * step, kHuge}),
                pick<std::uint32_t>({0, 1, 1, 2, 4}),
                tame({0.0, 0.3, 0.5, 1.0})};
    }

    STBAssignmentRow row() {
        const Point& centre = homes_[0];
        const SpaceBox whole;
        const SpaceBox home(centre.latitude, centre.longitude, pick<std::uint32_t>({1, 20, 33}));
        return {pick<std::int32_t>({0, 0, 1, -1}),
                pick<std::int32_t>({1, 1, 1, 2, 0}),
                tame({20.0, 150.0, 1e9, 1e9}),
                pick<std::uint32_t>({1, kHuge, kHuge}),
                pick<std::int32_t>({0, 1, 2, 2, 2, 3}),
                pick<std::list<SpaceBox>>({{whole}, {whole}, {home}, {SpaceBox("zz"), home}, {}}),
                centre.latitude,
                centre.longitude,
                tame({1e9, 1e9, 1e9, 500.0}),
                factor(),
                factor()};
    }

    std::int64_t gcTime() {
        return chance(0.2) ? pick<std::int64_t>({INT64_MIN, 0, INT64_MAX})
                           : qorvel_detail::wrappingSubtract(now_, kind_.step * whole(-2, 20));
    }

private:
    struct Point {
        double latitude;
        double longitude;
    };

    bool has(unsigned trait) const { return (kind_.traits & trait) != 0; }

    /// A usual value; in a wild stream now and then none of them.
    double tame(const std::vector<double>& usual) {
        const bool wild = has(kWild) && chance(0.1);
        return wild ? pick<double>({kNan, kInfinity, -kInfinity, -1.0, 1e300, 2.5, -0.0})
                    : pick(usual);
    }

    Point position(Point& home) {
        if (has(kWild) && chance(0.1)) {
            return {pick<double>({kNan, 90.0, -91.0, 1e300}),
                    pick<double>({kNan, 180.0, 0.0, 1e-30})};
        }
        if (chance(0.1)) {
            home = near(home, 10 * kind_.reach);
        }
        const Point at = near(home, kind_.reach);
        return has(kEdges) ? Point{atEdge(at.latitude, 180), atEdge(at.longitude, 360)} : at;
    }

    Point near(const Point& point, double reach) {
        return {point.latitude + between(-reach, reach), point.longitude + between(-reach, reach)};
    }

    double atEdge(double coordinate, double world) {
        const int bits = static_cast<int>(std::min(pick(kind_.depths) / 2, 24U));
        const double size = std::ldexp(world, -bits);
        return std::round(coordinate / size) * size + pick<double>({0, 0, 1e-13, -1e-13, 1e-4});
    }

    std::int64_t time() {
        if (has(kExtreme) && chance(0.1)) {
            const auto end = pick<std::int64_t>(
                {INT64_MIN, -2208988800000, -5000, 0, 5000, 253402300799000, INT64_MAX});
            now_ = qorvel_detail::wrappingAdd(end, chance(0.5) ? whole(-300, 300) * kind_.step : 0);
        }
        if (!has(kRepeating) || chance(0.4)) {
            now_ = qorvel_detail::wrappingAdd(now_, whole(0, kind_.step * 3 / 2));
        }
        return has(kLate) && chance(0.3) ? now_ - whole(0, kind_.step * 20) : now_;
    }

    const Kind& kind_;
    std::array<Point, 4> homes_;
    std::int64_t now_ = 1600000000000;
    double presenceShare_ = pick<double>({0.0, 0.5, 1.0});
};

template <class Side>
std::vector<std::uint64_t> countsOf(const Side& side) {
    std::vector<std::uint64_t> counts = {side.getEntityCount(), side.getCellCount(),
                                         side.getItemCount()};
    if constexpr (requires { side.getDetectorCount(); }) {
        counts.push_back(side.getDetectorCount());
        counts.push_back(side.getRecentHangoutCount());
    }
    return counts;
}

/// One thing twice: as the library has it and as the model has it.
template <class Library, class Model>
struct Pair {
    Library real;
    Model model;
    std::list<STBCompressedEvent> realOut;
    std::list<STBCompressedEvent> modelOut;

    /// Runs `operation(side, out) -> bool` on both sides and compares.
    template <class Record, class Operation>
    void expectSame(std::list<Record>& ofLibrary, std::list<Record>& ofModel, Operation operation) {
        const bool realResult = operation(real, ofLibrary);
        ASSERT_EQ(realResult, operation(model, ofModel));
        ASSERT_EQ("", model::difference(ofLibrary, ofModel));
        ASSERT_EQ(countsOf(real), countsOf(model));
    }
};

using Detectors = std::array<Pair<HangoutDetector, model::ModelDetector>, 3>;
using Processors = std::array<Pair<MotionProcessor, model::ModelProcessor>, 3>;

/// What a host does between events: copies, assignments (to itself too), ageing, and an `out` that
/// is kept, cleared, or filled with older records. Returns who gets the next event.
template <class Pairs>
auto& stir(Stream& stream, Pairs& pairs) {
    const auto any = [&]() -> auto& {
        return pairs[static_cast<std::size_t>(stream.whole(0, 2))];
    };
    if (stream.chance(0.01)) {
        any() = any();
    }
    if (stream.chance(0.01)) {
        const auto copy(any());
        any() = copy;
    }
    auto& pair = stream.chance(0.8) ? pairs[0] : any();
    if (stream.chance(0.02)) {
        const std::int64_t time = stream.gcTime();
        pair.real.gc(time);
        pair.model.gc(time);
    }
    if (stream.chance(0.02)) {
        const auto& source = any();
        pair.realOut = source.realOut;
        pair.modelOut = source.modelOut;
    } else if (stream.chance(0.7) || pair.modelOut.size() > 30) {
        pair.realOut.clear();
        pair.modelOut.clear();
    }
    return pair;
}

struct Tables {
    explicit Tables(Stream& stream) {
        for (const std::int32_t id : {0, 1, 2, 1}) {
            masters.emplace_back(id, stream.resolution());
        }
        for (std::int64_t i = stream.whole(1, 5); i > 0; --i) {
            rows.push_back(stream.row());
            specs.push_back(stream.spec());
        }
        specs.push_back(specs.front()); // equal specs share a detector
    }

    std::list<STBMasterRow> masters;
    std::list<STBAssignmentRow> rows;
    std::list<STBCompressionSpec> specs;
};

/// Two processors with one configuration and one of its own.
Processors makeProcessors(Stream& stream) {
    const auto make = [&stream]() -> Processors::value_type {
        const Tables tables(stream);
        return {{tables.masters, tables.rows, tables.specs},
                {tables.masters, tables.rows, tables.specs},
                {},
                {}};
    };
    const auto first = make();
    return {first, first, make()};
}

using qorvel_port::FigureProcessor;

/// What comes as figures, with the fields that figures have.
class Figures : public qorvel_port::FigureSink {
public:
    void take(const qorvel_port::Figures& figures) override {
        STBCompressedEvent& record = records.emplace_back();
        record.eid = figures.eid;
        record.eventSequenceNumbers = {figures.eventCount, figures.firstSequenceNumber,
                                       figures.lastSequenceNumber};
        record.specPrimaryKeyId = figures.spec.primaryKeyId;
        record.masterId = figures.spec.masterId;
        record.stb = figures.stb;
        record.firstTime = figures.firstTime;
        record.endTime = figures.endTime;
        record.totalCount = figures.totalCount;
        record.beforeCount = figures.beforeCount;
        record.afterCount = figures.afterCount;
    }

    /// Forgets those whose like it returned before.
    std::list<STBCompressedEvent> takeNew() {
        records.remove_if([this](const STBCompressedEvent& record) {
            const SpaceTimeBox& box = record.stb;
            return !known_
                        .insert({record.eid, record.specPrimaryKeyId, box.toASCIIString(),
                                 box.getGeoHashBitDepth(), box.start, box.end})
                        .second;
        });
        return std::move(records);
    }

    bool has(const STBCompressedEvent& record) const {
        return std::any_of(records.begin(), records.end(), [&](const STBCompressedEvent& other) {
            return model::difference(std::list{record}, std::list{other}).empty();
        });
    }

    std::list<STBCompressedEvent> records;

private:
    std::set<std::tuple<std::uint64_t, std::uint32_t, std::string, std::uint32_t, std::int64_t,
                        std::int64_t>>
        known_;
};

/// A processor, and the same as figures: each record once, and at every event.
struct Figured {
    explicit Figured(Stream& stream)
        : tables(stream), kind(stream.drawPresence() ? FigureProcessor::Kind::presence
                                                     : FigureProcessor::Kind::hangouts),
          real(tables.masters, tables.rows, tables.specs),
          first(make(FigureProcessor::Wanted::first)), every(make(FigureProcessor::Wanted::every)),
          unfinished(make(FigureProcessor::Wanted::unfinished)) {}

    FigureProcessor make(FigureProcessor::Wanted wanted) const {
        return {kind, wanted, tables.masters, tables.rows, tables.specs};
    }

    void gc(std::int64_t time) {
        real.gc(time);
        first.gc(time);
        first.forgetReportedBefore(INT64_MIN); // nothing is that old
        every.gc(time);
        unfinished.gc(time);
    }

    /// By the library: the first event that reaches a spec makes its detector.
    static bool reaches(const STBAssignmentRow& row, const STBCompressionSpec& spec,
                        const Event& event) {
        MotionProcessor probe({STBMasterRow(row.masterId, SpaceTimeBoxSpec())}, {row}, {spec});
        std::list<STBCompressedEvent> none;
        probe.processEventForPresenceCompression(event, none);
        return probe.getDetectorCount() != 0;
    }

    void expectRowTests(const Event& event) const {
        for (const STBAssignmentRow& row : tables.rows) {
            const STBCompressionSpec any(0, 0, static_cast<std::uint32_t>(row.masterId), 1, 1, 1.0);
            const bool applies = reaches(row, any, event);
            EXPECT_EQ(qorvel_port::applies(row, event), applies);
            const STBCompressionSpec& spec = tables.specs.front();
            EXPECT_EQ(applies && qorvel_port::leadsTo(row, spec, event), reaches(row, spec, event));
            EXPECT_EQ(qorvel_port::passes(qorvel_port::RowTest::secondaryKey, row, event),
                      row.secondaryKeyId == event.secondaryKeyId);
        }
    }

    /// Of the processor, without what figures do not tell.
    std::list<STBCompressedEvent> reported(const Event& event) {
        std::list<STBCompressedEvent> records;
        kind == FigureProcessor::Kind::presence
            ? real.processEventForPresenceCompression(event, records)
            : real.processEventForHangout(event, records);
        for (STBCompressedEvent& record : records) {
            auto& numbers = record.eventSequenceNumbers;
            numbers = {numbers.size(), numbers.front(), numbers.back()};
            record.eventSecondaryKeyId = 0;
            record.lastTimeBefore = record.firstTimeAfter = 0;
        }
        return records;
    }

    Tables tables;
    FigureProcessor::Kind kind;
    MotionProcessor real;
    FigureProcessor first;
    FigureProcessor every;
    FigureProcessor unfinished;
    Figures ofEvery;
};

class ModelBeside : public testing::TestWithParam<Kind> {
protected:
    /// Runs streams of the kind. `step` is called once an event and returns how much came out:
    /// there must be plenty, or nothing was compared.
    template <class MakeState, class Step>
    void runStreams(MakeState makeState, Step step) {
        const std::uint64_t events = wantedEvents(10 * kStreamLength);
        std::uint64_t seed = setting("QORVEL_SEED", 1);
        std::uint64_t results = 0;
        for (std::uint64_t done = 0; done < events; ++seed) {
            Stream stream(GetParam(), seed);
            auto state = makeState(stream);
            for (std::uint64_t i = 0; i < kStreamLength; ++i, ++done) {
                results += step(stream, state);
                ASSERT_FALSE(HasFatalFailure()) << "QORVEL_SEED=" << seed << ", event " << i;
            }
        }
        RecordProperty("results", std::to_string(results));
        EXPECT_GT(results, events / 500) << "streams before QORVEL_SEED=" << seed;
    }
};

TEST_P(ModelBeside, Detectors) {
    const auto makeDetectors = [](Stream&) { return Detectors(); };
    runStreams(makeDetectors, [](Stream& stream, Detectors& detectors) {
        auto& pair = stir(stream, detectors);
        const Event event = stream.event();
        const STBCompressionSpec spec = stream.spec();
        const SpaceTimeBoxSpec boxes = stream.resolution();
        const double timeFactor = stream.factor();
        const double factor = stream.factor();
        const bool presence = stream.drawPresence();
        const std::size_t before = pair.modelOut.size();
        pair.expectSame(pair.realOut, pair.modelOut, [&](auto& side, auto& out) {
            if (presence) {
                return side.processEventPresenceCompression(event, timeFactor, factor, spec, boxes,
                                                            out);
            }
            return side.processEventDwellTime(event, timeFactor, factor, spec, boxes, out);
        });
        return pair.modelOut.size() - before;
    });
}

TEST_P(ModelBeside, Processors) {
    runStreams(makeProcessors, [](Stream& stream, Processors& processors) {
        auto& pair = stir(stream, processors);
        const Event event = stream.event();
        const bool presence = stream.drawPresence();
        pair.expectSame(pair.realOut, pair.modelOut, [&](auto& side, auto& out) {
            return presence ? side.processEventForPresenceCompression(event, out)
                            : side.processEventForHangout(event, out);
        });
        return pair.modelOut.size();
    });
}

qorvel_port::EventColumns columnsOf(const Event& event) {
    return {1,
            &event.primaryKeyId,
            &event.secondaryKeyId,
            &event.latitude,
            &event.longitude,
            &event.spaceTolerance,
            &event.time,
            event.timeTolerance};
}

TEST_P(ModelBeside, Figures) {
    const auto make = [](Stream& stream) { return std::make_unique<Figured>(stream); };
    runStreams(make, [](Stream& stream, std::unique_ptr<Figured>& figured) {
        if (stream.chance(0.02)) {
            figured->gc(stream.gcTime());
        }
        const Event event = stream.event();
        const std::list<STBCompressedEvent> reported = figured->reported(event);
        Figures ofFirst;
        figured->first.process(event, ofFirst);
        figured->every.process(event, figured->ofEvery);
        EXPECT_EQ("", model::difference(reported, ofFirst.records));
        Figures ofUnfinished;
        figured->unfinished.process(event, ofUnfinished);
        for (const STBCompressedEvent& record : figured->ofEvery.records) {
            EXPECT_TRUE(ofUnfinished.has(record)); // what is enough is a part of it
        }
        EXPECT_EQ("", model::difference(reported, figured->ofEvery.takeNew()));
        std::list<SpaceTimeBox> boxes;
        figured->real.getSTB(event, boxes);
        std::vector<qorvel_port::BoxFigures> figures;
        figured->every.boxes(columnsOf(event), figures);
        std::list<SpaceTimeBox> told;
        for (const qorvel_port::BoxFigures& box : figures) {
            told.emplace_back(SpaceBox(box.first, box.second, box.depth),
                              TimeBox(box.start, box.end));
        }
        EXPECT_EQ("", model::difference(boxes, told));
        figured->expectRowTests(event);
        return reported.size();
    });
}

template <class Side>
std::string stateOf(const Side& side) {
    std::ostringstream out;
    EXPECT_TRUE(saveState(side, out));
    return out.str();
}

/// Replaces it by a new one that goes on with its state.
template <class Side>
void carry(Side& side, Side successor) {
    std::stringstream state(stateOf(side) + "next");
    std::stringstream errors;
    ASSERT_TRUE(loadState(successor, state, errors)) << errors.str();
    ASSERT_EQ(stateOf(successor) + "next", state.str());
    ASSERT_EQ(state.get(), 'n'); // and no further
    side = successor;
}

/// Two of the same, of which one is carried elsewhere again and again.
struct Carried {
    explicit Carried(Stream& stream)
        : tables(stream), whole(tables.masters, tables.rows, tables.specs), cut(whole) {
        cut = fresh();
    }

    MotionProcessor fresh() const { return {tables.masters, tables.rows, tables.specs}; }

    Tables tables;
    MotionProcessor whole;
    MotionProcessor cut;
    std::array<HangoutDetector, 2> detectors;
};

TEST_P(ModelBeside, CarriedStates) {
    const auto make = [](Stream& stream) { return std::make_unique<Carried>(stream); };
    runStreams(make, [](Stream& stream, std::unique_ptr<Carried>& sides) {
        if (stream.chance(0.02)) {
            carry(sides->cut, sides->fresh());
            carry(sides->detectors[1], HangoutDetector());
            EXPECT_EQ(stateOf(sides->whole), stateOf(sides->cut));
        }
        if (stream.chance(0.02)) {
            const std::int64_t time = stream.gcTime();
            sides->whole.gc(time);
            sides->cut.gc(time);
        }
        const Event event = stream.event();
        const bool presence = stream.drawPresence();
        std::list<STBCompressedEvent> out[4];
        const std::list<STBCompressedEvent> older(stream.chance(0.1) ? 1 : 0); // of another's key
        for (const int side : {0, 1}) {
            MotionProcessor& processor = side == 0 ? sides->whole : sides->cut;
            out[side] = older;
            presence ? processor.processEventForPresenceCompression(event, out[side])
                     : processor.processEventForHangout(event, out[side]);
            sides->detectors[static_cast<std::size_t>(side)].processEventDwellTime(
                event, 1.0, 1.0, sides->tables.specs.front(), sides->tables.masters.front().stbSpec,
                out[2 + side]);
        }
        EXPECT_EQ("", model::difference(out[0], out[1]));
        EXPECT_EQ("", model::difference(out[2], out[3]));
        EXPECT_EQ(countsOf(sides->whole), countsOf(sides->cut));
        EXPECT_EQ(countsOf(sides->detectors[0]), countsOf(sides->detectors[1]));
        return out[0].size() + out[2].size();
    });
}

TEST_P(ModelBeside, Boxes) {
    runStreams(makeProcessors, [](Stream& stream, Processors& processors) {
        const Event event = stream.event();
        std::list<SpaceTimeBox> boxes[2] = {{SpaceTimeBox()}, {SpaceTimeBox()}};
        std::list<ExtendedSTB> extended[2] = {{ExtendedSTB()}, {ExtendedSTB()}};
        processors[0].expectSame(boxes[0], boxes[1], [&](const auto& side, auto& out) {
            return side.getSTB(event, out);
        });
        processors[0].expectSame(extended[0], extended[1], [&](const auto& side, auto& out) {
            return side.getExtendedSTB(event, out);
        });
        return boxes[0].size() - 1;
    });
}

INSTANTIATE_TEST_SUITE_P(Streams, ModelBeside, testing::ValuesIn(kinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

/// What the streams are too small for: more boxes of one event than are compared one by one, and
/// more reports than stay in the processor's own cache.
TEST(ModelBesideInBulk, BoxesAndReports) {
    std::list<STBMasterRow> masters;
    std::list<STBAssignmentRow> rows;
    for (std::int32_t id = 0; id < 8; ++id) { // each depth twice
        const SpaceBoxSpec cells(28U + 2U * (static_cast<std::uint32_t>(id) % 4U));
        masters.emplace_back(id, SpaceTimeBoxSpec(cells, TimeBoxSpec(1, "hours")));
        rows.push_back({0, 1, 1e9, kHuge, id, {SpaceBox()}, 48.0, 11.0, 1e9, 1.0, 1.0});
    }
    const std::list<STBCompressionSpec> specs = {{0, 1, 0, 1, 1, 0.5}};
    MotionProcessor real(masters, rows, specs);
    model::ModelProcessor model(masters, rows, specs);
    Event event(1, 0, 1, 48.0, 11.0, 1e5, 100 * kMinute, 60 * kMinute);
    std::list<SpaceTimeBox> boxes[2];
    std::list<ExtendedSTB> extended[2];
    EXPECT_TRUE(real.getSTB(event, boxes[0]) && model.getSTB(event, boxes[1]));
    EXPECT_TRUE(real.getExtendedSTB(event, extended[0]) &&
                model.getExtendedSTB(event, extended[1]));
    EXPECT_EQ("", model::difference(boxes[0], boxes[1]));
    EXPECT_EQ("", model::difference(extended[0], extended[1]));
    EXPECT_EQ(boxes[0].size(), 72U);
    event.spaceTolerance = 0;
    for (std::uint64_t i = 0; i < 24000; ++i) {
        event.eid = i % 12000;
        std::list<STBCompressedEvent> records[2];
        real.processEventForPresenceCompression(event, records[0]);
        model.processEventForPresenceCompression(event, records[1]);
        ASSERT_EQ("", model::difference(records[0], records[1])) << i;
    }
    EXPECT_EQ(countsOf(real), countsOf(model));
}

} // namespace
