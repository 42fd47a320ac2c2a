#include "program/fileName.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace program {

namespace {

constexpr std::string_view kPacked = ".gz";

} // namespace

std::string lowered(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return name;
}

std::string formatName(const std::string& file) {
    std::string name = lowered(file);
    name.resize(name.size() - (isPacked(file) ? kPacked.size() : 0));
    return name;
}

bool isPacked(const std::string& file) {
    return lowered(file).ends_with(kPacked);
}

bool isThere(const std::string& file) {
    std::error_code none;
    return exists(std::filesystem::status(file, none));
}

} // namespace program
