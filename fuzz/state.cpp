// Anything as a state of a detector and of a processor: it is refused, or it is taken, gives the
// same bytes again and again, and work goes on with it.

#include "law.h"
#include "mendState.h"

#include "qorvel/qorvel.h"

#include <cstdint>
#include <string>

namespace {

template <class Side>
std::string stateOf(const Side& side) {
    std::ostringstream out;
    LAW(saveState(side, out));
    return out.str();
}

/// True if it was taken; the same state then gives the same bytes.
template <class Side>
bool load(Side& side, const std::string& bytes) {
    const std::string before = stateOf(side);
    std::stringstream in(bytes);
    std::stringstream errors;
    const bool isTaken = loadState(side, in, errors);
    LAW(isTaken == errors.str().empty());
    const std::string after = stateOf(side);
    if (isTaken) {
        std::stringstream again(after);
        LAW(loadState(side, again, errors) && stateOf(side) == after);
    } else {
        LAW(after == before);
    }
    return isTaken;
}

Event eventAt(std::int64_t time) {
    return {1, 0, 0, 48.0, 11.0, 10.0, time, 0};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (size > 0 && data[size - 1] % 8 != 0) {
        mendCheckSums(bytes);
    }
    const STBMasterRow master(0, {SpaceBoxSpec(35), TimeBoxSpec(1, "hours")});
    const STBAssignmentRow row(0, 0, 1e9, 1, 0, {SpaceBox()}, 0.0, 0.0, 1e9, 1.0, 1.0);
    const STBCompressionSpec spec(0, 0, 0, 600000, 1, 0.5);
    std::list<STBCompressedEvent> records;
    HangoutDetector detector;
    if (load(detector, bytes)) {
        for (const std::int64_t time : {std::int64_t{0}, INT64_MAX, INT64_MIN}) {
            detector.processEventDwellTime(eventAt(time), 1.0, 1.0, spec, master.stbSpec, records);
            detector.processEventPresenceCompression(eventAt(time), 1.0, 1.0, spec, master.stbSpec,
                                                     records);
            detector.gc(time);
        }
    }
    MotionProcessor processor({master}, {row}, {spec});
    if (load(processor, bytes)) {
        processor.processEventForHangout(eventAt(0), records);
        processor.gc(0);
    }
    return 0;
}
