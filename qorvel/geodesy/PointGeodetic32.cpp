#include "qorvel/geodesy/PointGeodetic32.h"

#include "qorvel/base/decode.h"

QORVEL_BEGIN_NAMESPACE

PointGeodetic32::PointGeodetic32(std::uint32_t code) : code_(code) {}

PointGeodetic32::~PointGeodetic32() = default;

double PointGeodetic32::getLatitude() const {
    return qorvel_detail::decodeInterleaved(static_cast<std::uint64_t>(code_) << 32, 0).latitude;
}

double PointGeodetic32::getLongitude() const {
    return qorvel_detail::decodeInterleaved(static_cast<std::uint64_t>(code_) << 32, 0).longitude;
}

PointGeodetic32* PointGeodetic32::clone() const {
    return new PointGeodetic32(*this);
}

QORVEL_END_NAMESPACE
