#include "engine/run/detail/Story.h"

#include "engine/run/detail/RegistryLock.h"

#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>

namespace qorvel_engine::detail {

namespace {

MotionProcessor processorOf(const Tables& library) {
    const RegistryLock lock;
    return makeProcessor(library);
}

} // namespace

EasyDetector::EasyDetector(const STBCompressionSpec& spec, const STBMasterRow& master,
                           ProcessorKind use)
    : process_(use == ProcessorKind::hangouts ? &HangoutDetector::processEventDwellTime
                                              : &HangoutDetector::processEventPresenceCompression),
      spec_(spec), easySpec_(spec), master_(master) {
    easySpec_.minCount = 1;
    easySpec_.ratio = 0.0;
    if (use == ProcessorKind::hangouts) {
        easySpec_.windowMillis = 0; // only how long a stay must be depends on it
    }
}

void EasyDetector::take(const Event& event, const STBAssignmentRow& row) {
    isReached_ = true;
    figures_.clear(); // by several ways, the series only grow
    (detector_.*process_)(event, row.timeToleranceFactor, row.spaceToleranceFactor, easySpec_,
                          master_.stbSpec, figures_);
}

Story::Story(const Tables& library) : library_(library), processor_(processorOf(library)) {
    for (const STBCompressionSpec& spec : library.specs()) {
        const auto same =
            std::find_if(detectors_.begin(), detectors_.end(),
                         [&spec](const EasyDetector& other) { return other.spec() == spec; });
        bySpec_.push_back(
            same != detectors_.end()
                ? &*same
                : &detectors_.emplace_back(spec, library.masterOf(spec), library.kind()));
    }
}

void Story::take(const Event& event) {
    for (EasyDetector& detector : detectors_) {
        detector.begin();
    }
    for (const STBAssignmentRow& row : library_.assignments()) {
        auto detector = bySpec_.begin();
        for (const STBCompressionSpec& spec : library_.specs()) {
            if (qorvel_port::applies(row, event) && qorvel_port::leadsTo(row, spec, event)) {
                (*detector)->take(event, row);
            }
            ++detector;
        }
    }
    report(event);
}

std::optional<std::uint64_t> Story::rowOf(const STBCompressedEvent& record) const {
    const auto known = reported_.find({record.specPrimaryKeyId, record.stb});
    return known == reported_.end() ? std::nullopt : std::optional(known->second);
}

void Story::report(const Event& event) {
    found_.clear();
    if (library_.kind() == ProcessorKind::hangouts) {
        processor_.processEventForHangout(event, found_);
    } else {
        processor_.processEventForPresenceCompression(event, found_);
    }
    for (const STBCompressedEvent& record : found_) {
        reported_.try_emplace({record.specPrimaryKeyId, record.stb}, event.sequenceNumber);
    }
}

} // namespace qorvel_engine::detail
