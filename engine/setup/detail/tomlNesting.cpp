#include "engine/setup/detail/tomlNesting.h"

#include <algorithm>
#include <cstddef>

namespace qorvel_engine {

namespace {

constexpr std::uint32_t kMostBrackets = 8;
constexpr std::uint32_t kMostDots = 8;

/// Goes through a text of TOML. Where the text is none, the parser stops too, so that only what
/// comes before has to be understood as the parser does.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    std::optional<std::uint32_t> operator()() {
        while (!rest_.empty()) {
            skipText();
            if (!rest_.empty() && !count(rest_.front())) {
                return line_;
            }
            skip(1);
        }
        return std::nullopt;
    }

private:
    /// A comment or strings, if they begin here.
    void skipText() {
        while (!rest_.empty() && (rest_.front() == '"' || rest_.front() == '\'')) {
            skipString(rest_.front());
        }
        if (!rest_.empty() && rest_.front() == '#') {
            skip(rest_.find('\n'));
        }
    }

    void skipString(char quote) {
        const char three[] = {quote, quote, quote};
        const std::string_view fence(three, sizeof three);
        const bool isLong = rest_.substr(0, fence.size()) == fence;
        const std::string_view end = isLong ? fence : fence.substr(0, 1);
        skip(end.size());
        while (!rest_.empty() && rest_.substr(0, end.size()) != end) {
            if (!isLong && rest_.front() == '\n') {
                return;
            }
            skip(quote == '"' && rest_.front() == '\\' ? 2 : 1);
        }
        skip(end.size());
        // One or two more quotes are the end of what a long string holds.
        for (int more = 0; isLong && more < 2 && !rest_.empty() && rest_.front() == quote; ++more) {
            skip(1);
        }
    }

    /// False where it gets too deep.
    bool count(char c) {
        constexpr std::string_view kEndsKey = "[]{},=\n";
        if (c == '[' || c == '{') {
            ++brackets_;
        } else if ((c == ']' || c == '}') && brackets_ > 0) {
            --brackets_;
        }
        if (kEndsKey.find(c) != std::string_view::npos) {
            dots_ = 0;
        } else if (c == '.') {
            ++dots_;
        }
        return brackets_ <= kMostBrackets && dots_ <= kMostDots;
    }

    void skip(std::size_t size) {
        const std::string_view skipped = rest_.substr(0, size);
        line_ += static_cast<std::uint32_t>(std::count(skipped.begin(), skipped.end(), '\n'));
        rest_.remove_prefix(skipped.size());
    }

    std::string_view rest_;
    std::uint32_t line_ = 1;
    std::uint32_t brackets_ = 0;
    std::uint32_t dots_ = 0;
};

} // namespace

std::optional<std::uint32_t> tooDeepLine(std::string_view text) {
    return Scanner(text)();
}

} // namespace qorvel_engine
