#ifndef QORVEL_ENGINE_COLUMNS_ENTITYDICTIONARY_H
#define QORVEL_ENGINE_COLUMNS_ENTITYDICTIONARY_H

#include "engine/columns/EntityNames.h"

#include <memory>
#include <optional>

namespace qorvel_engine {

/// Numbers the entities of a session 0, 1, 2, ... in order of first sight. Names are compared byte
/// by byte.
///
/// One thread may add while others ask for names: for those of numbers that had been given when
/// they were told of them. A name never moves.
///
/// Memory: the bytes of a name, and some 30 bytes besides.
class QORVEL_ENGINE_EXPORT EntityDictionary : public EntityNames {
public:
    /// An empty one. The hash is seeded by chance, so that nobody can choose names that collide; no
    /// number depends on it.
    explicit EntityDictionary(EntityKind kind);
    ~EntityDictionary() override;

    /// The number of a name, a new one if it is not known yet. Throws a Fault where names are of
    /// another kind (`misuse`), and beyond 2^31 entities (`tooLarge`); after a failure, for want of
    /// memory too, everything is as before.
    std::uint64_t numberOf(std::string_view name);

    /// The same for an integer, a negative one as two's complement.
    std::uint64_t numberOf(std::uint64_t bits);

    /// The number of that integer is asked for soon: starts to fetch from memory what tells it.
    void fetch(std::uint64_t bits) const noexcept;

    /// The number of the entity that others have under a number of theirs; none if it is not known
    /// here.
    std::optional<std::uint64_t> find(const EntityNames& others, std::uint64_t number) const;

    EntityKind kind() const noexcept override;
    std::uint64_t size() const noexcept override;
    std::string_view text(std::uint64_t number) const noexcept override;
    std::uint64_t bits(std::uint64_t number) const noexcept override;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace qorvel_engine

#endif
