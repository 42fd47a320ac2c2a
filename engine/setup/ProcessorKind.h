#ifndef QORVEL_ENGINE_SETUP_PROCESSORKIND_H
#define QORVEL_ENGINE_SETUP_PROCESSORKIND_H

#include <cstdint>

namespace qorvel_engine {

/// What a processor is for: it takes the specs of that kind.
enum class ProcessorKind : std::uint8_t { boxes, presence, hangouts };

} // namespace qorvel_engine

#endif
