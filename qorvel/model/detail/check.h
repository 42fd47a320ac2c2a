#ifndef QORVEL_MODEL_DETAIL_CHECK_H
#define QORVEL_MODEL_DETAIL_CHECK_H

#include <sstream>

namespace qorvel_detail {

/// Hands `valid` on, and appends the tag when it is false.
inline bool check(bool valid, const char* tag, std::stringstream& errors) {
    if (!valid) {
        errors << tag;
    }
    return valid;
}

} // namespace qorvel_detail

#endif
