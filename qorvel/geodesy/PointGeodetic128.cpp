#include "qorvel/geodesy/PointGeodetic128.h"

QORVEL_BEGIN_NAMESPACE

PointGeodetic128::PointGeodetic128(double latitude, double longitude)
    : latitude_(latitude), longitude_(longitude) {}

PointGeodetic128::~PointGeodetic128() = default;

double PointGeodetic128::getLatitude() const {
    return latitude_;
}

double PointGeodetic128::getLongitude() const {
    return longitude_;
}

PointGeodetic128* PointGeodetic128::clone() const {
    return new PointGeodetic128(*this);
}

QORVEL_END_NAMESPACE
