#include "qorvel/model/SecondaryKey.h"

#include "qorvel/model/detail/NameRegistry.h"

QORVEL_BEGIN_NAMESPACE

std::int32_t SecondaryKey::getSecondaryKeyInt(const std::string& name) {
    static detail::NameRegistry<std::int32_t> registry;
    return registry.numberOf(name);
}

QORVEL_END_NAMESPACE
