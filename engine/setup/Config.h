#ifndef QORVEL_ENGINE_SETUP_CONFIG_H
#define QORVEL_ENGINE_SETUP_CONFIG_H

#include "engine/export.h"
#include "engine/setup/ProcessorKind.h"
#include "engine/setup/Span.h"

#include <cstdint>
#include <limits>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace qorvel_engine {

/// The primary key that stands for every other one, if it is the first registered; assignments and
/// specs see to that.
QORVEL_ENGINE_EXPORT std::string anyPrimaryKey();

/// All that the library's builders take, in the words of people. Each entry knows the line of its
/// file where it begins; 0 when it comes from the command line.
struct QORVEL_ENGINE_EXPORT Config {
    struct Master {
        std::string name = "default";
        std::uint32_t cellLength = 6; ///< geohash characters
        Span box{1, "hours"};
        std::uint32_t line = 0;
    };

    /// By default it takes every fix, wherever and however poor.
    struct Assignment {
        /// The distance from 0, 0 is a number for every point; from other centres rounding can turn
        /// that of the opposite point into NaN.
        static constexpr double kWholeEarth = 2.1e7;

        std::string primaryKey = anyPrimaryKey();
        std::string secondaryKey;
        double maxSpaceTolerance = std::numeric_limits<double>::max(); ///< metres
        std::uint32_t maxTimeTolerance = 1;                            ///< ms, 0 or 1
        std::string master = "default";
        std::list<std::string> geohashes; ///< none: the whole world
        double latitude = 0.0;            ///< degrees
        double longitude = 0.0;           ///< degrees
        double radius = kWholeEarth;      ///< metres
        double spaceFactor = 1.0;         ///< 0 to 1
        double timeFactor = 1.0;          ///< 0 to 1
        std::uint32_t line = 0;
    };

    /// For presence compression or for hangouts.
    struct Spec {
        std::string primaryKey = anyPrimaryKey();
        std::string secondaryKey;
        std::string master = "default";
        Span window{15, "minutes"};
        std::uint32_t minCount = 5;
        double ratio = 1.0; ///< 0 to 1
        std::uint32_t line = 0;
    };

    std::string file; ///< for messages; empty for the command line
    std::vector<Master> masters;
    std::vector<Assignment> assignments;
    std::vector<Spec> presence;
    std::vector<Spec> hangouts;

    /// The specs that a processor of that kind takes; none for boxes.
    const std::vector<Spec>& specs(ProcessorKind kind) const;
};

/// Something wrong with a configuration, or surely not meant.
struct ConfigFault {
    bool isError = true; ///< else a warning
    std::uint32_t line = 0;
    std::string sentence; ///< for people
    std::string tags;     ///< the library's, if it has any
};

/// "FILE, line N: sentence [tags]", as it is shown; without file and line for what comes from the
/// command line, and with "warning: " before the sentence of a warning.
QORVEL_ENGINE_EXPORT std::string describe(const ConfigFault& fault, const std::string& file);

QORVEL_ENGINE_EXPORT void sortByLine(std::vector<ConfigFault>& faults);

/// The errors among them, a line each; none if there is no error.
QORVEL_ENGINE_EXPORT std::string describeErrors(const std::vector<ConfigFault>& faults,
                                                const std::string& file);

/// Throws the Fault `badConfiguration` with them if there is one: its tags are those of all, its
/// line that of the first.
QORVEL_ENGINE_EXPORT void throwErrors(const std::vector<ConfigFault>& faults,
                                      const std::string& file);

/// What is wrong with a geohash text, without a line; nothing for a good one.
QORVEL_ENGINE_EXPORT std::optional<ConfigFault> judgeGeohash(const std::string& text);

/// Reads a TOML file; keys that are left out have the values above. Throws the Fault
/// `badConfiguration`, with file and line of every fault in it, when it is not TOML, has a key or a
/// value of a kind that is not known, or lacks one that is needed, or when it is longer than 1 MiB,
/// has more than 2000 entries in all (masters, assignments and specs) or nests deeper than 8; the
/// Fault `misuse` when it cannot be read.
QORVEL_ENGINE_EXPORT Config readConfig(const std::string& file);

/// The same for a text; `file` is for messages.
QORVEL_ENGINE_EXPORT Config readConfigText(const std::string& text, const std::string& file = {});

/// What the library's builders object to, what can never work (a zero count, an unknown unit, a
/// master that no one defines, a window not shorter than its box), and warnings of what is valid
/// but surely not meant. In the order of their lines. With a kind, a configuration
/// without the specs that it takes is a fault too.
QORVEL_ENGINE_EXPORT std::vector<ConfigFault>
checkConfig(const Config& config, std::optional<ProcessorKind> kind = std::nullopt);

} // namespace qorvel_engine

#endif
