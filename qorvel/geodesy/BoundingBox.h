#ifndef QORVEL_GEODESY_BOUNDINGBOX_H
#define QORVEL_GEODESY_BOUNDINGBOX_H

#include "qorvel/config.h"
#include "qorvel/geodesy/AbstractGeometry.h"
#include "qorvel/geodesy/PointGeodetic128.h"

#include <string>

QORVEL_BEGIN_NAMESPACE

/// Two corners on the earth, as a point's `getBoundingBox` gives them.
///
/// A box can be copied, printed and asked for its corners. `contains` and `merge` are unsupported
/// and throw STException, `within` throws what the other geometry's `contains` throws.
class QORVEL_EXPORT BoundingBox : public AbstractGeometry {
public:
    /// Copies both corners; their order is not checked.
    BoundingBox(const IPoint& lowerCorner, const IPoint& upperCorner);
    BoundingBox(const BoundingBox&) = default;
    BoundingBox& operator=(const BoundingBox&) = default;
    ~BoundingBox() override;

    /// The south-western corner.
    const PointGeodetic128& getLowerCorner() const;

    /// The north-eastern corner.
    const PointGeodetic128& getUpperCorner() const;

    /// A copy of this box. The caller owns it.
    BoundingBox* getBoundingBox() const override;

    /// "Lower Corner ::{", the lower corner's text, "}; Upper Corner ::{", the upper corner's
    /// text, "}".
    std::string toString() const override;

    BoundingBox* clone() const override;

    /// Both corners are valid points.
    bool isValid() const override;

private:
    PointGeodetic128 lowerCorner_;
    PointGeodetic128 upperCorner_;
};

QORVEL_END_NAMESPACE

#endif
