#include "program/commands/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <sstream>
#include <unistd.h>

namespace program {

namespace {

constexpr std::chrono::milliseconds kFirst{500};
constexpr std::chrono::milliseconds kBetween{200};
constexpr char kClearLine[] = "\r\033[K";

std::string bar(double share) {
    constexpr std::size_t kWidth = 24;
    const auto done = static_cast<std::size_t>(share * static_cast<double>(kWidth));
    return '[' + std::string(done, '#') + std::string(kWidth - done, '.') + ']';
}

std::string timeLeft(double share, double seconds) {
    constexpr double kTooLong = 359999.0;
    const double left = std::fmin(std::ceil(seconds * (1.0 - share) / share), kTooLong);
    const auto whole = static_cast<long>(left);
    std::ostringstream text;
    text << std::setfill('0');
    if (whole >= 3600) {
        text << whole / 3600 << ':' << std::setw(2);
    }
    text << whole / 60 % 60 << ':' << std::setw(2) << whole % 60 << " left";
    return text.str();
}

} // namespace

std::string progressText(const char* work, std::optional<double> share, std::uint64_t rows,
                         double seconds) {
    std::ostringstream text;
    text << work << ' ' << std::fixed << std::setprecision(0);
    if (share) {
        text << bar(*share) << ' ' << std::setw(3) << 100.0 * *share << " %, ";
    }
    const auto count = static_cast<double>(rows);
    text << std::setprecision(2) << count / 1e6 << " M rows, " << std::setprecision(0)
         << count / seconds / 1e3 << " k rows/s";
    if (share && *share > 0.0) {
        text << ", " << timeLeft(*share, seconds);
    }
    return text.str();
}

Progress::Progress(bool wanted) : isShown_(wanted && isatty(STDERR_FILENO) == 1) {}

void Progress::begin(const char* work) {
    clear();
    work_ = work;
    began_ = Clock::now();
    next_ = began_ + kFirst;
}

void Progress::show(std::optional<double> share, std::uint64_t rows) {
    if (!isShown_) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now >= next_) {
        const std::chrono::duration<double> seconds = now - began_;
        std::fprintf(stderr, "%s%s", kClearLine,
                     progressText(work_, share, rows, seconds.count()).c_str());
        std::fflush(stderr);
        isOnScreen_ = true;
        next_ = now + kBetween;
    }
}

void Progress::clear() {
    if (isOnScreen_) {
        std::fputs(kClearLine, stderr);
        std::fflush(stderr);
        isOnScreen_ = false;
    }
}

} // namespace program
