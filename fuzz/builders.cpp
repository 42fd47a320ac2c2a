// Every builder of the facade with any arguments: codes, tags, what the records hold, the names.

#include "Bytes.h"
#include "law.h"

#include "qorvel/qorvel.h"

namespace {

using API = QorvelMotionProcessorAPI;

/// Calls a builder: the record's own tags and then the call's are appended, or nothing is.
bool build(auto builder, int code, const char* tag, auto& record, const auto&... arguments) {
    std::stringstream errors;
    errors << "OLDER,";
    const int answer = builder(arguments..., record, errors);
    const std::string own = tagsOf(record);
    LAW(answer == (own.empty() ? 0 : code));
    LAW(errors.str() == (own.empty() ? "OLDER," : "OLDER," + own + tag));
    return answer == 0;
}

bool isOutside(double value, double low, double high) {
    return value < low || value > high;
}

/// The names that records of one input share.
struct Names {
    std::string primary;
    std::string secondary;
    std::string master;
};

STBMasterRow fuzzMasterRow(Bytes& bytes, const Names& names) {
    const std::uint32_t length = bytes.count();
    const std::uint32_t count = bytes.count();
    const std::string unit = bytes.pick<std::string>({"months", "Hours", "ever", bytes.text()});
    STBMasterRow row;
    const bool valid = build(API::createSTBMasterRow, -1, "ERROR_CREATE_MASTER_1,", row,
                             names.master, length, count, unit);
    LAW(valid == (length * 5 <= 128 && row.stbSpec.unit != 8) && row.stbSpec.count == count);
    return row;
}

STBAssignmentRow fuzzAssignmentRow(Bytes& bytes, const Names& names) {
    const std::string text = bytes.text();
    const auto texts = bytes.pick<std::list<std::string>>({{}, {text}, {"u28", "", text}});
    const double tolerance = bytes.number(100.0);
    const std::uint32_t timeTolerance = bytes.count();
    const double lat = bytes.number(90.0);
    const double lon = bytes.number(180.0);
    const double radius = bytes.number(1e6);
    const double factor = bytes.number(1.0);
    const double timeFactor = bytes.number(1.0);
    STBAssignmentRow row;
    const bool valid = build(API::createSTBAssignmentRow, -2, "ERROR_CREATE_ASSIGN_1,", row,
                             names.primary, names.secondary, tolerance, timeTolerance, names.master,
                             texts, lat, lon, radius, factor, timeFactor);
    LAW(row.primaryKeyId == PrimaryKey::getPrimaryKeyInt(names.primary));
    LAW(row.secondaryKeyId == SecondaryKey::getSecondaryKeyInt(names.secondary));
    LAW(row.masterId == MasterName::getMasterNameInt(names.master));
    LAW(row.spaceBoxes.size() == std::max<std::size_t>(texts.size(), 1));
    const bool isBad = tolerance < 0 || isOutside(factor, 0, 1) || radius < 0 ||
                       isOutside(lat, -90, 90) || isOutside(lon, -180, 180) || timeTolerance > 1 ||
                       isOutside(timeFactor, 0, 1);
    LAW(valid == (!isBad && tagsOf(row.spaceBoxes.back()).empty()));
    return row;
}

STBCompressionSpec fuzzSpec(Bytes& bytes, const Names& names) {
    const std::uint32_t count = bytes.count();
    const std::string unit = bytes.pick<std::string>({"minutes", "days", bytes.text()});
    const std::uint32_t minCount = bytes.count();
    const double ratio = bytes.number(1.0);
    STBCompressionSpec spec;
    STBCompressionSpec hangout;
    const bool valid =
        build(API::createSTBCompressionSpec, -4, "ERROR_CREATE_COMPRESSIONSPEC_1,", spec,
              names.primary, names.secondary, names.master, count, unit, minCount, ratio);
    build(API::createHangoutSpec, -3, "ERROR_CREATE_HANGOUT_1,", hangout, names.primary,
          names.secondary, names.master, count, unit, minCount, ratio);
    LAW(valid == (ratio >= 0 && ratio <= 1) && (spec == hangout) == !std::isnan(ratio));
    LAW(spec.windowMillis == TimeBoxSpec(count, unit).getDurationMillis());
    LAW(hash_STBCompressionSpec()(spec) == hash_STBCompressionSpec()(hangout));
    return spec;
}

void fuzzEvents(Bytes& bytes, const Names& names) {
    const double lat = bytes.number(90.0);
    const double lon = bytes.number(180.0);
    const double tolerance = bytes.number(100.0);
    const auto time = bytes.whole<std::int64_t>();
    const std::uint32_t timeTolerance = bytes.count();
    const auto eid = bytes.whole<std::uint64_t>();
    const auto create = [](auto&... all) { return API::createEvent(all...); };
    const char* const tag = "ERROR_CREATE_EVENT_1,";
    Event named;
    Event numbered;
    const bool valid = build(create, -5, tag, named, names.primary, names.master, names.secondary,
                             lat, lon, tolerance, time, timeTolerance);
    build(create, -5, tag, numbered, names.primary, eid, names.secondary, lat, lon, tolerance, time,
          timeTolerance);
    LAW(valid ==
        (std::abs(lat) <= 90 && std::abs(lon) <= 180 && time >= 0 && !std::isnan(tolerance)));
    LAW(numbered.sequenceNumber == named.sequenceNumber + 1 && numbered.eid == eid);
    LAW(EIDName::getEIDNameStr(named.eid) == names.master &&
        EIDName::getEIDNameStr(eid).size() < 50);
    LAW(EIDName::getEIDNameInt(names.master) == named.eid);
    const Event copy(named);
    numbered = copy;
    LAW(numbered.sequenceNumber == named.sequenceNumber &&
        same(numbered.spaceTolerance, tolerance > 0 || std::isnan(tolerance) ? tolerance : 0.0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const Names names{bytes.name(), bytes.name(), bytes.name()};
    const std::list<STBMasterRow> masters = {fuzzMasterRow(bytes, names)};
    const std::list<STBAssignmentRow> rows = {fuzzAssignmentRow(bytes, names)};
    const std::list<STBCompressionSpec> specs = {fuzzSpec(
        bytes, {names.primary, names.primary, bytes.pick({names.master, names.secondary})})};
    fuzzEvents(bytes, names);
    MotionProcessor processor;
    LAW(build(API::createMotionProcessorForSTBs, -8, "ERROR_CREATE_MOTIONPROCESSOR_3,", processor,
              masters, rows));
    build(API::createMotionProcessorForPresenceCompression, -7, "ERROR_CREATE_MOTIONPROCESSOR_2,",
          processor, masters, rows, specs);
    build(API::createMotionProcessorForHangouts, -6, "ERROR_CREATE_MOTIONPROCESSOR_1,", processor,
          masters, rows, specs);

    StbSimpleMutex mutex;
    for (std::uint64_t level = bytes.take(1) % 4; level > 0; --level) {
        mutex.lock(); // left to the destructor
    }
    API::__stbMutex->lock(); // no builder has kept it
    API::__stbMutex->unlock();
    mutex.unlock();
    LAW(StbThreadException(3).getCode() == 3);
    return 0;
}
