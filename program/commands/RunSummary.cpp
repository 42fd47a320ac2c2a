#include "program/commands/RunSummary.h"

#include "program/jsonString.h"

#include <cstdio>

namespace program {

namespace {

std::string decimal(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

} // namespace

std::string RunSummary::text() const {
    return (isInterrupted ? "interrupted: " : "") + std::to_string(read) + " rows read, " +
           std::to_string(processed) + " processed, " +
           (leftOut > 0 ? std::to_string(leftOut) + " left out, " : "") + std::to_string(rejected) +
           " rejected, " + std::to_string(results) + " results, " + decimal(seconds, 3) +
           " seconds, peak memory " + decimal(peakMemoryMiB, 1) + " MiB";
}

std::string RunSummary::json() const {
    std::string line = R"({"summary":{"interrupted":)";
    line += isInterrupted ? "true" : "false";
    const auto member = [&line](const char* name, const std::string& value) {
        line += std::string(",\"").append(name) + "\":" + value;
    };
    member("rows_read", std::to_string(read));
    member("processed", std::to_string(processed));
    member("left_out", std::to_string(leftOut));
    member("rejected", std::to_string(rejected));
    member("results", std::to_string(results));
    member("seconds", decimal(seconds, 3));
    member("peak_memory_mib", decimal(peakMemoryMiB, 1));
    line += R"(,"remarks":[)";
    for (std::size_t i = 0; i < remarks.size(); ++i) {
        line += i == 0 ? "" : ",";
        appendJsonString(line, remarks[i]);
    }
    return line + "]}}";
}

} // namespace program
