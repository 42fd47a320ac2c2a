#ifndef QORVEL_GEODESY_DETAIL_GEODESYCONTEXT_H
#define QORVEL_GEODESY_DETAIL_GEODESYCONTEXT_H

#include "qorvel/geodesy/Ellipsoid.h"
#include "qorvel/geodesy/SpheroidalMetric.h"
#include "qorvel/geodesy/VincentyEllipsoidalMetric.h"

#include <array>

namespace qorvel_detail {

/// What the geodesy room sets up once in a process: the reference ellipsoids and the shared
/// metrics. It is never freed, so that it outlives every static object of a host.
class GeodesyContext {
public:
    /// Sets up on the first call, whoever makes it and on whichever thread.
    static const GeodesyContext* get();

    GeodesyContext(const GeodesyContext&) = delete;
    GeodesyContext& operator=(const GeodesyContext&) = delete;

    /// WGS-84. Every metric uses it.
    const Ellipsoid& defaultEllipsoid() const { return ellipsoids_.front(); }

    const SpheroidalMetric& spheroidalMetric() const { return spheroidalMetric_; }
    const VincentyEllipsoidalMetric& vincentyMetric() const { return vincentyMetric_; }

private:
    GeodesyContext();

    std::array<Ellipsoid, 4> ellipsoids_;
    VincentyEllipsoidalMetric vincentyMetric_;
    SpheroidalMetric spheroidalMetric_;
};

inline const Ellipsoid& defaultEllipsoid() {
    return GeodesyContext::get()->defaultEllipsoid();
}

} // namespace qorvel_detail

#endif
