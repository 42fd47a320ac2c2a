#include "qorvel/geodesy/IPoint.h"

QORVEL_BEGIN_NAMESPACE

IPoint::~IPoint() = default;

QORVEL_END_NAMESPACE
