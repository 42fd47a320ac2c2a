#ifndef QORVEL_ENGINE_RUN_EXPLANATION_H
#define QORVEL_ENGINE_RUN_EXPLANATION_H

#include "engine/export.h"

#include "qorvel/model/Event.h"
#include "qorvel/model/SpaceTimeBox.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <vector>

namespace qorvel_engine {

/// What an assignment asks of a row, in the order in which it is asked.
enum class RowTest : std::uint8_t {
    primaryKey,
    secondaryKey,
    spaceTolerance,
    timeTolerance,
    distance,
    area
};

/// What comes of a row in the end.
enum class Verdict : std::uint8_t {
    found,       ///< it gives results
    notTaken,    ///< no assignment takes it
    noCell,      ///< no cell holds it: at latitude 90 or longitude 180
    notAskedFor, ///< no spec looks at what the assignments take
    foundBefore, ///< what it belongs to was found by an earlier row
    notEnough    ///< what it belongs to is not enough yet
};

/// What becomes of a row.
struct QORVEL_ENGINE_EXPORT Explanation {
    static constexpr std::size_t kTests = 6;

    /// By an assignment.
    struct Judgement {
        std::array<bool, kTests> passes{};       ///< by RowTest
        bool isTaken = false;                    ///< passes all
        double distance = 0.0;                   ///< from the assignment's place, metres
        std::list<qorvel::SpaceTimeBox> boxes{}; ///< that the row touches by it
    };
    /// A time box that lies near a series.
    struct Box {
        qorvel::SpaceTimeBox box;
        std::uint32_t fixes;              ///< in the box
        std::uint32_t all;                ///< of which they are to be a share
        std::optional<std::uint64_t> row; ///< the number of the row that found it; none: not yet
    };
    /// What an entity's fixes in a cell have come to.
    struct Series {
        qorvel::SpaceBox cell;
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

    /// In a word; never `found` without results.
    Verdict verdict() const;

    qorvel::Event event; ///< its entity has no number
    bool hasCell = false;
    std::vector<Judgement> assignments{}; ///< as in the configuration
    std::vector<Way> specs{};             ///< the same
    std::size_t results = 0;              ///< that the row gives
};

} // namespace qorvel_engine

#endif
