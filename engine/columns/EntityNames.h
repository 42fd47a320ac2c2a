#ifndef QORVEL_ENGINE_COLUMNS_ENTITYNAMES_H
#define QORVEL_ENGINE_COLUMNS_ENTITYNAMES_H

#include "engine/export.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qorvel_engine {

/// What entities are called: by texts, or by integers with or without a sign.
enum class EntityKind : std::uint8_t { text, int64, uint64 };

/// What the numbers of entities stand for. Numbers are dense, from 0.
class QORVEL_ENGINE_EXPORT EntityNames {
public:
    EntityNames() = default;
    EntityNames(const EntityNames&) = delete;
    EntityNames& operator=(const EntityNames&) = delete;
    virtual ~EntityNames();

    /// The same for all of them.
    virtual EntityKind kind() const noexcept = 0;

    /// How many there are.
    virtual std::uint64_t size() const noexcept = 0;

    /// The name of `number`, which stays where it is as long as this object; empty where names are
    /// integers and for a number that there is not.
    virtual std::string_view text(std::uint64_t number) const noexcept = 0;

    /// The integer that `number` is called, a negative one as two's complement; 0 where names are
    /// texts and for a number that there is not.
    virtual std::uint64_t bits(std::uint64_t number) const noexcept = 0;

    /// Appends the name as people read it: the text, or the integer in decimals.
    void append(std::uint64_t number, std::string& out) const;
};

} // namespace qorvel_engine

#endif
