#include "qorvel/geodesy/IMetric.h"

QORVEL_BEGIN_NAMESPACE

IMetric::~IMetric() = default;

QORVEL_END_NAMESPACE
