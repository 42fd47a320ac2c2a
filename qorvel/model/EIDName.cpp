#include "qorvel/model/EIDName.h"

#include "qorvel/model/detail/NameRegistry.h"
#include "qorvel/model/detail/registeredNames.h"

QORVEL_BEGIN_NAMESPACE

namespace {

auto& registry = *new qorvel_detail::NameRegistry<std::uint64_t>;

} // namespace

std::uint64_t EIDName::getEIDNameInt(const std::string& name) {
    return registry.numberOf(name);
}

std::string EIDName::getEIDNameStr(const std::uint64_t& id) {
    return registry.nameOf(id);
}

QORVEL_END_NAMESPACE

namespace qorvel_detail {

const std::string* registeredEntity(std::uint64_t number) {
    return registry.find(number);
}

} // namespace qorvel_detail
