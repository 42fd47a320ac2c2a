#include "program/input/FixColumns.h"

#include "program/Failure.h"

#include <algorithm>

namespace program {

namespace {

using Names = std::vector<std::string_view>;

struct Usual {
    std::string_view option;
    std::vector<Names> ranks; ///< the first one of which a name is there counts
};

/// An id by itself is often the number of the row, a name often a label: both come last. A dilution
/// of precision is only better than nothing.
const Usual& usual(FixField field) {
    static const std::array<Usual, kFixFields> kUsual = {{
        {"--entity-column",
         {{"entity", "entity_id"},
          {"user", "user_id", "mmsi", "device", "device_id", "vehicle", "vehicle_id"},
          {"id"},
          {"track_fid", "route_fid"},
          {"name"}}},
        {"--lat-column", {{"lat", "latitude"}, {"y"}}},
        {"--lon-column", {{"lon", "lng", "long", "longitude"}, {"x"}}},
        {"--time-column",
         {{"time_ms", "timestamp_ms"},
          {"time", "timestamp", "datetime", "date_time", "basedatetime"},
          {"t", "ts"}}},
        {"--accuracy-column", {{"accuracy_m"}, {"accuracy", "horizontal_accuracy"}, {"hdop"}}},
        {"--primary-key-column", {{"primary_key"}, {"key"}}},
        {"--secondary-key-column", {{"secondary_key"}}},
    }};
    return kUsual[indexOf(field)];
}

/// The optional ones come last.
bool isOptional(FixField field) {
    return field >= FixField::accuracy;
}

bool isKey(FixField field) {
    return field == FixField::primaryKey || field == FixField::secondaryKey;
}

bool isPlace(FixField field) {
    return field == FixField::latitude || field == FixField::longitude;
}

char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool isOneOf(std::string_view name, const Names& names) {
    return std::any_of(names.begin(), names.end(),
                       [name](std::string_view usualName) { return isSameName(name, usualName); });
}

template <typename Accepts>
std::vector<std::size_t> indicesOf(const std::vector<std::string>& names, Accepts accepts) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (accepts(names[i])) {
            found.push_back(i);
        }
    }
    return found;
}

/// One after another, but not without end, whatever a header holds.
template <typename Texts>
std::string listed(const Texts& texts) {
    if (texts.empty()) {
        return "none";
    }
    constexpr std::size_t kMost = 30;
    constexpr std::size_t kMostLetters = 60;
    std::string list;
    for (std::size_t i = 0; i < std::min(texts.size(), kMost); ++i) {
        list += (i == 0 ? "" : ", ") + std::string(texts[i].substr(0, kMostLetters));
    }
    return list + (texts.size() > kMost ? ", ..." : "");
}

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

} // namespace

bool isSameName(std::string_view column, std::string_view usualName) {
    const std::string_view core = trimmed(column);
    return std::equal(core.begin(), core.end(), usualName.begin(), usualName.end(),
                      [](char a, char b) { return toLower(a) == b; });
}

std::string_view columnOption(FixField field) {
    return usual(field).option;
}

FixColumns::FixColumns(const InputOptions& options) : options_(options) {
    for (std::size_t i = 0; i < kFixFields; ++i) {
        const auto field = static_cast<FixField>(i);
        entries_[i].name =
            options.columns[i].empty() ? usual(field).ranks.front().front() : options.columns[i];
    }
}

void FixColumns::find(const std::vector<std::string>& names, const std::string& where,
                      bool hasPlace) {
    for (std::size_t i = 0; i < kFixFields; ++i) {
        const auto field = static_cast<FixField>(i);
        const bool isNamed = !options_.columns[i].empty();
        if (hasPlace && isPlace(field) && !isNamed) {
            continue;
        }
        const std::vector<std::size_t> found = candidates(field, names);
        if (found.size() > 1) {
            failTwice(field, names[found[0]], names[found[1]], where);
        }
        if (!found.empty()) {
            entries_[i] = {std::string(trimmed(names[found[0]])), found[0]};
        } else if (isNamed || !isOptional(field)) {
            failAbsent(field, names, where);
        }
    }
    isFound_ = true;
}

FixField FixColumns::adopt(std::string_view name) {
    const std::vector<std::string> names{std::string(name)};
    for (std::size_t i = indexOf(FixField::accuracy); i < kFixFields; ++i) {
        const auto field = static_cast<FixField>(i);
        if (entries_[i].index == kAbsent && !candidates(field, names).empty()) {
            entries_[i] = {names[0], 0};
            return field;
        }
    }
    return FixField::count;
}

std::vector<std::size_t> FixColumns::candidates(FixField field,
                                                const std::vector<std::string>& names) const {
    if (isKey(field) && !options_.readsKeys) {
        return {};
    }
    const std::string& wanted = options_.columns[indexOf(field)];
    if (!wanted.empty()) {
        return indicesOf(names, [&](const std::string& name) {
            return trimmed(name) == std::string_view(wanted);
        });
    }
    std::vector<std::size_t> found;
    for (const Names& rank : usual(field).ranks) {
        if (found.empty()) {
            found = indicesOf(names, [&](const std::string& name) { return isOneOf(name, rank); });
        }
    }
    return found;
}

void FixColumns::failAbsent(FixField field, const std::vector<std::string>& names,
                            const std::string& where) const {
    const Usual& known = usual(field);
    const std::string& wanted = options_.columns[indexOf(field)];
    Names others;
    for (const Names& rank : known.ranks) {
        others.insert(others.end(), rank.begin(), rank.end());
    }
    others.erase(others.begin());
    const std::string what =
        wanted.empty() ? std::string(known.ranks.front().front()) + " (nor " + listed(others) + ")"
                       : quoted(wanted) + ", which " + std::string(known.option) + " names";
    throw Failure(
        ExitCode::broken,
        where + " has no column " + what + "; it has " + listed(names) +
            (wanted.empty() ? "; name the right one with " + std::string(known.option) : ""));
}

void FixColumns::failTwice(FixField field, const std::string& one, const std::string& other,
                           const std::string& where) {
    const std::string which = one == other ? " has two columns " + quoted(one) + "; name another"
                                           : " has the columns " + quoted(one) + " and " +
                                                 quoted(other) + "; name the one that counts";
    throw Failure(ExitCode::broken, where + which + " with " + std::string(usual(field).option));
}

} // namespace program
