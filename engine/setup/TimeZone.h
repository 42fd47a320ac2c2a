#ifndef QORVEL_ENGINE_SETUP_TIMEZONE_H
#define QORVEL_ENGINE_SETUP_TIMEZONE_H

#include "engine/export.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qorvel_engine {

namespace detail {
struct ZoneChanges;
}

/// What clocks show somewhere, by this machine's time zone database: changes of the past as they
/// are listed there, and the rule that holds now up to the year 2500; after that they do not change
/// any more. Times are ms since 1970 UTC, local ones ms since 1970 as the clocks show it; none is
/// out of range.
///
/// Copies are cheap and share what was read. Safe for several threads.
class QORVEL_ENGINE_EXPORT TimeZone {
public:
    /// UTC.
    TimeZone();

    /// @param name  "UTC", a name of the database such as "Europe/Berlin", or an offset from
    ///              "-24:00" to "+24:00" such as "+05:30"; only a name needs the database
    /// Throws the Fault `badConfiguration`, with a sentence that says what to do.
    explicit TimeZone(const std::string& name);

    /// As it was given.
    const std::string& name() const noexcept { return name_; }

    /// What the clocks are ahead of UTC then, ms.
    std::int64_t offsetAt(std::int64_t utc) const noexcept;

    /// When the offset changes next after that time; the largest time if it does not.
    std::int64_t nextChange(std::int64_t utc) const noexcept;

    /// What the clocks show then; at most the largest time, at least the smallest.
    std::int64_t toLocal(std::int64_t utc) const noexcept;

    /// When the clocks show that time. Of two such times, where they are put back, the first; where
    /// they are put forward over it, as if that had not yet been done.
    std::int64_t toUtc(std::int64_t local) const noexcept;

private:
    std::string name_ = "UTC";
    std::shared_ptr<const detail::ZoneChanges> changes_; ///< never null
};

} // namespace qorvel_engine

#endif
