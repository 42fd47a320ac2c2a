#include "qorvel/geodesy/PointGeodetic64.h"

#include "qorvel/base/decode.h"

QORVEL_BEGIN_NAMESPACE

PointGeodetic64::PointGeodetic64(std::uint64_t code) : code_(code) {}

PointGeodetic64::~PointGeodetic64() = default;

double PointGeodetic64::getLatitude() const {
    return qorvel_detail::decodeInterleaved(code_, 0).latitude;
}

double PointGeodetic64::getLongitude() const {
    return qorvel_detail::decodeInterleaved(code_, 0).longitude;
}

PointGeodetic64* PointGeodetic64::clone() const {
    return new PointGeodetic64(*this);
}

QORVEL_END_NAMESPACE
