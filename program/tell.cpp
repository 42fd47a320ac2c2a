#include "program/tell.h"

#include "program/jsonString.h"

#include <cstdio>
#include <utility>

namespace program {

namespace {

LogFormat logFormat = LogFormat::text;

bool steersTerminal(char c) {
    constexpr char kDelete = 0x7f;
    return (c >= '\0' && c < ' ' && c != '\n' && c != '\t') || c == kDelete;
}

} // namespace

void setLogFormat(LogFormat format) {
    logFormat = format;
}

void tell(const std::string& words, Level level) {
    if (logFormat == LogFormat::json) {
        constexpr const char* kLevels[] = {"info", "warning", "error"};
        std::string line =
            R"({"level":")" + std::string(kLevels[static_cast<int>(level)]) + R"(","message":)";
        appendJsonString(line, words);
        tellLine(line + '}');
        return;
    }
    std::string line = "qorvel: ";
    for (const char c : words) {
        if (steersTerminal(c)) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(c));
            line += code;
        } else {
            line += c;
        }
    }
    tellLine(std::move(line));
}

void tellLine(std::string line) {
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

} // namespace program
