#ifndef QORVEL_MODEL_DETAIL_REGISTEREDNAMES_H
#define QORVEL_MODEL_DETAIL_REGISTEREDNAMES_H

#include <cstdint>
#include <string>

namespace qorvel_detail {

// The name that a number was given to, or null where the host has made the number itself. Under the
// process-wide lock, as all that asks the registries.

const std::string* registeredEntity(std::uint64_t number);
const std::string* registeredPrimaryKey(std::int32_t number);
const std::string* registeredSecondaryKey(std::int32_t number);
const std::string* registeredMaster(std::int32_t number);

} // namespace qorvel_detail

#endif
