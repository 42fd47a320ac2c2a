#ifndef QORVEL_PROGRAM_COMMANDS_EXPLANATION_H
#define QORVEL_PROGRAM_COMMANDS_EXPLANATION_H

#include "engine/setup/Tables.h"
#include "program/commands/Story.h"
#include "program/engineNames.h"

#include "qorvel/qorvel.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <vector>

namespace program {

/// What becomes of a row.
struct Explanation {
    static constexpr std::size_t kTests = 6;

    /// By an assignment.
    struct Judgement {
        std::array<bool, kTests> passes{}; ///< in the order of the library's tests
        bool isTaken = false;              ///< passes all
        double distance = 0.0;             ///< from the assignment's place, metres
        std::list<SpaceTimeBox> boxes{};   ///< that the row touches by it
    };
    /// A time box that lies near a series.
    struct Box {
        SpaceTimeBox box;
        std::uint32_t fixes;               ///< in the box
        std::uint32_t all;                 ///< of which they are to be a share
        std::optional<std::uint64_t> line; ///< of the row by which it was found; none: not yet
    };
    /// What an entity's fixes in a cell have come to.
    struct Series {
        SpaceBox cell;
        std::size_t fixes;
        std::int64_t since;   ///< ms since 1970 UTC
        std::int64_t covered; ///< ms
        std::vector<Box> boxes{};
    };
    /// By a spec.
    struct Way {
        bool isReached = false; ///< by an assignment that takes the row
        std::vector<Series> series{};
    };

    Event event;
    bool hasCell = false;
    std::vector<Judgement> assignments{}; ///< as in the configuration
    std::vector<Way> specs{};             ///< the same
    std::size_t results = 0;              ///< that the row gives
};

/// Of the last event that the story took. Results are those of the library's kind: boxes, or what
/// the event finds.
Explanation explainEvent(const Event& event, const Tables& library, const Story& story);

} // namespace program

#endif
