#include "qorvel/geodesy/AbstractPointGeodetic.h"

#include "qorvel/base/decode.h"
#include "qorvel/geodesy/BoundingBox.h"

#include <cmath>
#include <locale>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

AbstractPointGeodetic::~AbstractPointGeodetic() = default;

bool AbstractPointGeodetic::contains(const IGeometry& other) const {
    const auto* const point = dynamic_cast<const IPoint*>(&other);
    if (point == nullptr) {
        return AbstractGeometry::contains(other);
    }
    return std::abs(getLatitude() - point->getLatitude()) <= 0 &&
           std::abs(getLongitude() - point->getLongitude()) <= 0;
}

BoundingBox* AbstractPointGeodetic::getBoundingBox() const {
    return new BoundingBox(*this, *this);
}

std::string AbstractPointGeodetic::toString() const {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(15);
    text << " : lat=" << getLatitude() << " , long=" << getLongitude() << '\n';
    return text.str();
}

bool AbstractPointGeodetic::isValid() const {
    const double latitude = getLatitude();
    const double longitude = getLongitude();
    return latitude >= qorvel_detail::kMinLatitude && latitude <= qorvel_detail::kMaxLatitude &&
           longitude >= qorvel_detail::kMinLongitude && longitude <= qorvel_detail::kMaxLongitude;
}

QORVEL_END_NAMESPACE
