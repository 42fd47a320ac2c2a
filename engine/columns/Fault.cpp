#include "engine/columns/Fault.h"

namespace qorvel_engine {

Fault::Fault(FaultCode code, const std::string& sentence, const std::string& tags,
             std::uint64_t line)
    : std::runtime_error(sentence), code_(code), tags_(std::make_shared<const std::string>(tags)),
      line_(line) {}

Fault::~Fault() = default;

} // namespace qorvel_engine
