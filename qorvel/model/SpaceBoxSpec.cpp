#include "qorvel/model/SpaceBoxSpec.h"

#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/model/detail/check.h"

QORVEL_BEGIN_NAMESPACE

SpaceBoxSpec::SpaceBoxSpec() : geoHashBitDepth(qorvel_detail::kMaxDepth) {}

SpaceBoxSpec::SpaceBoxSpec(std::uint32_t depth) : geoHashBitDepth(depth) {}

SpaceBoxSpec::~SpaceBoxSpec() = default;

bool SpaceBoxSpec::isValid(std::stringstream& errors) const {
    return qorvel_detail::check(geoHashBitDepth <= qorvel_detail::kMaxDepth,
                                "ERROR_SPACEBOXSPEC_1,", errors);
}

QORVEL_END_NAMESPACE
