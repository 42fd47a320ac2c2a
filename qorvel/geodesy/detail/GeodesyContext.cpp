#include "qorvel/geodesy/detail/GeodesyContext.h"

#include "qorvel/base/wgs84.h"

namespace qorvel_detail {

const GeodesyContext* GeodesyContext::get() {
    static const GeodesyContext* const context = new GeodesyContext();
    return context;
}

GeodesyContext::GeodesyContext()
    : ellipsoids_{Ellipsoid(kWgs84SemiMajorAxis, kWgs84SemiMinorAxis),
                  Ellipsoid(6378137.0, 6356752.3141),  // GRS-80
                  Ellipsoid(6377563.396, 6356256.909), // Airy 1830
                  Ellipsoid(6378388.0, 6356911.946)}   // International 1924
{}

} // namespace qorvel_detail
