#ifndef QORVEL_MODEL_SECONDARYKEY_H
#define QORVEL_MODEL_SECONDARYKEY_H

#include "qorvel/config.h"

#include <cstdint>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// The process-wide registry of secondary keys. Numbers are dense, from 0 in order of first
/// sight.
class QORVEL_EXPORT SecondaryKey {
public:
    /// The number of `name`, registering it first if it is new. Names are compared exactly: case
    /// and blanks count. Takes no lock: a host that calls this itself holds
    /// QorvelMotionProcessorAPI::__stbMutex. Throws only when memory runs out.
    static std::int32_t getSecondaryKeyInt(const std::string& name);
};

QORVEL_END_NAMESPACE

#endif
