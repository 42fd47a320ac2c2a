#include "qorvel/model/hash_STBCompressionSpec.h"

QORVEL_BEGIN_NAMESPACE

std::uint32_t hash_STBCompressionSpec::operator()(const STBCompressionSpec& spec) const {
    return spec.minCount ^ spec.windowMillis ^ spec.primaryKeyId ^ spec.secondaryKeyId ^
           spec.masterId;
}

QORVEL_END_NAMESPACE
