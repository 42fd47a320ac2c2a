#include "program/input/FixColumns.h"

#include "engine/columns/usualNames.h"
#include "program/Failure.h"

#include <algorithm>

namespace program {

namespace {

using qorvel_engine::UsualNames;
using Names = std::vector<std::string_view>;

constexpr std::string_view kOptions[kFixFields] = {
    "--entity-column",   "--lat-column",         "--lon-column",           "--time-column",
    "--accuracy-column", "--primary-key-column", "--secondary-key-column", "--point-column"};

/// The engine's, in whose order fields are, but for one: a dilution of precision, which is only
/// better than nothing, stands in for an accuracy.
std::vector<UsualNames> makeUsualNames() {
    std::vector<UsualNames> names = qorvel_engine::usualNames();
    const std::vector<Names> poor = names.back().ranks;
    names.pop_back();
    auto& ranks = names[indexOf(FixField::accuracy)].ranks;
    ranks.insert(ranks.end(), poor.begin(), poor.end());
    names.push_back({"point",
                     {{"point", "wkt", "geojson"},
                      {"geometry", "geom", "the_geom", "shape"},
                      {"location", "position", "coordinates"}}});
    return names;
}

const UsualNames& usual(FixField field) {
    static const std::vector<UsualNames> names = makeUsualNames();
    return names[indexOf(field)];
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

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
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

std::string_view columnOption(FixField field) {
    return kOptions[indexOf(field)];
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
    const bool hasPoint = !hasPlace && isPointWanted(names);
    for (std::size_t i = 0; i < kFixFields; ++i) {
        const auto field = static_cast<FixField>(i);
        const bool isNamed = !options_.columns[i].empty();
        const bool isNeedless = field == FixField::point ? !hasPoint : hasPlace || hasPoint;
        if ((isPlace(field) || field == FixField::point) && isNeedless && !isNamed) {
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

/// Coordinates of their own come before a point, which may be something else.
bool FixColumns::isPointWanted(const std::vector<std::string>& names) const {
    const auto isThere = [&](FixField field) { return !candidates(field, names).empty(); };
    const bool isNamed = !options_.columns[indexOf(FixField::point)].empty();
    return isNamed || (isThere(FixField::point) &&
                       !(isThere(FixField::latitude) && isThere(FixField::longitude)));
}

FixField FixColumns::adopt(std::string_view name) {
    const std::vector<std::string> names{std::string(name)};
    for (std::size_t i = indexOf(FixField::accuracy); i < indexOf(FixField::point); ++i) {
        const auto field = static_cast<FixField>(i);
        if (entries_[i].index == kAbsent && !candidates(field, names).empty()) {
            entries_[i] = {names[0], 0};
            adopted_.push_back(names[0]);
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
    if (wanted.empty()) {
        return usual(field).find(names);
    }
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (trimmed(names[i]) == std::string_view(wanted)) {
            found.push_back(i);
        }
    }
    return found;
}

void FixColumns::failAbsent(FixField field, const std::vector<std::string>& names,
                            const std::string& where) const {
    const auto& ranks = usual(field).ranks;
    const std::string option(columnOption(field));
    const std::string& wanted = options_.columns[indexOf(field)];
    Names others;
    for (const Names& rank : ranks) {
        others.insert(others.end(), rank.begin(), rank.end());
    }
    others.erase(others.begin());
    const std::string what =
        wanted.empty() ? std::string(ranks.front().front()) + " (nor " + listed(others) + ")"
                       : quoted(wanted) + ", which " + option + " names";
    throw Failure(ExitCode::broken,
                  where + " has no column " + what + "; it has " + listed(names) +
                      (wanted.empty() ? "; name the right one with " + option : ""));
}

void FixColumns::failTwice(FixField field, const std::string& one, const std::string& other,
                           const std::string& where) {
    const std::string which = one == other ? " has two columns " + quoted(one) + "; name another"
                                           : " has the columns " + quoted(one) + " and " +
                                                 quoted(other) + "; name the one that counts";
    throw Failure(ExitCode::broken, where + which + " with " + std::string(columnOption(field)));
}

} // namespace program
