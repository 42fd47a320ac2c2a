#ifndef QORVEL_MODEL_DETAIL_NAMEREGISTRY_H
#define QORVEL_MODEL_DETAIL_NAMEREGISTRY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace qorvel_detail {

/// Numbers names 0, 1, 2, ... in order of first sight. Names are compared exactly; the empty one is
/// a name like any other. No lock: whoever registers holds the facade's.
///
/// The instances are made when the library is loaded, so that no call comes too early, and never
/// destroyed: exit handlers, and threads that still run at exit, go on asking.
template <typename Number>
class NameRegistry {
public:
    /// The number of `name`, registering it first if it is new. When memory runs out the registry
    /// is as before.
    Number numberOf(const std::string& name) {
        if (last_ == nullptr || last_->first != name) {
            last_ = &findOrAdd(name);
        }
        return last_->second;
    }

    /// The name of `number`, or null when there is none. It never moves.
    const std::string* find(Number number) const {
        const auto at = static_cast<std::uint64_t>(number);
        return at < names_.size() ? names_[static_cast<std::size_t>(at)] : nullptr;
    }

    /// The same, or the empty string when there is none.
    std::string nameOf(Number number) const {
        const std::string* const name = find(number);
        return name == nullptr ? std::string() : *name;
    }

private:
    using Numbers = std::unordered_map<std::string, Number>;

    const typename Numbers::value_type& findOrAdd(const std::string& name) {
        const auto known = numbers_.find(name);
        if (known != numbers_.end()) {
            return *known;
        }
        const std::size_t next = numbers_.size();
        names_.resize(next + 1); // before the insertion, so that nothing can fail after it
        const auto added = numbers_.emplace(name, static_cast<Number>(next)).first;
        names_[next] = &added->first;
        return *added;
    }

    Numbers numbers_;
    /// By number; the numbers are dense. Points into the keys, which a rehash does not move.
    std::vector<const std::string*> names_;
    /// What was asked last: an entry of numbers_, which never moves. Hosts ask for the same keys
    /// event after event.
    const typename Numbers::value_type* last_ = nullptr;
};

} // namespace qorvel_detail

#endif
