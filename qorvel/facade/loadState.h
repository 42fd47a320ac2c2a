#ifndef QORVEL_FACADE_LOADSTATE_H
#define QORVEL_FACADE_LOADSTATE_H

#include "qorvel/config.h"
#include "qorvel/hangout/HangoutDetector.h"
#include "qorvel/processor/MotionProcessor.h"

#include <istream>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// Takes a state in place of what the processor remembers. It has to have the configuration of the
/// one that was saved, by names and by numbers. Its detectors are new ones, which it shares with no
/// copy. Reads to the end of the state and no further.
///
/// @return false, with one tag appended to `errors` and the processor as before, when the state
///         cannot be taken:
///
/// - "ERROR_STATE_1,": what is read does not begin as a state;
/// - "ERROR_STATE_2,": it is of a newer format, which this version cannot read;
/// - "ERROR_STATE_3,": it is cut short;
/// - "ERROR_STATE_4,": it is damaged, a check sum is wrong or a value that cannot be;
/// - "ERROR_STATE_5,": it is the state of something else than a processor;
/// - "ERROR_STATE_6,": it was saved with another configuration;
/// - "ERROR_STATE_7,": it has a section that this version does not know and may not leave out.
///
/// Memory: a small multiple of the bytes that there are, whatever they say. Locks, and memory that
/// runs out: as saveState. Names of entities that are new are registered.
QORVEL_EXPORT bool loadState(MotionProcessor& processor, std::istream& in,
                             std::stringstream& errors);
/// The same for a detector, whose copies keep what they remember. A detector has no configuration.
QORVEL_EXPORT bool loadState(HangoutDetector& detector, std::istream& in,
                             std::stringstream& errors);

QORVEL_END_NAMESPACE

#endif
