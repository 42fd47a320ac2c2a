#ifndef QORVEL_PROGRAM_COMMANDS_MAKEPROCESSOR_H
#define QORVEL_PROGRAM_COMMANDS_MAKEPROCESSOR_H

#include "engine/setup/Tables.h"
#include "engine/setup/records.h"

#include "qorvel/processor/MotionProcessor.h"

#include <sstream>

namespace program {

/// A new processor, which shares nothing with others. Any thread may call it.
inline MotionProcessor makeProcessor(const qorvel_engine::Tables& tables) {
    std::stringstream errors;
    return qorvel_engine::makeProcessor(tables.kind(), tables.masters(), tables.assignments(),
                                        tables.specs(), errors);
}

} // namespace program

#endif
