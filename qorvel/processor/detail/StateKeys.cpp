#include "qorvel/processor/detail/StateKeys.h"

#include "qorvel/model/PrimaryKey.h"
#include "qorvel/model/detail/registeredNames.h"

#include <algorithm>
#include <string>

namespace qorvel_detail {

namespace {

enum Form : std::uint8_t { place = 0, name = 1, number = 2 };

const std::string* nameOf(std::uint32_t key) {
    return registeredPrimaryKey(static_cast<std::int32_t>(key));
}

/// Names first.
bool isBefore(std::uint32_t left, std::uint32_t right) {
    const std::string* const one = nameOf(left);
    const std::string* const other = nameOf(right);
    if (one == nullptr || other == nullptr) {
        return one == other ? left < right : one != nullptr;
    }
    return *one < *other;
}

} // namespace

StateKeys::StateKeys(const Configuration& configuration) {
    for (const STBCompressionSpec& spec : configuration.specs()) {
        if (placeOf(spec.primaryKeyId) == keys_.size()) {
            keys_.push_back(spec.primaryKeyId);
        }
    }
    ownKeys_ = keys_.size();
}

void StateKeys::addForeign(std::vector<std::uint32_t> keys) {
    std::sort(keys.begin(), keys.end(), isBefore);
    for (const std::uint32_t key : keys) {
        if (placeOf(key) == keys_.size()) {
            keys_.push_back(key);
        }
    }
}

std::size_t StateKeys::placeOf(std::uint32_t key) const {
    return static_cast<std::size_t>(std::find(keys_.begin(), keys_.end(), key) - keys_.begin());
}

void StateKeys::save(std::uint32_t key, StateWriter& out) const {
    const std::size_t at = placeOf(key);
    if (at < ownKeys_) {
        out.u8(Form::place);
        out.u32(static_cast<std::uint32_t>(at));
    } else if (const std::string* const known = nameOf(key)) {
        out.u8(Form::name);
        out.text(*known);
    } else {
        out.u8(Form::number);
        out.u32(key);
    }
}

std::uint32_t StateKeys::load(StateReader& in, bool takesForeign) const {
    const std::uint8_t form = in.u8();
    if (form == Form::place) {
        const std::uint32_t at = in.u32();
        in.expect(at < ownKeys_);
        return in.isGood() ? keys_[at] : 0;
    }
    in.expect(takesForeign && form <= Form::number);
    if (form == Form::name) {
        const std::string known(in.text());
        return in.isGood() ? static_cast<std::uint32_t>(PrimaryKey::getPrimaryKeyInt(known)) : 0;
    }
    return in.u32();
}

} // namespace qorvel_detail
