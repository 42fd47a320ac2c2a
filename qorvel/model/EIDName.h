#ifndef QORVEL_MODEL_EIDNAME_H
#define QORVEL_MODEL_EIDNAME_H

#include "qorvel/config.h"

#include <cstdint>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// The process-wide registry of entity names. Numbers are dense, from 0 in order of first sight.
class QORVEL_EXPORT EIDName {
public:
    /// The number of `name`, registering it first if it is new. Names are compared exactly: case
    /// and blanks count, and the empty string is a name. Takes no lock: a host that calls this
    /// itself holds QorvelMotionProcessorAPI::__stbMutex. Throws only when memory runs out.
    static std::uint64_t getEIDNameInt(const std::string& name);

    /// The name registered under `id`, or the empty string when there is none. Takes no lock and
    /// must not run while another thread registers.
    static std::string getEIDNameStr(const std::uint64_t& id);
};

QORVEL_END_NAMESPACE

#endif
