#include "qorvel/geodesy/AbstractGeometry.h"

#include "qorvel/geodesy/STException.h"

#include <string>
#include <typeinfo>

QORVEL_BEGIN_NAMESPACE

namespace {

[[noreturn]] void throwUnsupported(const char* operation, const IGeometry& geometry,
                                   const IGeometry& other) {
    throw STException(std::string("Unsupported ") + operation + " on geometries of type " +
                      typeid(geometry).name() + " and " + typeid(other).name());
}

} // namespace

AbstractGeometry::~AbstractGeometry() = default;

bool AbstractGeometry::contains(const IGeometry& other) const {
    throwUnsupported("contain", *this, other);
}

bool AbstractGeometry::within(const IGeometry& other) const {
    return other.contains(*this);
}

void AbstractGeometry::merge(const IGeometry& other) {
    throwUnsupported("merge", *this, other);
}

QORVEL_END_NAMESPACE
