#ifndef QORVEL_MODEL_MASTERNAME_H
#define QORVEL_MODEL_MASTERNAME_H

#include "qorvel/config.h"

#include <cstdint>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// The process-wide registry of configuration names. Numbers are dense, from 0 in order of first
/// sight.
class QORVEL_EXPORT MasterName {
public:
    /// The number of `name`, registering it first if it is new. Names are compared exactly: case
    /// and blanks count. Takes no lock: a host that calls this itself holds
    /// QorvelMotionProcessorAPI::__stbMutex. Throws only when memory runs out.
    static std::int32_t getMasterNameInt(const std::string& name);
};

QORVEL_END_NAMESPACE

#endif
