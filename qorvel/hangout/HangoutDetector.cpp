#include "qorvel/hangout/HangoutDetector.h"

#include "qorvel/hangout/detail/HangoutDetectorState.h"
#include "qorvel/hangout/detail/RecordList.h"

QORVEL_BEGIN_NAMESPACE

HangoutDetector::HangoutDetector() : state_(std::make_unique<State>()) {}

HangoutDetector::HangoutDetector(const HangoutDetector& other)
    : state_(std::make_unique<State>(*other.state_)) {}

HangoutDetector& HangoutDetector::operator=(const HangoutDetector& other) {
    if (this != &other) {
        state_ = std::make_unique<State>(*other.state_);
    }
    return *this;
}

HangoutDetector::~HangoutDetector() = default;

void HangoutDetector::gc(const std::int64_t& time) {
    state_->gc(time);
}

bool HangoutDetector::processEventPresenceCompression(const Event& event,
                                                      const double& timeToleranceFactor,
                                                      const double& spaceToleranceFactor,
                                                      const STBCompressionSpec& spec,
                                                      const SpaceTimeBoxSpec& stbSpec,
                                                      std::list<STBCompressedEvent>& out) {
    qorvel_detail::RecordList sink(out);
    return state_->processPresence(event, qorvel_detail::Position(event.latitude, event.longitude),
                                   {timeToleranceFactor, spaceToleranceFactor, spec, stbSpec},
                                   sink);
}

bool HangoutDetector::processEventDwellTime(const Event& event, const double& timeToleranceFactor,
                                            const double& spaceToleranceFactor,
                                            const STBCompressionSpec& spec,
                                            const SpaceTimeBoxSpec& stbSpec,
                                            std::list<STBCompressedEvent>& out) {
    qorvel_detail::RecordList sink(out);
    return state_->processDwell(event, qorvel_detail::Position(event.latitude, event.longitude),
                                {timeToleranceFactor, spaceToleranceFactor, spec, stbSpec}, sink);
}

std::uint64_t HangoutDetector::getEntityCount() const {
    return state_->entityCount();
}

std::uint64_t HangoutDetector::getCellCount() const {
    return state_->cellCount();
}

std::uint64_t HangoutDetector::getItemCount() const {
    return state_->itemCount();
}

QORVEL_END_NAMESPACE
