#ifndef QORVEL_ENGINE_RUN_DETAIL_KEYNUMBERS_H
#define QORVEL_ENGINE_RUN_DETAIL_KEYNUMBERS_H

#include "engine/setup/Config.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace qorvel_engine::detail {

/// The numbers that the library has given to the keys of a configuration. It is asked only when
/// this is made, under its lock: not at every event.
class KeyNumbers {
public:
    explicit KeyNumbers(const Config& config);

    /// Of a primary key; an empty one is "ANY".
    std::int32_t primary(std::string_view key) const {
        return key.empty() ? any_ : find(primary_, key);
    }

    /// Of a secondary key, an empty one too.
    std::int32_t secondary(std::string_view key) const {
        return key.empty() ? none_ : find(secondary_, key);
    }

private:
    /// What no assignment or spec names: the library's numbers are not negative.
    static constexpr std::int32_t kUnnamed = -1;

    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };
    using Numbers = std::unordered_map<std::string, std::int32_t, Hash, std::equal_to<>>;

    static std::int32_t find(const Numbers& numbers, std::string_view key) {
        const auto found = numbers.find(key);
        return found == numbers.end() ? kUnnamed : found->second;
    }

    template <class Entries>
    void add(const Entries& entries);

    Numbers primary_;
    Numbers secondary_;
    std::int32_t any_;
    std::int32_t none_;
};

} // namespace qorvel_engine::detail

#endif
