#ifndef QORVEL_PROGRAM_INPUT_FIXREADER_H
#define QORVEL_PROGRAM_INPUT_FIXREADER_H

#include "program/input/Assumed.h"
#include "program/input/Fix.h"
#include "program/input/FixColumns.h"
#include "program/input/TimeReader.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// A row's values as texts, by FixField; empty where there is none.
using FixTexts = std::array<std::string_view, kFixFields>;

/// Turns the values of a row into a fix, with every check there is on them.
class FixReader {
public:
    explicit FixReader(const InputOptions& options);

    /// Which column holds what; to be found before anything is read.
    FixColumns& columns() { return columns_; }
    const FixColumns& columns() const { return columns_; }

    /// To be called when the columns are found.
    void find(const std::vector<std::string>& names, const std::string& where,
              bool hasPlace = false);

    /// Returns what is wrong, or an empty text: only then `fix` is wholly set.
    std::string read(const FixTexts& texts, Fix& fix);

    /// The time alone, if it is valid.
    std::optional<std::int64_t> readTime(std::string_view text);

    /// The input is read again from its beginning.
    void restart();

    /// What was told by rows so far: the unit of times, see TimeReader, and keys of objects, see
    /// FixColumns::adopt.
    TimeUnit timeUnit() const { return time_.unit(); }
    void goOn(TimeUnit unit, const std::vector<std::string>& keys);

    /// About the fixes that were read.
    const Assumed& assumed() const { return assumed_; }

private:
    std::string checkNames(const FixTexts& texts) const;
    std::string checkTime(std::string_view text, std::int64_t& time);
    std::string readPlace(const FixTexts& texts, Fix& fix) const;
    std::string readPointOf(std::string_view text, Fix& fix) const;
    std::string readAccuracy(std::string_view text, std::optional<double>& accuracy);
    std::string readReal(FixField field, std::string_view text, double low, double high,
                         double& value) const;
    std::string says(FixField field, std::string_view what) const;

    FixColumns columns_;
    std::string accuracyName_; ///< of the column that holds it, for which the unit is known
    double metresPerUnit_ = 1.0;
    TimeReader time_;
    Assumed assumed_;
};

} // namespace program

#endif
