#ifndef QORVEL_PROGRAM_COMMANDS_PROGRESS_H
#define QORVEL_PROGRAM_COMMANDS_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace program {

/// A line on standard error that says how far long work has come: share, rate and time left. Only
/// on a terminal, and not before half a second has passed.
class Progress {
public:
    /// `wanted` false: nothing is ever shown.
    explicit Progress(bool wanted);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// A new piece of work, by its name.
    void begin(const char* work);

    /// Shows how far it is, a few times a second at most. Cheap enough for each batch of rows.
    /// @param share  0 to 1; none: not known
    void show(std::optional<double> share, std::uint64_t rows);

    /// Takes the line away, as before any other text on standard error.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool isShown_;
    bool isOnScreen_ = false;
    const char* work_ = "";
    Clock::time_point began_ = Clock::now();
    Clock::time_point next_ = began_;
};

/// The text of the line, without its control characters.
/// @param share    0 to 1; none: not known
/// @param seconds  since the work began, above 0
std::string progressText(const char* work, std::optional<double> share, std::uint64_t rows,
                         double seconds);

} // namespace program

#endif
