// Detectors and whole processors on a stream of events, each beside the straightforward model: all
// results, every field of every record and the counts of the state must agree after every event.

#include "Bytes.h"
#include "law.h"
#include "testing/model/ModelDetector.h"
#include "testing/model/ModelProcessor.h"
#include "testing/model/compare.h"

#include "qorvel/base/bits.h"
#include "qorvel/qorvel.h"

#include <array>

namespace {

using API = QorvelMotionProcessorAPI;

constexpr std::uint32_t kHuge = UINT32_MAX;

/// Draws what a stream consists of; mostly, and from nothing but zeros, such that records come of
/// it.
class Stream : public Bytes {
public:
    using Bytes::Bytes;

    double share(double range) { return pick({range, 0.3 * range, 0.0, range, number(range)}); }

    SpaceTimeBoxSpec resolution() {
        const std::uint32_t depth = pick({35U, 40U, 30U, 33U, 128U, count()});
        TimeBoxSpec time(pick({1U, 3U, 15U, count()}), "minutes");
        time.unit = pick({2U, 2U, 3U, 5U, 6U, 7U, count()});
        return {SpaceBoxSpec(depth), time};
    }

    STBCompressionSpec spec() {
        const std::uint32_t window = pick({60000U, 600000U, 0U, 3600000U, kHuge, count()});
        const std::uint32_t master = pick({1U, 1U, 2U, 2U, 0U, 3U});
        const std::uint32_t minCount = pick({1U, 2U, 1U, 4U, 0U});
        const double ratio = pick({0.0, 0.5, share(1.0)});
        return {pick({0U, 0U, 1U, kHuge}), 1, master, window, minCount, ratio};
    }

    STBAssignmentRow row() {
        STBAssignmentRow row;
        row.primaryKeyId = pick({0, 0, 1, -1});
        row.secondaryKeyId = pick({1, 1, 1, 2, 0});
        row.masterId = pick({1, 1, 2, 2, 0, 3});
        row.maxSpaceTolerance = share(1000.0);
        row.maxTimeTolerance = pick({kHuge, 1U});
        row.latitude = latitude_ + within(1e-3);
        row.longitude = longitude_;
        row.radius = pick({1e9, 1e9, share(500.0)});
        row.spaceToleranceFactor = share(1.0);
        row.timeToleranceFactor = share(1.0);
        for (int i = pick({1, 1, 2, 3, 0}); i > 0; --i) {
            row.spaceBoxes.emplace_back(latitude_, longitude_, pick({0U, 1U, 20U, 33U, count()}));
        }
        return row;
    }

    Event event() {
        const std::uint64_t leap = take(1) % 16;
        latitude_ = leap == 0 ? number(90.0) : latitude_ + whole<std::int8_t>() * 1e-5;
        longitude_ = leap == 0 ? number(180.0) : longitude_ + whole<std::int8_t>() * 1e-5;
        time_ = leap == 1
                    ? pick({whole<std::int64_t>(), INT64_MAX, INT64_MIN, std::int64_t{0}})
                    : qorvel_detail::wrappingAdd(time_, std::int64_t{1000} * whole<std::int16_t>());
        const auto who = static_cast<std::uint32_t>(take(1));
        const std::uint32_t timeTolerance = who < 16 ? count() : who / 16 % 2;
        const double tolerance = (who & 32U) != 0 ? number(1e3) : 20.0 * (who >> 6U);
        return {(who & 4U) != 0 ? 2 : 1,
                who % 3,
                (who & 8U) != 0 ? 2 : 1,
                latitude_,
                longitude_,
                tolerance,
                time_,
                timeTolerance};
    }

    std::int64_t pastTime() {
        const std::int64_t age = count() * std::int64_t{60000};
        return pick({qorvel_detail::wrappingSubtract(time_, age), whole<std::int64_t>()});
    }

private:
    double latitude_ = number(90.0);
    double longitude_ = number(180.0);
    std::int64_t time_ = 1600000000000;
};

/// One thing twice: as the library has it and as the model has it.
template <class Library, class Model>
struct Pair {
    Library real;
    Model model;
    std::list<STBCompressedEvent> realOut;
    std::list<STBCompressedEvent> modelOut;

    /// Runs `operation(side, out)` on both.
    void expectSame(auto& ofLibrary, auto& ofModel, auto operation) {
        const bool found = operation(real, ofLibrary);
        LAW(found == operation(model, ofModel) && model::same(ofLibrary, ofModel));
        LAW(real.getEntityCount() == model.getEntityCount());
        LAW(real.getCellCount() == model.getCellCount());
        LAW(real.getItemCount() == model.getItemCount());
    }

    /// What a host does between events.
    void stir(Stream& stream, const Pair& other) {
        const std::uint64_t deed = stream.take(1);
        if (deed % 16 == 0) {
            const std::int64_t time = stream.pastTime();
            real.gc(time);
            model.gc(time);
        } else if (deed % 16 == 1) {
            *this = Pair(other);
        }
        if (deed >= 64 || modelOut.size() > 20) {
            realOut.clear();
            modelOut.clear();
        }
    }
};

void runDetectors(Stream& stream) {
    std::array<Pair<HangoutDetector, model::ModelDetector>, 2> detectors;
    while (!stream.empty()) {
        auto& pair = detectors[stream.take(1) % 8 == 0 ? 1 : 0];
        pair.stir(stream, detectors[0]);
        const Event event = stream.event();
        const STBCompressionSpec spec = stream.spec();
        const SpaceTimeBoxSpec boxes = stream.resolution();
        const double factor = stream.share(1.0);
        const double timeFactor = stream.share(1.0);
        const bool presence = stream.pick({true, false});
        pair.expectSame(pair.realOut, pair.modelOut, [&](auto& side, auto& out) {
            return presence
                       ? side.processEventPresenceCompression(event, timeFactor, factor, spec,
                                                              boxes, out)
                       : side.processEventDwellTime(event, timeFactor, factor, spec, boxes, out);
        });
    }
}

void fuzzEvent(auto& pair, const Event& event, bool presence) {
    std::stringstream errors;
    std::list<SpaceTimeBox> boxes[2];
    std::list<ExtendedSTB> extended[2];
    API::processEventForSTBs(event, pair.real, boxes[0], errors);
    pair.model.getSTB(event, boxes[1]);
    LAW(model::same(boxes[0], boxes[1]));
    pair.expectSame(extended[0], extended[1],
                    [&](const auto& side, auto& out) { return side.getExtendedSTB(event, out); });
    (presence ? API::processEventForPresenceCompression
              : API::processEventForHangouts)(event, pair.real, pair.realOut, errors);
    LAW(presence ? pair.model.processEventForPresenceCompression(event, pair.modelOut)
                 : pair.model.processEventForHangout(event, pair.modelOut));
    API::gc(pair.real, INT64_MIN, errors);
    pair.model.gc(INT64_MIN);
    pair.expectSame(pair.realOut, pair.modelOut, [](auto&, auto&) { return true; });
    LAW(pair.real.getDetectorCount() == pair.model.getDetectorCount());
    LAW(pair.real.getRecentHangoutCount() == pair.model.getRecentHangoutCount());
}

/// Two with one configuration, which share nothing until one becomes the other's copy.
void runProcessors(Stream& stream) {
    std::list<STBMasterRow> masters;
    std::list<STBAssignmentRow> rows;
    std::list<STBCompressionSpec> specs;
    for (const std::int32_t id : {0, 1, 2, 1}) {
        masters.emplace_back(id, stream.resolution());
    }
    for (int i = stream.pick({3, 1, 2, 5, 0}); i > 0; --i) {
        rows.push_back(stream.row());
        specs.push_back(stream.spec());
    }
    const Pair<MotionProcessor, model::ModelProcessor> pair{
        {masters, rows, specs}, {masters, rows, specs}, {}, {}};
    std::array processors = {pair, pair};
    while (!stream.empty()) {
        auto& chosen = processors[stream.take(1) % 8 == 0 ? 1 : 0];
        chosen.stir(stream, processors[0]);
        const Event event = stream.event();
        fuzzEvent(chosen, event, stream.pick({true, false}));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Stream stream(data, size);
    stream.pick({runProcessors, runDetectors})(stream);
    return 0;
}
