#include "qorvel/facade/StbThreadException.h"

QORVEL_BEGIN_NAMESPACE

StbThreadException::StbThreadException(std::int32_t code) : code_(code) {}

QORVEL_END_NAMESPACE
