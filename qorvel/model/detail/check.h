#ifndef QORVEL_MODEL_DETAIL_CHECK_H
#define QORVEL_MODEL_DETAIL_CHECK_H

#include "qorvel/config.h"

#include <sstream>

QORVEL_BEGIN_NAMESPACE
namespace detail {

/// Hands `valid` on, and appends the tag when it is false.
inline bool check(bool valid, const char* tag, std::stringstream& errors) {
    if (!valid) {
        errors << tag;
    }
    return valid;
}

} // namespace detail
QORVEL_END_NAMESPACE

#endif
