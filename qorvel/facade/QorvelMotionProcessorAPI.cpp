#include "qorvel/facade/QorvelMotionProcessorAPI.h"

#include "qorvel/base/decode.h"
#include "qorvel/base/keys.h"
#include "qorvel/base/underLock.h"
#include "qorvel/geohash/UtilG2.h"
#include "qorvel/model/EIDName.h"
#include "qorvel/model/MasterName.h"
#include "qorvel/model/PrimaryKey.h"
#include "qorvel/model/SecondaryKey.h"
#include "qorvel/model/detail/check.h"

QORVEL_BEGIN_NAMESPACE

namespace {

constexpr int kSuccess = 0;

using qorvel_detail::kAnyKey;

/// What a call that builds something says when the result is invalid.
struct Failure {
    int code;
    const char* tag;
};

// The codes and the numbers in the tags run against each other; hosts rely on them as they are.
constexpr Failure kMasterRowFailure = {-1, "ERROR_CREATE_MASTER_1,"};
constexpr Failure kAssignmentRowFailure = {-2, "ERROR_CREATE_ASSIGN_1,"};
constexpr Failure kHangoutSpecFailure = {-3, "ERROR_CREATE_HANGOUT_1,"};
constexpr Failure kCompressionSpecFailure = {-4, "ERROR_CREATE_COMPRESSIONSPEC_1,"};
constexpr Failure kEventFailure = {-5, "ERROR_CREATE_EVENT_1,"};
constexpr Failure kHangoutProcessorFailure = {-6, "ERROR_CREATE_MOTIONPROCESSOR_1,"};
constexpr Failure kPresenceProcessorFailure = {-7, "ERROR_CREATE_MOTIONPROCESSOR_2,"};
constexpr Failure kBoxProcessorFailure = {-8, "ERROR_CREATE_MOTIONPROCESSOR_3,"};

/// Validates what a call has built: the validator's tags come first, the call's own last.
template <typename Built>
int finish(const Built& out, const Failure& failure, std::stringstream& errors) {
    const bool valid = out.isValid(errors);
    return qorvel_detail::check(valid, failure.tag, errors) ? kSuccess : failure.code;
}

/// What registers names runs under the process-wide lock.
template <typename Work>
void underLock(Work registerNames) {
    qorvel_detail::underLock(*QorvelMotionProcessorAPI::__stbMutex, registerNames);
}

/// The numbers that rows and specs carry.
struct RowKeys {
    std::int32_t primaryKeyId = 0;
    std::int32_t secondaryKeyId = 0;
    std::int32_t masterId = 0;
};

RowKeys registerRowKeys(const std::string& primaryKey, const std::string& secondaryKey,
                        const std::string& masterName) {
    RowKeys keys;
    underLock([&] {
        PrimaryKey::getPrimaryKeyInt(kAnyKey); // first, so that it gets number 0
        keys.masterId = MasterName::getMasterNameInt(masterName);
        keys.primaryKeyId = PrimaryKey::getPrimaryKeyInt(primaryKey);
        keys.secondaryKeyId = SecondaryKey::getSecondaryKeyInt(secondaryKey);
    });
    return keys;
}

/// No texts stand for one box, the whole world. Bad texts are left to the row's validator.
std::list<SpaceBox> boxesOf(const std::list<std::string>& geohashes) {
    if (geohashes.empty()) {
        return {SpaceBox()};
    }
    std::list<SpaceBox> boxes;
    for (const std::string& geohash : geohashes) {
        boxes.emplace_back(geohash);
    }
    return boxes;
}

int createSpec(const std::string& primaryKey, const std::string& secondaryKey,
               const std::string& masterName, std::uint32_t windowCount,
               const std::string& windowUnit, std::uint32_t minCount, double ratio,
               const Failure& failure, STBCompressionSpec& out, std::stringstream& errors) {
    const RowKeys keys = registerRowKeys(primaryKey, secondaryKey, masterName);
    // Not validated, since the spec has no unit to object to: an unknown word gives a window of 0.
    const TimeBoxSpec window(windowCount, windowUnit);
    out = STBCompressionSpec(static_cast<std::uint32_t>(keys.primaryKeyId),
                             static_cast<std::uint32_t>(keys.secondaryKeyId),
                             static_cast<std::uint32_t>(keys.masterId), window.getDurationMillis(),
                             minCount, ratio);
    return finish(out, failure, errors);
}

/// Both kinds of event: `entityNumber` is asked under the lock, after the keys are registered. The
/// event is constructed there too, since its sequence number comes from a counter without a lock.
template <typename EntityNumber>
int createEventOf(EntityNumber entityNumber, const std::string& primaryKey,
                  const std::string& secondaryKey, double latitude, double longitude,
                  double spaceTolerance, std::int64_t time, std::uint32_t timeTolerance, Event& out,
                  std::stringstream& errors) {
    underLock([&] {
        const std::int32_t primaryKeyId = PrimaryKey::getPrimaryKeyInt(primaryKey);
        const std::int32_t secondaryKeyId = SecondaryKey::getSecondaryKeyInt(secondaryKey);
        const std::uint64_t eid = entityNumber();
        out = Event(primaryKeyId, eid, secondaryKeyId, latitude, longitude, spaceTolerance, time,
                    timeTolerance);
    });
    return finish(out, kEventFailure, errors);
}

int createProcessor(const std::list<STBMasterRow>& masterRows,
                    const std::list<STBAssignmentRow>& assignmentRows,
                    const std::list<STBCompressionSpec>& specs, const Failure& failure,
                    MotionProcessor& out, std::stringstream& errors) {
    out = MotionProcessor(masterRows, assignmentRows, specs);
    return finish(out, failure, errors);
}

} // namespace

// Allocated when the library is loaded and never freed: calls from exit handlers still find it.
StbSimpleMutex* const QorvelMotionProcessorAPI::__stbMutex = new StbSimpleMutex;

int QorvelMotionProcessorAPI::toString(const SpaceBox& box, std::string& out, std::stringstream&) {
    out = box.toASCIIString();
    return kSuccess;
}

int QorvelMotionProcessorAPI::getCentroid(const SpaceBox& box, double& latitude, double& longitude,
                                          std::stringstream&) {
    const qorvel_detail::Degrees centre = qorvel_detail::centreOf(
        box.getFirst64Bits(), box.getSecond64Bits(), box.getGeoHashBitDepth());
    latitude = centre.latitude;
    longitude = centre.longitude;
    return kSuccess;
}

int QorvelMotionProcessorAPI::createSTBMasterRow(const std::string& masterName,
                                                 const std::uint32_t& geohashLength,
                                                 const std::uint32_t& timeCount,
                                                 const std::string& timeUnit, STBMasterRow& out,
                                                 std::stringstream& errors) {
    const SpaceBoxSpec space(geohashLength * UtilG2::_BITS_PER_GEOHASH_CHAR);
    const TimeBoxSpec time(timeCount, timeUnit);
    const SpaceTimeBoxSpec spec(space, time);
    std::int32_t masterId = 0;
    underLock([&] { masterId = MasterName::getMasterNameInt(masterName); });
    out = STBMasterRow(masterId, spec);
    return finish(out, kMasterRowFailure, errors);
}

int QorvelMotionProcessorAPI::createSTBAssignmentRow(
    const std::string& primaryKey, const std::string& secondaryKey, const double& maxSpaceTolerance,
    const std::uint32_t& maxTimeTolerance, const std::string& masterName,
    const std::list<std::string>& geohashes, const double& latitude, const double& longitude,
    const double& radius, const double& spaceToleranceFactor, const double& timeToleranceFactor,
    STBAssignmentRow& out, std::stringstream& errors) {
    const std::list<SpaceBox> boxes = boxesOf(geohashes);
    const RowKeys keys = registerRowKeys(primaryKey, secondaryKey, masterName);
    out = STBAssignmentRow(keys.primaryKeyId, keys.secondaryKeyId, maxSpaceTolerance,
                           maxTimeTolerance, keys.masterId, boxes, latitude, longitude, radius,
                           spaceToleranceFactor, timeToleranceFactor);
    return finish(out, kAssignmentRowFailure, errors);
}

int QorvelMotionProcessorAPI::createSTBCompressionSpec(
    const std::string& primaryKey, const std::string& secondaryKey, const std::string& masterName,
    const std::uint32_t& windowCount, const std::string& windowUnit, const std::uint32_t& minCount,
    const double& ratio, STBCompressionSpec& out, std::stringstream& errors) {
    return createSpec(primaryKey, secondaryKey, masterName, windowCount, windowUnit, minCount,
                      ratio, kCompressionSpecFailure, out, errors);
}

int QorvelMotionProcessorAPI::createHangoutSpec(
    const std::string& primaryKey, const std::string& secondaryKey, const std::string& masterName,
    const std::uint32_t& windowCount, const std::string& windowUnit, const std::uint32_t& minCount,
    const double& ratio, STBCompressionSpec& out, std::stringstream& errors) {
    return createSpec(primaryKey, secondaryKey, masterName, windowCount, windowUnit, minCount,
                      ratio, kHangoutSpecFailure, out, errors);
}

int QorvelMotionProcessorAPI::createEvent(const std::string& primaryKey, const std::string& eidName,
                                          const std::string& secondaryKey, const double& latitude,
                                          const double& longitude, const double& spaceTolerance,
                                          const std::int64_t& time,
                                          const std::uint32_t& timeTolerance, Event& out,
                                          std::stringstream& errors) {
    return createEventOf([&] { return EIDName::getEIDNameInt(eidName); }, primaryKey, secondaryKey,
                         latitude, longitude, spaceTolerance, time, timeTolerance, out, errors);
}

int QorvelMotionProcessorAPI::createEvent(const std::string& primaryKey, const std::uint64_t& eid,
                                          const std::string& secondaryKey, const double& latitude,
                                          const double& longitude, const double& spaceTolerance,
                                          const std::int64_t& time,
                                          const std::uint32_t& timeTolerance, Event& out,
                                          std::stringstream& errors) {
    return createEventOf([&] { return eid; }, primaryKey, secondaryKey, latitude, longitude,
                         spaceTolerance, time, timeTolerance, out, errors);
}

int QorvelMotionProcessorAPI::createMotionProcessorForSTBs(
    const std::list<STBMasterRow>& masterRows, const std::list<STBAssignmentRow>& assignmentRows,
    MotionProcessor& out, std::stringstream& errors) {
    return createProcessor(masterRows, assignmentRows, {}, kBoxProcessorFailure, out, errors);
}

int QorvelMotionProcessorAPI::createMotionProcessorForPresenceCompression(
    const std::list<STBMasterRow>& masterRows, const std::list<STBAssignmentRow>& assignmentRows,
    const std::list<STBCompressionSpec>& specs, MotionProcessor& out, std::stringstream& errors) {
    return createProcessor(masterRows, assignmentRows, specs, kPresenceProcessorFailure, out,
                           errors);
}

int QorvelMotionProcessorAPI::createMotionProcessorForHangouts(
    const std::list<STBMasterRow>& masterRows, const std::list<STBAssignmentRow>& assignmentRows,
    const std::list<STBCompressionSpec>& specs, MotionProcessor& out, std::stringstream& errors) {
    return createProcessor(masterRows, assignmentRows, specs, kHangoutProcessorFailure, out,
                           errors);
}

int QorvelMotionProcessorAPI::processEventForSTBs(const Event& event,
                                                  const MotionProcessor& processor,
                                                  std::list<SpaceTimeBox>& out,
                                                  std::stringstream&) {
    processor.getSTB(event, out);
    return kSuccess;
}

int QorvelMotionProcessorAPI::processEventForPresenceCompression(const Event& event,
                                                                 MotionProcessor& processor,
                                                                 std::list<STBCompressedEvent>& out,
                                                                 std::stringstream&) {
    processor.processEventForPresenceCompression(event, out);
    return kSuccess;
}

int QorvelMotionProcessorAPI::processEventForHangouts(const Event& event,
                                                      MotionProcessor& processor,
                                                      std::list<STBCompressedEvent>& out,
                                                      std::stringstream&) {
    processor.processEventForHangout(event, out);
    return kSuccess;
}

int QorvelMotionProcessorAPI::gc(MotionProcessor& processor, const std::int64_t& time) {
    processor.gc(time);
    return kSuccess;
}

int QorvelMotionProcessorAPI::gc(MotionProcessor& processor, const std::int64_t& time,
                                 std::stringstream&) {
    return gc(processor, time);
}

QORVEL_END_NAMESPACE
