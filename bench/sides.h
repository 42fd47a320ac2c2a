#ifndef QORVEL_BENCH_SIDES_H
#define QORVEL_BENCH_SIDES_H

#include "bench/scenarios.h"
#include "testing/model/ModelProcessor.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"
#include "qorvel/processor/MotionProcessor.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <sstream>

/// The library and the model behind the same calls, so that one body drives both.
namespace sides {

using scenarios::Mode;
using scenarios::Scenario;

/// The library as a host uses it: through the facade.
class Library {
public:
    explicit Library(const Scenario& scenario) {
        QorvelMotionProcessorAPI::createMotionProcessorForPresenceCompression(
            scenario.masterRows, scenario.assignmentRows, scenario.specs, processor_, errors_);
    }

    void boxes(const Event& event, std::list<SpaceTimeBox>& out) {
        QorvelMotionProcessorAPI::processEventForSTBs(event, processor_, out, errors_);
    }
    void presence(const Event& event, std::list<STBCompressedEvent>& out) {
        QorvelMotionProcessorAPI::processEventForPresenceCompression(event, processor_, out,
                                                                     errors_);
    }
    void hangouts(const Event& event, std::list<STBCompressedEvent>& out) {
        QorvelMotionProcessorAPI::processEventForHangouts(event, processor_, out, errors_);
    }
    void gc(std::int64_t time) { QorvelMotionProcessorAPI::gc(processor_, time); }

private:
    std::stringstream errors_;
    MotionProcessor processor_;
};

class Model {
public:
    explicit Model(const Scenario& scenario)
        : processor_(scenario.masterRows, scenario.assignmentRows, scenario.specs) {}

    void boxes(const Event& event, std::list<SpaceTimeBox>& out) { processor_.getSTB(event, out); }
    void presence(const Event& event, std::list<STBCompressedEvent>& out) {
        processor_.processEventForPresenceCompression(event, out);
    }
    void hangouts(const Event& event, std::list<STBCompressedEvent>& out) {
        processor_.processEventForHangout(event, out);
    }
    void gc(std::int64_t time) { processor_.gc(time); }

private:
    model::ModelProcessor processor_;
};

/// What a side finds for one event. Only the list of the scenario's mode is used.
struct Found {
    std::list<SpaceTimeBox> boxes;
    std::list<STBCompressedEvent> records;

    std::size_t size() const { return boxes.size() + records.size(); }
};

/// Feeds a scenario's events to one side, with gc as time moves on.
template <class Side>
class Run {
public:
    explicit Run(const Scenario& scenario)
        : scenario_(scenario), side_(scenario),
          nextGc_(scenario.events.front().time + scenario.gcInterval) {}

    void feed(const Event& event, Found& found) {
        if (scenario_.gcInterval != 0 && event.time >= nextGc_) {
            side_.gc(event.time - scenario_.gcAge);
            nextGc_ += scenario_.gcInterval;
        }
        switch (scenario_.mode) {
        case Mode::boxes:
            return side_.boxes(event, found.boxes);
        case Mode::presence:
            return side_.presence(event, found.records);
        case Mode::hangouts:
            return side_.hangouts(event, found.records);
        }
    }

    /// Feeds the scenario's events from `begin` on, each with a fresh list. How many results came?
    std::size_t feedPart(std::size_t begin, std::size_t end) {
        std::size_t results = 0;
        for (std::size_t i = begin; i < end; ++i) {
            Found found;
            feed(scenario_.events[i], found);
            results += found.size();
        }
        return results;
    }
    std::size_t feedAll() { return feedPart(0, scenario_.events.size()); }

    void gc(std::int64_t time) { side_.gc(time); }

private:
    const Scenario& scenario_;
    Side side_;
    std::int64_t nextGc_;
};

} // namespace sides

#endif
