#include "qorvel/processor/MotionProcessor.h"

#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/processor/detail/MotionProcessorState.h"

QORVEL_BEGIN_NAMESPACE

using qorvel_detail::Configuration;
using qorvel_detail::DetectorState;

namespace {

std::shared_ptr<const Configuration>
configure(const std::list<STBMasterRow>& masterRows,
          const std::list<STBAssignmentRow>& assignmentRows,
          const std::list<STBCompressionSpec>& compressionSpecs) {
    qorvel_detail::GeodesyContext::get(); // the one-time set-up of the metrics
    return std::make_shared<const Configuration>(masterRows, assignmentRows, compressionSpecs);
}

} // namespace

MotionProcessor::MotionProcessor() : state_(std::make_unique<State>()) {}

MotionProcessor::MotionProcessor(const std::list<STBMasterRow>& masterRows,
                                 const std::list<STBAssignmentRow>& assignmentRows,
                                 const std::list<STBCompressionSpec>& compressionSpecs)
    : state_(std::make_unique<State>(configure(masterRows, assignmentRows, compressionSpecs))) {}

MotionProcessor::MotionProcessor(const MotionProcessor& other)
    : state_(std::make_unique<State>(*other.state_)) {}

MotionProcessor& MotionProcessor::operator=(const MotionProcessor& other) {
    if (this != &other) {
        state_ = std::make_unique<State>(*other.state_);
    }
    return *this;
}

MotionProcessor::~MotionProcessor() = default;

bool MotionProcessor::isValid(std::stringstream& errors) const {
    return state_->configuration().isValid(errors);
}

bool MotionProcessor::getSTB(const Event& event, std::list<SpaceTimeBox>& out) const {
    state_->getSTB(event, out);
    return true;
}

bool MotionProcessor::getExtendedSTB(const Event& event, std::list<ExtendedSTB>& out) const {
    state_->getExtendedSTB(event, out);
    return true;
}

bool MotionProcessor::processEventForPresenceCompression(const Event& event,
                                                         std::list<STBCompressedEvent>& out) {
    state_->process(event, &DetectorState::processPresence, out);
    return true;
}

bool MotionProcessor::processEventForHangout(const Event& event,
                                             std::list<STBCompressedEvent>& out) {
    state_->process(event, &DetectorState::processDwell, out);
    return true;
}

void MotionProcessor::gc(const std::int64_t& time) {
    state_->gc(time);
}

std::uint64_t MotionProcessor::getDetectorCount() const {
    return state_->detectorCount();
}

std::uint64_t MotionProcessor::getEntityCount() const {
    return state_->sumOverDetectors(&DetectorState::entityCount);
}

std::uint64_t MotionProcessor::getCellCount() const {
    return state_->sumOverDetectors(&DetectorState::cellCount);
}

std::uint64_t MotionProcessor::getItemCount() const {
    return state_->sumOverDetectors(&DetectorState::itemCount);
}

std::uint64_t MotionProcessor::getRecentHangoutCount() const {
    return state_->recentHangoutCount();
}

QORVEL_END_NAMESPACE
