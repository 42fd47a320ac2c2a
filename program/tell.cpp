#include "program/tell.h"

#include <cstdio>

namespace program {

namespace {

bool steersTerminal(char c) {
    constexpr char kDelete = 0x7f;
    return (c >= '\0' && c < ' ' && c != '\n' && c != '\t') || c == kDelete;
}

} // namespace

void tell(const std::string& words) {
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
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

} // namespace program
