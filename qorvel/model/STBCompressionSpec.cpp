#include "qorvel/model/STBCompressionSpec.h"

#include "qorvel/model/detail/check.h"

QORVEL_BEGIN_NAMESPACE

STBCompressionSpec::STBCompressionSpec()
    : primaryKeyId(0), secondaryKeyId(0), masterId(0), windowMillis(0), minCount(0), ratio(0.0) {}

STBCompressionSpec::STBCompressionSpec(std::uint32_t primaryKey, std::uint32_t secondaryKey,
                                       std::uint32_t master, std::uint32_t window,
                                       std::uint32_t minimumCount, double ratioThreshold)
    : primaryKeyId(primaryKey), secondaryKeyId(secondaryKey), masterId(master),
      windowMillis(window), minCount(minimumCount), ratio(ratioThreshold) {}

STBCompressionSpec::~STBCompressionSpec() = default;

bool STBCompressionSpec::isValid(std::stringstream& errors) const {
    return qorvel_detail::check(ratio >= 0.0 && ratio <= 1.0, "ERROR_COMPRESSIONSPEC_1,", errors);
}

bool STBCompressionSpec::operator==(const STBCompressionSpec& other) const {
    return minCount == other.minCount && windowMillis == other.windowMillis &&
           ratio == other.ratio && primaryKeyId == other.primaryKeyId &&
           secondaryKeyId == other.secondaryKeyId && masterId == other.masterId;
}

QORVEL_END_NAMESPACE
