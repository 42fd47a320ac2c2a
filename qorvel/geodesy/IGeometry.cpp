#include "qorvel/geodesy/IGeometry.h"

QORVEL_BEGIN_NAMESPACE

IGeometry::~IGeometry() = default;

QORVEL_END_NAMESPACE
