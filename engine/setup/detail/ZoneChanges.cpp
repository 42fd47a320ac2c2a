#include "engine/setup/detail/ZoneChanges.h"

#include "engine/setup/detail/ZoneRule.h"

#include "qorvel/base/calendar.h"

#include <cstdlib>
#include <limits>

namespace qorvel_engine::detail {

namespace {

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kDay = 86'400'000;
constexpr std::int64_t kLatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kEarliest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kFirstYear = 1900; // from which on rules are followed
constexpr std::int64_t kLastYear = 2500;

/// The rule takes over where the list ends.
void follow(const ZoneRule& rule, ZoneChanges& changes) {
    const std::int64_t listed = changes.at.empty() ? kEarliest : changes.at.back();
    const std::int64_t first =
        std::max(kFirstYear, qorvel_detail::civilFromDays(listed / kDay).year);
    for (std::int64_t year = first; rule.hasChanges() && year <= kLastYear; ++year) {
        for (const ZoneRule::Change& change : rule.changesIn(year)) {
            if (change.at * kSecond > listed) {
                changes.add(change.at * kSecond, change.offset * kSecond);
            }
        }
    }
}

/// Reads TZif, RFC 8536, from version 2 on: a file in 32 bits, then the same in 64, then the rule.
class ZoneFile {
public:
    explicit ZoneFile(std::string_view bytes) : bytes_(bytes) {}

    std::shared_ptr<ZoneChanges> read() {
        const Counts old = readCounts();
        if (bytes_.size() < kHeader || bytes_[kVersionAt] < '2') {
            return nullptr;
        }
        at_ += old.size(4);
        const Counts counts = readCounts();
        if (hasFailed_ || counts.leaps > 0 || counts.types == 0 ||
            bytes_.size() - at_ < counts.size(8)) {
            return nullptr;
        }
        const std::size_t rule = at_ + counts.size(8);
        auto changes = readChanges(counts);
        if (changes != nullptr && rule < bytes_.size()) {
            followRule(bytes_.substr(rule), *changes);
        }
        return changes;
    }

private:
    static constexpr std::size_t kHeader = 44;
    static constexpr std::size_t kVersionAt = 4;
    static constexpr std::size_t kTypeSize = 6;

    struct Counts {
        std::size_t utcs, standards, leaps, times, types, letters;

        std::size_t size(std::size_t timeSize) const {
            return times * (timeSize + 1) + types * kTypeSize + letters + leaps * (timeSize + 4) +
                   standards + utcs;
        }
    };

    std::uint64_t number(std::size_t from, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | static_cast<unsigned char>(bytes_[from + i]);
        }
        return value;
    }

    Counts readCounts() {
        hasFailed_ |=
            at_ > bytes_.size() || bytes_.size() - at_ < kHeader || bytes_.substr(at_, 4) != "TZif";
        std::size_t counts[6] = {};
        for (std::size_t i = 0; i < 6 && !hasFailed_; ++i) {
            counts[i] = number(at_ + kHeader - 4 * (6 - i), 4);
        }
        at_ += kHeader;
        return {counts[0], counts[1], counts[2], counts[3], counts[4], counts[5]};
    }

    std::shared_ptr<ZoneChanges> readChanges(const Counts& counts) const {
        constexpr std::int64_t kMostOffset = 2 * kDay;
        const std::size_t types = at_ + counts.times * 9;
        const auto offsetOf = [&](std::size_t type) {
            const auto seconds = static_cast<std::int32_t>(number(types + type * kTypeSize, 4));
            return seconds * kSecond;
        };
        auto changes = std::make_shared<ZoneChanges>(offsetOf(0));
        for (std::size_t i = 0; i < counts.times; ++i) {
            const auto time = static_cast<std::int64_t>(number(at_ + i * 8, 8));
            const std::size_t type = number(at_ + counts.times * 8 + i, 1);
            if (type >= counts.types || std::abs(offsetOf(type)) > kMostOffset) {
                return nullptr;
            }
            const std::int64_t ms = std::clamp(time, kEarliest / kSecond, kLatest / kSecond);
            changes->add(ms * kSecond, offsetOf(type));
        }
        const bool isUsable = std::is_sorted(changes->at.begin(), changes->at.end()) &&
                              std::abs(changes->before) <= kMostOffset;
        return isUsable ? changes : nullptr;
    }

    /// It stands between two line ends, and may be empty.
    static void followRule(std::string_view text, ZoneChanges& changes) {
        const std::size_t end = text.find('\n', 1);
        if (text.front() == '\n' && end != std::string_view::npos) {
            if (const auto rule = ZoneRule::read(text.substr(1, end - 1))) {
                follow(*rule, changes);
            }
        }
    }

    std::string_view bytes_;
    std::size_t at_ = 0;
    bool hasFailed_ = false;
};

} // namespace

std::shared_ptr<const ZoneChanges> readZoneFile(std::string_view bytes) {
    return ZoneFile(bytes).read();
}

} // namespace qorvel_engine::detail
