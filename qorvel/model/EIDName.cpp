#include "qorvel/model/EIDName.h"

#include "qorvel/model/detail/NameRegistry.h"

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
