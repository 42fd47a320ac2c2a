#include "program/input/GrowingInput.h"

#include "program/Failure.h"
#include "program/input/FixSource.h"

namespace program {

GrowingInput& growingInput(FixSource& source) {
    GrowingInput* const growing = source.growing();
    if (growing == nullptr) {
        throw Failure(ExitCode::usage, "--state goes on with files of CSV or NDJSON, not packed; " +
                                           source.name() +
                                           " cannot be rewound to where a run ended");
    }
    return *growing;
}

} // namespace program
