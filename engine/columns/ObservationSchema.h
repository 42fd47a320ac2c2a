#ifndef QORVEL_ENGINE_COLUMNS_OBSERVATIONSCHEMA_H
#define QORVEL_ENGINE_COLUMNS_OBSERVATIONSCHEMA_H

#include "engine/columns/Observations.h"
#include "engine/columns/arrow_c_data.h"
#include "engine/export.h"

#include <array>
#include <cstddef>
#include <string>

namespace qorvel_engine {

/// What the columns of observations are called in a table. The names are compared exactly.
///
/// Accuracy and keys may be missing, but not under a name other than the usual one: whoever gives a
/// name has such a column. An empty name says that there is none.
struct ColumnNames {
    std::string entity = "entity";              ///< texts or integers
    std::string latitude = "lat";               ///< degrees
    std::string longitude = "lon";              ///< degrees
    std::string time = "time";                  ///< a timestamp, or ms since 1970 UTC up to 5138
    std::string accuracy = "accuracy";          ///< metres
    std::string primaryKey = "primary_key";     ///< texts
    std::string secondaryKey = "secondary_key"; ///< texts
};

namespace detail {
enum class ArrowType : std::uint8_t;
}

/// Which columns of Arrow's tables hold observations, and of what types they are. Found once, then
/// used for every batch of that schema, by any number of threads.
///
/// | column | types |
/// |---|---|
/// | entity | utf8, large utf8, utf8 view, these in a dictionary, integers |
/// | latitude, longitude | float64, float32 |
/// | time | timestamp in s, ms, us or ns (whatever its zone, the values are UTC), int64 (ms) |
/// | accuracy | float64, float32, null |
/// | keys | utf8, large utf8, utf8 view, these in a dictionary, null |
class QORVEL_ENGINE_EXPORT ObservationSchema {
public:
    /// Finds the columns of a struct. The schema is only read, and may go afterwards. Other columns
    /// are ignored. Throws a Fault: `missingColumn`; `badColumn` for a type that is not in the
    /// table, a name that two columns have, and a structure that breaks Arrow's rules.
    explicit ObservationSchema(const ArrowSchema& schema, const ColumnNames& names = {});

    /// Are entities texts or integers?
    EntityKind entityKind() const noexcept;

    /// Reads a batch in place: it must stay as long as the result is looked at. Throws a Fault
    /// (`badColumn`) for every contradiction that can be seen in lengths, offsets, counts and
    /// pointers; what a producer cannot be found out about is how long its buffers really are.
    Observations bind(const ArrowArray& batch) const;

private:
    /// In the order of ColumnNames.
    enum Role : std::uint8_t {
        kEntity,
        kLatitude,
        kLongitude,
        kTime,
        kAccuracy,
        kPrimaryKey,
        kSecondaryKey,
        kRoles
    };
    struct Column {
        std::string name;
        std::int64_t place = -1; ///< among the children; negative: there is no such column
        detail::ArrowType type{};
        detail::ArrowType dictionaryType{}; ///< of the values, where `type` is that of indices
    };

    void find(const ArrowSchema& schema, Role role, const std::string& name, bool isRequired);
    void readType(const ArrowSchema& schema, Role role);

    std::array<Column, kRoles> columns_;
    std::int64_t childCount_ = 0;
};

} // namespace qorvel_engine

#endif
