#ifndef QORVEL_PROGRAM_COMMANDS_EVENTMAKER_H
#define QORVEL_PROGRAM_COMMANDS_EVENTMAKER_H

#include "program/input/Fix.h"

#include "qorvel/qorvel.h"

#include <cstdint>
#include <sstream>
#include <string>

namespace program {

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

} // namespace program

#endif
