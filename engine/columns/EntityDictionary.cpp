#include "engine/columns/EntityDictionary.h"

#include "engine/columns/Fault.h"
#include "engine/columns/Values.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <random>
#include <vector>

namespace qorvel_engine {

namespace {

/// A text, or an integer in place of the size.
struct Name {
    std::string_view asText() const { return {text, static_cast<std::size_t>(size)}; }

    const char* text;
    std::uint64_t size;
};

/// Names by number, in blocks of which each is as large as all before it: so none ever moves, and
/// who reads one needs no lock against who adds others.
class NameBlocks {
public:
    /// Makes room for the name of this number, the one after the last.
    void reserve(std::uint64_t number) {
        const Place place = placeOf(number);
        if (blocks_[place.block] == nullptr) {
            blocks_[place.block] = std::make_unique<Name[]>(std::size_t{kFirst} << place.block);
        }
    }

    Name& operator[](std::uint64_t number) {
        const Place place = placeOf(number);
        return blocks_[place.block][place.at];
    }

private:
    static constexpr std::uint64_t kFirst = 256; ///< names in the first block
    static constexpr std::size_t kBlocks = 24;   ///< beyond 2^31 names

    struct Place {
        std::size_t block;
        std::size_t at;
    };
    static Place placeOf(std::uint64_t number) {
        const std::uint64_t shifted = number + kFirst;
        const auto top = static_cast<std::size_t>(std::bit_width(shifted)) - 1;
        const auto firstTop = static_cast<std::size_t>(std::bit_width(kFirst)) - 1;
        return {top - firstTop, static_cast<std::size_t>(shifted ^ std::uint64_t{1} << top)};
    }

    std::array<std::unique_ptr<Name[]>, kBlocks> blocks_;
};

/// The bytes of names, one after the other in large pieces.
class NameBytes {
public:
    const char* add(std::string_view name) {
        if (name.size() > left_) {
            grow(name.size());
        }
        char* const place = next_;
        std::copy(name.begin(), name.end(), place);
        next_ += name.size();
        left_ -= name.size();
        return place;
    }

private:
    static constexpr std::size_t kSmallest = std::size_t{1} << 12U;
    static constexpr std::size_t kLargest = std::size_t{1} << 20U;

    void grow(std::size_t atLeast) {
        const std::size_t size = std::max(atLeast, nextSize_);
        pieces_.push_back(std::make_unique<char[]>(size));
        next_ = pieces_.back().get();
        left_ = size;
        nextSize_ = std::min(2 * nextSize_, kLargest);
    }

    std::vector<std::unique_ptr<char[]>> pieces_;
    char* next_ = nullptr;
    std::size_t left_ = 0;
    std::size_t nextSize_ = kSmallest;
};

/// Two random words; the second is odd.
struct Seed {
    Seed() {
        std::random_device chance;
        const auto word = [&chance] { return std::uint64_t{chance()} << 32U | chance(); };
        start = word();
        factor = word() | 1U;
    }

    std::uint64_t start;
    std::uint64_t factor;
};

std::uint64_t mixed(std::uint64_t word, const Seed& seed) {
    constexpr std::uint64_t kOddConstant = 0x9E3779B97F4A7C15U;
    word = (word ^ seed.start) * kOddConstant;
    word = (word ^ word >> 32U) * seed.factor;
    return word ^ word >> 32U;
}

std::uint64_t hashOf(std::string_view name, const Seed& seed) {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    std::uint64_t hash = name.size();
    if (name.size() < kWord) {
        std::array<char, kWord> padded{};
        std::copy(name.begin(), name.end(), padded.begin());
        return mixed(hash ^ loadAt<std::uint64_t>(padded.data(), 0), seed);
    }
    for (; name.size() > kWord; name.remove_prefix(kWord)) {
        hash = mixed(hash ^ loadAt<std::uint64_t>(name.data(), 0), seed);
    }
    // The last word reaches back into the one before.
    const char* const last = name.data() + name.size() - kWord;
    return mixed(hash ^ loadAt<std::uint64_t>(last, 0), seed);
}

/// A short text as numbers, which no other text has.
struct ShortName {
    static constexpr std::size_t kLongest = 16; ///< bytes

    ShortName() = default;
    explicit ShortName(std::string_view name) : size(static_cast<std::uint32_t>(name.size())) {
        if (name.size() >= sizeof(first)) {
            first = loadAt<std::uint64_t>(name.data(), 0);
            last = loadAt<std::uint64_t>(name.data() + name.size() - sizeof(last), 0);
        } else if (name.size() >= sizeof(std::uint32_t)) {
            first = loadAt<std::uint32_t>(name.data(), 0);
            last = loadAt<std::uint32_t>(name.data() + name.size() - sizeof(std::uint32_t), 0);
        } else {
            for (const char character : name) {
                first = first << 8U | static_cast<std::uint8_t>(character);
            }
        }
    }
    bool operator==(const ShortName&) const = default;

    std::uint64_t first = 0;
    std::uint64_t last = 0; ///< reaches back into the first where that is shorter than both
    std::uint32_t size = 0;
};

/// Short names that were asked for lately, with their numbers: each has one place, of which another
/// drives it out. The same few come again and again, and here neither a table of all names nor
/// their bytes have to be looked at.
class RecentNames {
public:
    struct Entry {
        ShortName name; ///< of size 0: none
        std::uint32_t number = 0;
    };

    Entry& placeOf(const ShortName& name) {
        constexpr std::uint64_t kOddConstant = 0x9E3779B97F4A7C15U;
        const std::uint64_t hash = (name.first ^ std::rotl(name.last, 29)) * kOddConstant;
        return entries_[static_cast<std::size_t>((hash >> 32U) * entries_.size() >> 32U)];
    }

    /// Some room to spare for so many names, up to a bound. Forgets all where it grows.
    void fit(std::uint64_t count) {
        if (2 * count > entries_.size() && entries_.size() < kMost) {
            entries_.assign(4 * entries_.size(), Entry{});
        }
    }

private:
    static constexpr std::size_t kMost = std::size_t{1} << 12U;

    std::vector<Entry> entries_ = std::vector<Entry>(kMost >> 6U);
};

void expectKind(bool isRight) {
    if (!isRight) {
        throw Fault(FaultCode::misuse,
                    "Entities are called by texts or by integers, the same for all.");
    }
}

} // namespace

struct EntityDictionary::State {
    explicit State(EntityKind theKind) : kind(theKind), slots(kFewSlots) {}

    static constexpr std::size_t kFewSlots = 64;
    static constexpr std::uint64_t kMost = std::uint64_t{1} << 31U;

    /// Where a number stands, by a part of the name's hash.
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t numberPlusOne = 0; ///< 0: free
    };

    /// The number of the name with this hash that `isSame` knows, or a new one, whose name `make`
    /// gives.
    template <class IsSame, class Make>
    std::uint64_t findOrAdd(std::uint64_t hash, const IsSame& isSame, const Make& make) {
        const auto tag = static_cast<std::uint32_t>(hash >> 32U);
        const std::size_t at = slotOf(tag, isSame);
        return slots[at].numberPlusOne != 0 ? slots[at].numberPlusOne - std::uint64_t{1}
                                            : add(tag, at, make);
    }

    /// The slot of the name, or the free one where it belongs.
    template <class IsSame>
    std::size_t slotOf(std::uint32_t tag, const IsSame& isSame) {
        std::size_t at = placeOf(tag);
        while (slots[at].numberPlusOne != 0 &&
               !(slots[at].tag == tag && isSame(names[slots[at].numberPlusOne - 1U]))) {
            at = next(at);
        }
        return at;
    }

    template <class Make>
    std::uint64_t add(std::uint32_t tag, std::size_t at, const Make& make) {
        const std::uint64_t number = count.load(std::memory_order_relaxed);
        if (number == kMost) {
            throw Fault(FaultCode::tooLarge, "There are more than 2147483648 entities.");
        }
        if (3 * (number + 1) > 2 * slots.size()) {
            grow();
            at = freePlaceOf(tag, slots);
        }
        names.reserve(number);
        names[number] = make(); // nothing fails after it
        slots[at] = {tag, static_cast<std::uint32_t>(number + 1)};
        count.store(number + 1, std::memory_order_release);
        return number;
    }

    void grow() {
        std::vector<Slot> larger(2 * slots.size());
        for (const Slot& slot : slots) {
            if (slot.numberPlusOne != 0) {
                larger[freePlaceOf(slot.tag, larger)] = slot;
            }
        }
        slots.swap(larger);
    }

    /// Tags in ascending order, spread over all slots.
    static std::size_t placeOf(std::uint32_t tag, const std::vector<Slot>& in) {
        return static_cast<std::size_t>(std::uint64_t{tag} * in.size() >> 32U);
    }
    std::size_t placeOf(std::uint32_t tag) const { return placeOf(tag, slots); }
    std::size_t next(std::size_t at) const { return at + 1 < slots.size() ? at + 1 : 0; }

    static std::size_t freePlaceOf(std::uint32_t tag, const std::vector<Slot>& in) {
        std::size_t at = placeOf(tag, in);
        while (in[at].numberPlusOne != 0) {
            at = at + 1 < in.size() ? at + 1 : 0;
        }
        return at;
    }

    /// The name of a number, or an empty one.
    Name nameOf(std::uint64_t number) {
        return number < count.load(std::memory_order_acquire) ? names[number] : Name{nullptr, 0};
    }

    std::uint64_t numberOfText(std::string_view name) {
        if (name.empty() || name.size() > ShortName::kLongest) {
            return addText(name);
        }
        const ShortName key(name);
        const RecentNames::Entry& entry = recent.placeOf(key);
        return entry.name == key ? entry.number : remember(key, addText(name));
    }

    std::uint64_t remember(const ShortName& key, std::uint64_t number) {
        recent.fit(number);
        recent.placeOf(key) = {key, static_cast<std::uint32_t>(number)};
        return number;
    }

    std::uint64_t addText(std::string_view name) {
        return findOrAdd(
            hashOf(name, seed), [name](const Name& other) { return other.asText() == name; },
            [this, name] {
                return Name{bytes.add(name), name.size()};
            });
    }

    /// Small integers need no hash: their numbers plus one stand at their place.
    static constexpr std::uint64_t kSmall = std::uint64_t{1} << 16U;

    std::uint64_t numberOfSmall(std::uint64_t bits) {
        const auto place = static_cast<std::size_t>(bits);
        if (place >= small.size()) {
            small.resize(std::bit_ceil(std::max(place + 1, kFewSlots)));
        }
        if (small[place] == 0) {
            small[place] = static_cast<std::uint32_t>(addInteger(bits) + 1);
        }
        return small[place] - std::uint64_t{1};
    }

    std::uint64_t addInteger(std::uint64_t bits) {
        return findOrAdd(
            mixed(bits, seed), [bits](const Name& other) { return other.size == bits; },
            [bits] {
                return Name{nullptr, bits};
            });
    }

    const EntityKind kind;
    const Seed seed;
    std::vector<std::uint32_t> small;
    RecentNames recent;
    std::atomic<std::uint64_t> count{0};
    std::vector<Slot> slots;
    NameBlocks names;
    NameBytes bytes;
};

EntityDictionary::EntityDictionary(EntityKind kind) : state_(std::make_unique<State>(kind)) {}

EntityDictionary::~EntityDictionary() = default;

std::uint64_t EntityDictionary::numberOf(std::string_view name) {
    expectKind(state_->kind == EntityKind::text);
    return state_->numberOfText(name);
}

std::uint64_t EntityDictionary::numberOf(std::uint64_t bits) {
    expectKind(state_->kind != EntityKind::text);
    return bits < State::kSmall ? state_->numberOfSmall(bits) : state_->addInteger(bits);
}

/// With few of them all are in the caches.
void EntityDictionary::fetch(std::uint64_t bits) const noexcept {
    if (bits >= State::kSmall && state_->slots.size() >= State::kSmall) {
        const auto tag = static_cast<std::uint32_t>(mixed(bits, state_->seed) >> 32U);
        __builtin_prefetch(&state_->slots[state_->placeOf(tag)]);
    }
}

std::optional<std::uint64_t> EntityDictionary::find(const EntityNames& others,
                                                    std::uint64_t number) const {
    expectKind(state_->kind == others.kind());
    const auto numberIn = [this](std::uint64_t hash, const auto& isSame) {
        const std::size_t at = state_->slotOf(static_cast<std::uint32_t>(hash >> 32U), isSame);
        const std::uint32_t found = state_->slots[at].numberPlusOne;
        return found == 0 ? std::nullopt : std::optional(found - std::uint64_t{1});
    };
    if (state_->kind == EntityKind::text) {
        const std::string_view name = others.text(number);
        return numberIn(hashOf(name, state_->seed),
                        [name](const Name& other) { return other.asText() == name; });
    }
    const std::uint64_t bits = others.bits(number);
    return numberIn(mixed(bits, state_->seed),
                    [bits](const Name& other) { return other.size == bits; });
}

EntityKind EntityDictionary::kind() const noexcept {
    return state_->kind;
}

std::uint64_t EntityDictionary::size() const noexcept {
    return state_->count.load(std::memory_order_acquire);
}

std::string_view EntityDictionary::text(std::uint64_t number) const noexcept {
    return state_->kind == EntityKind::text ? state_->nameOf(number).asText() : std::string_view();
}

std::uint64_t EntityDictionary::bits(std::uint64_t number) const noexcept {
    return state_->kind == EntityKind::text ? 0 : state_->nameOf(number).size;
}

} // namespace qorvel_engine
