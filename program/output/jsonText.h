#ifndef QORVEL_PROGRAM_OUTPUT_JSONTEXT_H
#define QORVEL_PROGRAM_OUTPUT_JSONTEXT_H

#include "engine/columns/ResultTable.h"
#include "program/engineNames.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// The text with U+FFFD for each byte that is not UTF-8, for formats that can hold nothing else.
std::string asUtf8(std::string_view text);

/// Appends a JSON string, with quotes; by asUtf8.
void appendJsonString(std::string& out, std::string_view text);

/// Turns rows into JSON objects, "{"entity":"a","total":3}": numbers as such, times as in CSV.
class JsonObject {
public:
    explicit JsonObject(const std::vector<ResultColumn>& columns);
    void append(std::string& out, const ResultTable& table, std::size_t row) const;

private:
    struct Member {
        std::string key; ///< with all that stands in front of the value
        ResultKind kind;
    };
    std::vector<Member> members_;
};

} // namespace program

#endif
