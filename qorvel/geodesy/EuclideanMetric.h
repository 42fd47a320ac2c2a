#ifndef QORVEL_GEODESY_EUCLIDEANMETRIC_H
#define QORVEL_GEODESY_EUCLIDEANMETRIC_H

#include "qorvel/config.h"
#include "qorvel/geodesy/IMetric.h"

QORVEL_BEGIN_NAMESPACE

/// A local plane, touching the earth at a reference point: x to the east and y to the north of it,
/// metres. Good for distances that are short against the earth's radius and far from the poles.
class QORVEL_EXPORT EuclideanMetric : public IMetric {
public:
    ~EuclideanMetric() override;

    /// The straight line in the plane.
    double distance(const IPoint& p1, const IPoint& p2) const override;

    /// The direction of the straight line in the plane; 0 between coincident points.
    double azimuth(const IPoint& p1, const IPoint& p2) const override;

    /// A straight line in the plane, taken back to degrees with toLatitude and toLongitude, and so
    /// with their deviation.
    PointGeodetic128* destination(const IPoint& p, double azimuth, double distance) const override;

    /// Degrees of a planar x.
    virtual double toLongitude(double x) const = 0;

    /// Degrees of a planar y. The reference latitude is added to the latitude that belongs to y
    /// alone, so this is the inverse of toY only for a reference latitude of 0; it stays so, since
    /// what destination has given must not change.
    virtual double toLatitude(double y) const = 0;

    /// Metres east of the reference point, the short way round: 190 degrees east are 170 west.
    virtual double toX(const IPoint& p) const = 0;

    /// Metres north of the reference point; not finite at the poles or near them.
    virtual double toY(const IPoint& p) const = 0;

protected:
    /// The reference point, degrees.
    EuclideanMetric(double referenceLatitude, double referenceLongitude);
    EuclideanMetric(const EuclideanMetric&) = default;
    EuclideanMetric& operator=(const EuclideanMetric&) = default;

    /// Degrees.
    double getReferenceLatitude() const;

    /// x of a point in a Mercator projection onto an earth of the given radius in metres, `scale`
    /// without unit.
    double mercatorX(const IPoint& p, double scale, double radius) const;

    /// The degrees that belong to such an x, brought back from above 180.
    double mercatorLongitude(double x, double scale, double radius) const;

private:
    double referenceLongitude_;
    double referenceLatitude_;
};

QORVEL_END_NAMESPACE

#endif
