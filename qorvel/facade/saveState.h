#ifndef QORVEL_FACADE_SAVESTATE_H
#define QORVEL_FACADE_SAVESTATE_H

#include "qorvel/config.h"
#include "qorvel/hangout/HangoutDetector.h"
#include "qorvel/processor/MotionProcessor.h"

#include <ostream>

QORVEL_BEGIN_NAMESPACE

/// Writes all that a processor remembers: series and last events of all detectors, and what was
/// reported. The processor that loads it (see loadState) goes on as this one would: the same calls
/// give the same records in the same order. docs/state-format.md describes the bytes.
///
/// What the registries have named (entities, keys, masters) is written by name, so that the bytes
/// mean the same in another process, whose numbers are others; numbers that the host has made
/// itself are written as numbers. Sequence numbers always are. The same state gives the same bytes.
///
/// @param out  a binary stream. All is made in memory first and written at once.
/// @return false when the stream failed
///
/// Locks: QorvelMotionProcessorAPI::__stbMutex and those of the detectors, as other calls do.
/// Throws when memory runs out; the locks are then left held, as by other calls.
QORVEL_EXPORT bool saveState(const MotionProcessor& processor, std::ostream& out);
/// The same of a detector, whose lock is taken too.
QORVEL_EXPORT bool saveState(const HangoutDetector& detector, std::ostream& out);

QORVEL_END_NAMESPACE

#endif
