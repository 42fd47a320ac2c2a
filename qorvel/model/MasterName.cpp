#include "qorvel/model/MasterName.h"

#include "qorvel/model/detail/NameRegistry.h"
#include "qorvel/model/detail/registeredNames.h"

QORVEL_BEGIN_NAMESPACE

namespace {

auto& registry = *new qorvel_detail::NameRegistry<std::int32_t>;

} // namespace

std::int32_t MasterName::getMasterNameInt(const std::string& name) {
    return registry.numberOf(name);
}

QORVEL_END_NAMESPACE

namespace qorvel_detail {

const std::string* registeredMaster(std::int32_t number) {
    return registry.find(number);
}

} // namespace qorvel_detail
