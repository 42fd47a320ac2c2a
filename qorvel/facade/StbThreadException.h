#ifndef QORVEL_FACADE_STBTHREADEXCEPTION_H
#define QORVEL_FACADE_STBTHREADEXCEPTION_H

#include "qorvel/config.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// A lock could not be taken in the ordinary way: see StbSimpleMutex. Thrown by value; not derived
/// from std::exception.
class QORVEL_EXPORT StbThreadException {
public:
    /// Keeps the code.
    explicit StbThreadException(std::int32_t code);

    /// Always 3 when the library throws it.
    std::int32_t getCode() const { return code_; }

private:
    std::int32_t code_;
};

QORVEL_END_NAMESPACE

#endif
