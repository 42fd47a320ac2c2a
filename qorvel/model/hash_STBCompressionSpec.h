#ifndef QORVEL_MODEL_HASH_STBCOMPRESSIONSPEC_H
#define QORVEL_MODEL_HASH_STBCOMPRESSIONSPEC_H

#include "qorvel/model/STBCompressionSpec.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// Hash functor for tables keyed by whole specs.
struct QORVEL_EXPORT hash_STBCompressionSpec {
    /// Exclusive-or of the five whole-number fields. The ratio does not enter, and ids that change
    /// places hash alike.
    std::uint32_t operator()(const STBCompressionSpec& spec) const;
};

QORVEL_END_NAMESPACE

#endif
