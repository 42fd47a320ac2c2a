#include "program/input/KeptFixes.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

namespace program {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20; ///< bytes

/// What every fix has. What only some have stands behind it, and then the texts.
struct Head {
    double latitude;
    double longitude;
    std::int64_t time;
    std::uint32_t entitySize;
    bool hasAccuracy;
    bool hasKeys;
};

struct KeySizes {
    std::uint32_t primary;
    std::uint32_t secondary;
};

/// Of one that is not too large for a piece.
std::uint32_t sizeOf(const std::string& text) {
    return static_cast<std::uint32_t>(text.size());
}

template <typename Value>
char* put(char* at, const Value& value) {
    std::memcpy(at, &value, sizeof value);
    return at + sizeof value;
}

char* put(char* at, const std::string& text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
}

template <typename Value>
const char* get(const char* at, Value& value) {
    std::memcpy(&value, at, sizeof value);
    return at + sizeof value;
}

const char* get(const char* at, std::string& text, std::size_t size) {
    text.assign(at, size);
    return at + size;
}

} // namespace

void KeptFixes::add(const Fix& fix) {
    if (!holdsAll_) {
        return;
    }
    if (std::max({fix.entity.size(), fix.primaryKey.size(), fix.secondaryKey.size()}) > kPiece) {
        drop(); // before a size is cut to 32 bits
        return;
    }
    const KeySizes keys{sizeOf(fix.primaryKey), sizeOf(fix.secondaryKey)};
    const bool hasKeys = keys.primary > 0 || keys.secondary > 0;
    const Head head{
        fix.latitude, fix.longitude, fix.time, sizeOf(fix.entity), fix.accuracyM.has_value(),
        hasKeys};
    const std::size_t most = sizeof head + sizeof(double) + sizeof keys + head.entitySize +
                             keys.primary + keys.secondary;
    char* const begin = makeRoom(most);
    if (begin == nullptr) {
        drop();
        return;
    }
    char* at = put(begin, head);
    if (head.hasAccuracy) {
        at = put(at, *fix.accuracyM);
    }
    at = put(at, fix.entity);
    if (hasKeys) {
        at = put(at, keys);
        at = put(at, fix.primaryKey);
        at = put(at, fix.secondaryKey);
    }
    pieces_.back().size += static_cast<std::size_t>(at - begin);
    ++count_;
}

/// By pieces that are full.
void KeptFixes::foresee(double share) {
    const std::size_t full = std::max<std::size_t>(pieces_.size(), 1) - 1;
    if (static_cast<double>(full * kPiece) > share * static_cast<double>(mostMemory_)) {
        drop();
    }
}

void KeptFixes::drop() {
    holdsAll_ = false;
    count_ = 0;
    at_ = 0;
    std::deque<Piece>().swap(pieces_);
}

bool KeptFixes::take(Fix& fix) {
    if (!pieces_.empty() && at_ == pieces_.front().size) {
        pieces_.pop_front();
        at_ = 0;
    }
    if (pieces_.empty()) {
        return false;
    }
    const char* const begin = pieces_.front().bytes.get() + at_;
    Head head;
    const char* at = get(begin, head);
    fix.latitude = head.latitude;
    fix.longitude = head.longitude;
    fix.time = head.time;
    fix.accuracyM.reset();
    if (head.hasAccuracy) {
        at = get(at, fix.accuracyM.emplace());
    }
    at = get(at, fix.entity, head.entitySize);
    fix.primaryKey.clear();
    fix.secondaryKey.clear();
    if (head.hasKeys) {
        KeySizes keys;
        at = get(at, keys);
        at = get(at, fix.primaryKey, keys.primary);
        at = get(at, fix.secondaryKey, keys.secondary);
    }
    at_ += static_cast<std::size_t>(at - begin);
    return true;
}

/// Null when that is too much.
char* KeptFixes::makeRoom(std::size_t size) {
    if (pieces_.empty() || kPiece - pieces_.back().size < size) {
        if (size > kPiece || (pieces_.size() + 1) * kPiece > mostMemory_) {
            return nullptr;
        }
        pieces_.push_back({std::make_unique_for_overwrite<char[]>(kPiece), 0});
    }
    return pieces_.back().bytes.get() + pieces_.back().size;
}

} // namespace program
