#ifndef QORVEL_TOOLS_OPTIONS_H
#define QORVEL_TOOLS_OPTIONS_H

#include "tools/Failure.h"
#include "tools/world/World.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace host {

enum class Command { boxes, presence, hangouts, synth };

/// A length of time as the library takes it: a count that is not 0 and a known unit word.
struct Span {
    std::uint32_t count = 1;
    std::string unit;
};

/// What the command line asks for. The defaults suit people's phones: a fix a minute, right within
/// some ten to a hundred metres, now and then within a kilometre.
struct Options {
    Command command = Command::hangouts;

    std::string file; ///< "-" for standard input
    /// Geohash characters. 6 are an even number of bits, so that a cell and its neighbours are of
    /// one kind, and at 800 m x 600 m (middle latitudes) most poor fixes still reach the right one.
    /// With 7, a phone that lies still on the line between two half-cells is never found to stay.
    std::uint32_t cellLength = 6;
    Span box{1, "hours"};
    double spaceFactor = 1.0;        ///< applied to the accuracy of a fix, 0 to 1
    double timeFactor = 1.0;         ///< applied to the time tolerance, 0 to 1
    double defaultTolerance = 30.0;  ///< metres, where a row has no accuracy
    std::uint32_t timeTolerance = 0; ///< ms, 0 or 1

    Span window{15, "minutes"};
    std::uint32_t minCount = 5; ///< five fixes of a quarter of an hour: gaps do not matter
    double ratio = 1.0;
    bool lastFigures = false; ///< --final
    /// How far a row may lie behind the newest before it, ms; none: not said.
    std::optional<std::int64_t> late;

    world::WorldOptions world;
    std::string tracksFile = "-";
    std::string truthFile; ///< empty: not wanted
};

/// Reads the command line. Returns an exit code instead where all is said already: after --help,
/// --version and complaints. Throws Failure(usage) for values that have the right form but cannot
/// be meant.
std::variant<Options, ExitCode> readOptions(int argc, const char* const* argv);

} // namespace host

#endif
