#ifndef QORVEL_GEODESY_ABSTRACTGEOMETRY_H
#define QORVEL_GEODESY_ABSTRACTGEOMETRY_H

#include "qorvel/config.h"
#include "qorvel/geodesy/IGeometry.h"

QORVEL_BEGIN_NAMESPACE

/// The common base of the concrete geometries: `within` by asking the other one, and a refusal for
/// what a class does not support.
class QORVEL_EXPORT AbstractGeometry : public virtual IGeometry {
public:
    ~AbstractGeometry() override;

    /// Throws STException "Unsupported contain on geometries of type A and B", where A and B are
    /// the run-time type names of this geometry and of `other` (`std::type_info::name`).
    bool contains(const IGeometry& other) const override;

    /// `other.contains(*this)`, and whatever that throws.
    bool within(const IGeometry& other) const override;

    /// Throws STException "Unsupported merge on geometries of type A and B".
    void merge(const IGeometry& other) override;

    AbstractGeometry* clone() const override = 0;

protected:
    AbstractGeometry() = default;
    AbstractGeometry(const AbstractGeometry&) = default;
    AbstractGeometry& operator=(const AbstractGeometry&) = default;
};

QORVEL_END_NAMESPACE

#endif
