#include "qorvel/geohash/SpaceBox.h"

#include "qorvel/geohash/UtilG2.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/geohash/detail/boxCell.h"

QORVEL_BEGIN_NAMESPACE

SpaceBox::SpaceBox() : geoHashBitDepth_(0), first64Bits_(0), second64Bits_(0) {}

SpaceBox::SpaceBox(const double& lat, const double& lon, const std::uint32_t& depth) : SpaceBox() {
    UtilG2::pointToSpaceBox(lat, lon, depth, *this);
}

SpaceBox::SpaceBox(const std::uint64_t& first, const std::uint64_t& second,
                   const std::uint32_t& depth)
    : geoHashBitDepth_(depth), first64Bits_(first), second64Bits_(second) {}

SpaceBox::SpaceBox(const std::string& geohash) : SpaceBox() {
    UtilG2::stringToSpaceBox(geohash, *this);
}

SpaceBox::SpaceBox(const SpaceBox& other) = default;
SpaceBox& SpaceBox::operator=(const SpaceBox& other) = default;
SpaceBox::~SpaceBox() = default;

std::uint64_t SpaceBox::getFirst64Bits() const {
    return first64Bits_;
}

std::uint64_t SpaceBox::getSecond64Bits() const {
    return second64Bits_;
}

std::uint32_t SpaceBox::getGeoHashBitDepth() const {
    return geoHashBitDepth_;
}

void SpaceBox::setGeoHashBitDepth(const std::uint32_t& depth) {
    geoHashBitDepth_ = depth;
}

bool SpaceBox::equals(const SpaceBox& other, const std::uint32_t& depth) const {
    const qorvel_detail::Cell difference = qorvel_detail::significant(
        first64Bits_ ^ other.first64Bits_, second64Bits_ ^ other.second64Bits_, depth);
    return difference.first == 0 && difference.second == 0;
}

bool SpaceBox::operator==(const SpaceBox& other) const {
    return geoHashBitDepth_ == other.geoHashBitDepth_ && equals(other, geoHashBitDepth_);
}

std::uint64_t SpaceBox::hashCode() const {
    const qorvel_detail::Cell cell = qorvel_detail::significantCellOf(*this);
    return cell.first ^ cell.second;
}

std::string SpaceBox::toASCIIString() const {
    return UtilG2::spaceBoxToString(*this);
}

bool SpaceBox::isValid(std::stringstream& errors) const {
    bool valid = true;
    if (geoHashBitDepth_ == qorvel_detail::kUnparsableDepth) {
        errors << "ERROR_SPACEBOX_1,";
        valid = false;
    }
    if (geoHashBitDepth_ > qorvel_detail::kMaxDepth) {
        errors << "ERROR_SPACEBOX_2,";
        valid = false;
    }
    return valid;
}

bool SpaceBox::getNearSpaceBoxes(const double& lat, const double& lon, const std::uint32_t& depth,
                                 const double& distance, SpaceBox* boxes, std::uint32_t& count) {
    UtilG2::pointToSpaceBoxes(lat, lon, depth, distance, boxes, count);
    return true;
}

QORVEL_END_NAMESPACE
