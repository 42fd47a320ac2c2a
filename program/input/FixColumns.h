#ifndef QORVEL_PROGRAM_INPUT_FIXCOLUMNS_H
#define QORVEL_PROGRAM_INPUT_FIXCOLUMNS_H

#include "program/input/InputOptions.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// The place of a field in arrays that are kept by FixField.
constexpr std::size_t indexOf(FixField field) {
    return static_cast<std::size_t>(field);
}

inline constexpr std::size_t kFixFields = indexOf(FixField::count);

/// The option that names the column of a field, "--lat-column".
std::string_view columnOption(FixField field);

/// Which columns of an input hold what a fix is made of: those that the options name, exactly;
/// else by their usual names, see qorvel_engine::usualNames, the more telling one first.
class FixColumns {
public:
    static constexpr std::size_t kAbsent = std::numeric_limits<std::size_t>::max();

    explicit FixColumns(const InputOptions& options);

    /// @param names     of all columns; blanks around one do not count
    /// @param where     they stand, for messages: "tracks.csv: the header"
    /// @param hasPlace  whether latitude and longitude are known from elsewhere
    /// Throws Failure(broken) when a column that is needed or named is missing, or when two hold
    /// the same.
    void find(const std::vector<std::string>& names, const std::string& where, bool hasPlace);

    /// For inputs whose rows have names of their own: takes a column that find() did not see, if
    /// it holds an optional field that has none yet. Returns that field, or FixField::count.
    FixField adopt(std::string_view name);

    /// Those that it took, in that order.
    const std::vector<std::string>& adopted() const { return adopted_; }

    /// Which of the names it is; kAbsent for none.
    std::size_t index(FixField field) const { return entry(field).index; }
    /// As in the input, for messages; the usual name when there is none.
    const std::string& name(FixField field) const { return entry(field).name; }
    bool isFound() const { return isFound_; }

private:
    struct Entry {
        std::string name;
        std::size_t index = kAbsent;
    };

    const Entry& entry(FixField field) const { return entries_[indexOf(field)]; }
    bool isPointWanted(const std::vector<std::string>& names) const;
    std::vector<std::size_t> candidates(FixField field,
                                        const std::vector<std::string>& names) const;
    [[noreturn]] void failAbsent(FixField field, const std::vector<std::string>& names,
                                 const std::string& where) const;
    [[noreturn]] static void failTwice(FixField field, const std::string& one,
                                       const std::string& other, const std::string& where);

    const InputOptions options_;
    std::array<Entry, kFixFields> entries_;
    std::vector<std::string> adopted_;
    bool isFound_ = false;
};

} // namespace program

#endif
