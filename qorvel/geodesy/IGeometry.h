#ifndef QORVEL_GEODESY_IGEOMETRY_H
#define QORVEL_GEODESY_IGEOMETRY_H

#include "qorvel/config.h"

#include <string>

QORVEL_BEGIN_NAMESPACE

class BoundingBox;

/// What every geometry on the earth can be asked for. A geometry that cannot do one of these things
/// throws STException with a message that names the two run-time types.
class QORVEL_EXPORT IGeometry {
public:
    virtual ~IGeometry();

    /// Is `other` part of this geometry?
    virtual bool contains(const IGeometry& other) const = 0;

    /// Is this geometry part of `other`? Decided by `other.contains(*this)`.
    virtual bool within(const IGeometry& other) const = 0;

    /// Grows this geometry by `other`.
    virtual void merge(const IGeometry& other) = 0;

    /// The smallest box around this geometry. The caller owns the new object.
    virtual BoundingBox* getBoundingBox() const = 0;

    /// The geometry as text, in the form that its class describes.
    virtual std::string toString() const = 0;

    /// A new geometry of the same class with the same stored values. The caller owns it.
    virtual IGeometry* clone() const = 0;

    /// Do all coordinates lie within their ranges? Nothing else in a geometry checks them.
    virtual bool isValid() const = 0;

protected:
    IGeometry() = default;
    IGeometry(const IGeometry&) = default;
    IGeometry& operator=(const IGeometry&) = default;
};

QORVEL_END_NAMESPACE

#endif
