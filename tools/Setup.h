#ifndef QORVEL_TOOLS_SETUP_H
#define QORVEL_TOOLS_SETUP_H

#include "tools/FixColumns.h"
#include "tools/Options.h"

#include "qorvel/qorvel.h"

#include <cstdint>
#include <sstream>
#include <string>

namespace host {

/// The library, configured for one run: one master row, one assignment row and, but for boxes, one
/// specification.
///
/// The assignment row takes every event: its primary key is "ANY", its area the whole world, its
/// radius more than half the earth's circumference, its largest tolerances those that can occur.
/// So each event reaches the one detector exactly once, and a host that drives a detector of its
/// own with every event sees what the processor's detector sees.
class Setup {
public:
    /// Throws Failure(usage), in words and with the library's tags, when the library objects.
    explicit Setup(const Options& options);

    MotionProcessor& processor() { return processor_; }
    const STBCompressionSpec& spec() const { return spec_; }
    const SpaceTimeBoxSpec& boxSpec() const { return master_.stbSpec; }

    /// How far before an event's time the series that it touches are remembered, ms. What ended
    /// earlier is forgotten by that event itself, before it counts anything.
    std::int64_t lookBack() const { return lookBack_; }

    /// Makes the fix an event. Returns the library's tags if it objects, else an empty text.
    std::string makeEvent(const Fix& fix, Event& event);

private:
    void createAssignment(const Options& options);
    void createSpec(const Options& options);
    void createProcessor(const Options& options);

    double defaultTolerance_;
    std::uint32_t timeTolerance_;
    std::stringstream errors_;
    STBMasterRow master_;
    STBAssignmentRow assignment_;
    STBCompressionSpec spec_;
    MotionProcessor processor_;
    std::int64_t lookBack_ = 0;
};

} // namespace host

#endif
