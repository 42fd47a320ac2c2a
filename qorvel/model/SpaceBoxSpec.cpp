#include "qorvel/model/SpaceBoxSpec.h"

#include "qorvel/model/detail/check.h"

QORVEL_BEGIN_NAMESPACE

namespace {
constexpr std::uint32_t kMaxDepth = 128;
} // namespace

SpaceBoxSpec::SpaceBoxSpec() : geoHashBitDepth(kMaxDepth) {}

SpaceBoxSpec::SpaceBoxSpec(std::uint32_t depth) : geoHashBitDepth(depth) {}

SpaceBoxSpec::~SpaceBoxSpec() = default;

bool SpaceBoxSpec::isValid(std::stringstream& errors) const {
    return detail::check(geoHashBitDepth <= kMaxDepth, "ERROR_SPACEBOXSPEC_1,", errors);
}

QORVEL_END_NAMESPACE
