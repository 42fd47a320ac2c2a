#include "qorvel/geodesy/BoundingBox.h"

QORVEL_BEGIN_NAMESPACE

BoundingBox::BoundingBox(const IPoint& lowerCorner, const IPoint& upperCorner)
    : lowerCorner_(lowerCorner.getLatitude(), lowerCorner.getLongitude()),
      upperCorner_(upperCorner.getLatitude(), upperCorner.getLongitude()) {}

BoundingBox::~BoundingBox() = default;

const PointGeodetic128& BoundingBox::getLowerCorner() const {
    return lowerCorner_;
}

const PointGeodetic128& BoundingBox::getUpperCorner() const {
    return upperCorner_;
}

BoundingBox* BoundingBox::getBoundingBox() const {
    return clone();
}

std::string BoundingBox::toString() const {
    return "Lower Corner ::{" + lowerCorner_.toString() + "}; Upper Corner ::{" +
           upperCorner_.toString() + "}";
}

BoundingBox* BoundingBox::clone() const {
    return new BoundingBox(*this);
}

bool BoundingBox::isValid() const {
    return lowerCorner_.isValid() && upperCorner_.isValid();
}

QORVEL_END_NAMESPACE
