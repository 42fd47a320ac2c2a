#include "engine/columns/EntityNames.h"

namespace qorvel_engine {

EntityNames::~EntityNames() = default;

void EntityNames::append(std::uint64_t number, std::string& out) const {
    switch (kind()) {
    case EntityKind::text:
        out += text(number);
        break;
    case EntityKind::int64:
        out += std::to_string(static_cast<std::int64_t>(bits(number)));
        break;
    case EntityKind::uint64:
        out += std::to_string(bits(number));
        break;
    }
}

} // namespace qorvel_engine
