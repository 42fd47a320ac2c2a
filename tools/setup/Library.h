#ifndef QORVEL_TOOLS_SETUP_LIBRARY_H
#define QORVEL_TOOLS_SETUP_LIBRARY_H

#include "tools/input/Fix.h"
#include "tools/setup/Config.h"

#include "qorvel/qorvel.h"

#include <cstdint>
#include <list>
#include <sstream>
#include <string>

namespace host {

/// A configuration as the library's records, and processors made of them.
class Library {
public:
    /// Throws Failure(usage) with what checkConfig finds when that is an error.
    Library(const Config& config, Use use);

    /// A new processor, which shares nothing with others. Any thread may call it.
    MotionProcessor makeProcessor() const;

    Use use() const { return use_; }
    const std::list<STBMasterRow>& masters() const { return masters_; }
    const std::list<STBAssignmentRow>& assignments() const { return assignments_; }
    const std::list<STBCompressionSpec>& specs() const { return specs_; }

    /// How far before an event's time the series that it touches are remembered, ms: the longest
    /// of all specs. What ended earlier is forgotten by that event itself, before it counts
    /// anything. -1 for boxes, which remember nothing.
    std::int64_t lookBack() const;

    /// The master row on whose boxes a spec of this configuration works.
    const STBMasterRow& masterOf(const STBCompressionSpec& spec) const;

private:
    Use use_;
    std::list<STBMasterRow> masters_;
    std::list<STBAssignmentRow> assignments_;
    std::list<STBCompressionSpec> specs_;
};

/// What the input does not say of a fix.
struct EventOptions {
    double defaultTolerance = 30.0;  ///< metres, where a row has no accuracy
    std::uint32_t timeTolerance = 0; ///< ms, 0 or 1
};

/// Makes events of fixes. One a thread.
class EventMaker {
public:
    explicit EventMaker(const EventOptions& options) : options_(options) {}

    /// A fix without a primary key has "ANY". Returns the library's tags if it objects, else an
    /// empty text.
    std::string make(const Fix& fix, Event& event);

private:
    EventOptions options_;
    std::stringstream errors_;
};

} // namespace host

#endif
