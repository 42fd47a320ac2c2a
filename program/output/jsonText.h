#ifndef QORVEL_PROGRAM_OUTPUT_JSONTEXT_H
#define QORVEL_PROGRAM_OUTPUT_JSONTEXT_H

#include "engine/columns/ResultTable.h"
#include "engine/setup/TimeZone.h"
#include "program/engineNames.h"
#include "program/jsonString.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace program {

/// Turns rows into JSON objects, "{"entity":"a","total":3}": numbers as such, times as in CSV.
class JsonObject {
public:
    /// @param zone  of times; none: UTC
    explicit JsonObject(const std::vector<ResultColumn>& columns,
                        std::optional<TimeZone> zone = std::nullopt);
    void append(std::string& out, const ResultTable& table, std::size_t row) const;

private:
    struct Member {
        std::string key; ///< with all that stands in front of the value
        ResultKind kind;
    };
    std::vector<Member> members_;
    std::optional<TimeZone> zone_;
};

} // namespace program

#endif
