#include "engine/setup/Config.h"
#include "engine/setup/cellSize.h"
#include "engine/setup/numberText.h"
#include "engine/setup/records.h"
#include "examples/tagSentences.h"

#include "qorvel/processor/detail/FigureProcessor.h"
#include "qorvel/qorvel.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <unordered_map>

namespace qorvel_engine {

namespace {

/// The keys of whose values the library's tags speak.
constexpr struct {
    const char* tag;
    const char* key;
} kTagKeys[] = {
    {"ERROR_SPACEBOXSPEC_1", "cell_length"},
    {"ERROR_TIMEBOXSPEC_1", "box"},
    {"ERROR_ASSIGN_1", "max_space_tolerance"},
    {"ERROR_ASSIGN_2", "space_factor"},
    {"ERROR_ASSIGN_3", "radius"},
    {"ERROR_ASSIGN_4", "latitude"},
    {"ERROR_ASSIGN_5", "longitude"},
    {"ERROR_ASSIGN_6", "max_time_tolerance"},
    {"ERROR_ASSIGN_7", "time_factor"},
    {"ERROR_COMPRESSIONSPEC_1", "ratio"},
    {"ERROR_MOTIONPROCESSOR_1", "master"},
    {"ERROR_MOTIONPROCESSOR_2", "master"},
};

constexpr std::uint32_t kLongestCell = 25;      ///< geohash characters
constexpr std::uint32_t kLongestCoarseCell = 3; ///< cells from 150 km on
constexpr std::size_t kShortestHalvedText = 13; ///< from here on the library keeps 64 bits
constexpr std::size_t kLongestHalvedText = 22;  ///< up to here

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

/// Takes the tags out of a stream.
std::string take(std::stringstream& errors) {
    std::string tags = errors.str();
    errors.str("");
    return tags;
}

/// Is there an event that comes to the spec by the row, as far as keys and master tell?
bool canReach(const STBAssignmentRow& row, const STBCompressionSpec& spec) {
    Event event;
    event.secondaryKeyId = row.secondaryKeyId;
    event.primaryKeyId = row.primaryKeyId;
    if (qorvel_port::leadsTo(row, spec, event)) {
        return true;
    }
    event.primaryKeyId = static_cast<std::int32_t>(spec.primaryKeyId);
    return qorvel_port::leadsTo(row, spec, event);
}

/// As judgeGeohash; the stream is empty before and after.
std::optional<ConfigFault> judge(const std::string& geohash, std::stringstream& errors) {
    if (geohash.find('\0') != std::string::npos) { // ends the text for the library
        return ConfigFault{true, 0, "a geohash holds a NUL, which no geohash has", ""};
    }
    const std::string name = "geohash " + quoted(geohash);
    if (!SpaceBox(geohash).isValid(errors)) {
        const std::string tags = take(errors);
        return ConfigFault{true, 0, name + ": " + sentencesForTags(tags).front(), tags};
    }
    if (geohash.empty()) {
        return ConfigFault{false, 0, name + " is the whole world", ""};
    }
    if (kShortestHalvedText <= geohash.size() && geohash.size() <= kLongestHalvedText) {
        return ConfigFault{false, 0,
                           name + ": of 13 to 22 characters only the first 64 bits count, the "
                                  "rest is taken as 0",
                           ""};
    }
    return std::nullopt;
}

class Checker {
public:
    explicit Checker(const Config& config) : config_(config) {}

    std::vector<ConfigFault> operator()(std::optional<ProcessorKind> kind) {
        checkTables(kind);
        // Before the specs and masters, since they register "ANY" as primary key number 0.
        for (const Config::Assignment& assignment : config_.assignments) {
            checkAssignment(assignment);
        }
        for (const Config::Master& master : config_.masters) {
            checkMaster(master);
        }
        for (const ProcessorKind each : {ProcessorKind::presence, ProcessorKind::hangouts}) {
            for (const Config::Spec& spec : config_.specs(each)) {
                checkSpec(spec, each);
            }
        }
        for (const Config::Assignment& assignment : config_.assignments) {
            checkUses(assignment);
        }
        sortByLine(faults_);
        return faults_;
    }

private:
    void error(std::uint32_t line, const std::string& sentence, const std::string& tags = "") {
        faults_.push_back({true, line, sentence, tags});
    }

    void warn(std::uint32_t line, const std::string& sentence) {
        faults_.push_back({false, line, sentence, ""});
    }

    /// What the user calls a value: "space_factor" in a file, "--space-factor" on a command line.
    std::string word(const std::string& key) const {
        if (!config_.file.empty()) {
            return key;
        }
        std::string option = "--";
        option += key == "max_time_tolerance" ? "time_tolerance" : key;
        std::replace(option.begin(), option.end(), '_', '-');
        return option;
    }

    /// Reports each of the library's tags as a fault. `key` stands before the sentences; none: the
    /// key that belongs to the tag.
    void report(std::uint32_t line, const std::string& tags, const std::string& key = "") {
        if (tags.empty()) {
            return; // which spares most rows a stream
        }
        std::istringstream stream(tags);
        for (std::string tag; std::getline(stream, tag, ',');) {
            if (tag.find("ERROR_CREATE_") == std::string::npos) { // these only tell which call
                error(line,
                      (key.empty() ? word(keyOf(tag)) : key) + ": " + sentencesForTags(tag).front(),
                      tag + ',');
            }
        }
    }

    static std::string keyOf(const std::string& tag) {
        for (const auto& [known, key] : kTagKeys) {
            if (tag == known) {
                return key;
            }
        }
        return "value";
    }

    void checkTables(std::optional<ProcessorKind> kind) {
        if (config_.masters.empty()) {
            error(0, "there is no [[master]]: nothing says how large cells and time boxes are");
        }
        if (config_.assignments.empty()) {
            error(0, "there is no [[assignment]]: nothing says which fixes to take. An empty one "
                     "takes all");
        }
        if (kind && *kind != ProcessorKind::boxes && config_.specs(*kind).empty()) {
            error(0, std::string("there is no [[") +
                         (*kind == ProcessorKind::hangouts ? "hangout" : "presence") +
                         "]]: nothing says what to look for");
        }
    }

    void checkAssignment(const Config::Assignment& assignment) {
        const STBAssignmentRow row = makeAssignment(withoutGeohashes(assignment), errors_);
        report(assignment.line, take(errors_));
        if (const std::string& tags = tagsOfMaster(row); !tags.empty()) {
            report(assignment.line, tags, word("master") + ' ' + quoted(assignment.master));
        }
        if (std::isnan(assignment.spaceFactor) || std::isnan(assignment.timeFactor)) {
            error(assignment.line, word("space_factor") + " and " + word("time_factor") +
                                       " must be numbers from 0 to 1");
        }
        if (std::isnan(assignment.maxSpaceTolerance + assignment.latitude + assignment.longitude +
                       assignment.radius)) {
            error(assignment.line, word("max_space_tolerance") + ", " + word("latitude") + ", " +
                                       word("longitude") + " and " + word("radius") +
                                       " must be numbers");
        }
        for (const std::string& geohash : assignment.geohashes) {
            if (std::optional<ConfigFault> fault = judge(geohash, errors_)) {
                fault->line = assignment.line;
                faults_.push_back(*fault);
            }
        }
    }

    /// The library would only judge the first bad one.
    static Config::Assignment withoutGeohashes(Config::Assignment assignment) {
        assignment.geohashes.clear();
        return assignment;
    }

    /// What the library says of a row's master: of each once, since most rows have the same one.
    const std::string& tagsOfMaster(const STBAssignmentRow& row) {
        const auto [known, isNew] = masterTags_.try_emplace(row.masterId);
        if (isNew) {
            makeProcessor(ProcessorKind::boxes, masters(), {row}, {}, errors_);
            known->second = take(errors_);
        }
        return known->second;
    }

    /// The master rows, good or bad.
    const std::list<STBMasterRow>& masters() {
        if (masters_.empty()) {
            std::stringstream errors;
            for (const Config::Master& master : config_.masters) {
                masters_.push_back(makeMaster(master, errors));
            }
        }
        return masters_;
    }

    void checkMaster(const Config::Master& master) {
        checkName(master);
        if (master.cellLength > kLongestCell) { // the library's bits would wrap
            error(master.line, word("cell_length") + " must be 0 to 25 characters",
                  "ERROR_SPACEBOXSPEC_1,");
        } else if (master.cellLength <= kLongestCoarseCell) {
            const CellSize size = cellSize(UtilG2::_BITS_PER_GEOHASH_CHAR * master.cellLength, 0.0);
            warn(master.line, word("cell_length") + ' ' + std::to_string(master.cellLength) +
                                  " makes cells of " + roundedText(size.widthMetres / 1000.0) +
                                  " km x " + roundedText(size.heightMetres / 1000.0) +
                                  " km at the equator");
        }
        checkSpan(master.line, "box", master.box);
    }

    void checkName(const Config::Master& master) {
        const auto first = std::find_if(
            config_.masters.begin(), config_.masters.end(),
            [&master](const Config::Master& other) { return other.name == master.name; });
        if (&*first != &master) {
            error(master.line, "a master " + quoted(master.name) + " is already defined on line " +
                                   std::to_string(first->line));
        } else if (std::none_of(config_.assignments.begin(), config_.assignments.end(),
                                [&master](const Config::Assignment& assignment) {
                                    return assignment.master == master.name;
                                })) {
            warn(master.line, "no assignment uses the master " + quoted(master.name));
        }
    }

    void checkSpan(std::uint32_t line, const char* key, const Span& span) {
        const std::string name = word(key) + ' ' + quoted(span.text());
        const TimeBoxSpec length(span.count, span.unit);
        std::stringstream errors;
        if (!length.isValid(errors)) {
            report(line, errors.str(), name);
        } else if (span.count == 0) {
            error(line, name + ": a count of 0 is no length of time");
        } else if (length.getDurationMillis() == 0) {
            error(line, name + ": lengths count in 32 bits, and this one as 0 ms");
        } else if (wraps(span)) {
            warnOfWrap(line, name, span);
        }
    }

    void warnOfWrap(std::uint32_t line, const std::string& name, const Span& span) {
        const std::string counted = lengthText(countedLength(span));
        const std::string reason = "; lengths count in 32 bits, up to 4294967295 ms (49 days)";
        if (fixedLength(span)) {
            warn(line, name + " counts as " + counted + reason);
        } else {
            warn(line, name + " counts as " + counted +
                           " wherever lengths are compared or fixes are forgotten, though boxes "
                           "begin and end with the calendar" +
                           reason);
        }
    }

    void checkSpec(const Config::Spec& spec, ProcessorKind kind) {
        checkSpan(spec.line, "window", spec.window);
        if (spec.minCount == 0) {
            error(spec.line, word("min_count") + " must be at least 1");
        }
        std::stringstream errors;
        const STBCompressionSpec record = makeSpec(spec, kind, errors);
        report(spec.line, take(errors));
        makeProcessor(kind, masters(), {}, {record}, errors);
        const std::string tags = take(errors);
        if (tags.find("ERROR_MOTIONPROCESSOR_3,") != std::string::npos) {
            reportWindow(spec);
        } else {
            report(spec.line, tags, word("master") + ' ' + quoted(spec.master));
        }
        checkUse(spec, record, kind);
    }

    void reportWindow(const Config::Spec& spec) {
        const Span& box = std::find_if(config_.masters.begin(), config_.masters.end(),
                                       [&spec](const Config::Master& master) {
                                           return master.name == spec.master;
                                       })
                              ->box;
        error(spec.line,
              word("box") + " must be longer than " + word("window") + ", but " +
                  quoted(box.text()) + " counts as " + lengthText(countedLength(box)) + " and " +
                  quoted(spec.window.text()) + " as " + lengthText(countedLength(spec.window)),
              "ERROR_MOTIONPROCESSOR_3,");
    }

    /// Does a fix ever come to this spec, and only once?
    void checkUse(const Config::Spec& spec, const STBCompressionSpec& record, ProcessorKind kind) {
        std::stringstream errors;
        bool isUsed = false;
        for (const Config::Assignment& assignment : config_.assignments) {
            isUsed = isUsed || canReach(makeAssignment(assignment, errors), record);
        }
        if (!isUsed) {
            warn(spec.line, "no assignment of its master takes fixes for it: it never finds "
                            "anything");
        }
        for (const Config::Spec& other : config_.specs(kind)) {
            if (&other == &spec) {
                break;
            }
            if (makeSpec(other, kind, errors) == record) {
                warn(spec.line, "the same as on line " + std::to_string(other.line) +
                                    ": both share their memory, and every fix counts twice");
            }
        }
    }

    /// Does a spec ever see what this assignment takes?
    void checkUses(const Config::Assignment& assignment) {
        if (config_.presence.empty() && config_.hangouts.empty()) {
            return;
        }
        std::stringstream errors;
        const STBAssignmentRow row = makeAssignment(assignment, errors);
        bool isUsed = false;
        for (const ProcessorKind kind : {ProcessorKind::presence, ProcessorKind::hangouts}) {
            for (const Config::Spec& spec : config_.specs(kind)) {
                isUsed = isUsed || canReach(row, makeSpec(spec, kind, errors));
            }
        }
        if (!isUsed) {
            warn(assignment.line, "no [[presence]] or [[hangout]] looks at what it takes: their "
                                  "masters or primary keys are others");
        }
    }

    const Config& config_;
    std::list<STBMasterRow> masters_;
    std::unordered_map<std::int32_t, std::string> masterTags_; ///< by the number of the master
    std::vector<ConfigFault> faults_;
    std::stringstream errors_; ///< of one row; kept, since one costs more than most rows
};

} // namespace

std::optional<ConfigFault> judgeGeohash(const std::string& text) {
    std::stringstream errors;
    return judge(text, errors);
}

std::vector<ConfigFault> checkConfig(const Config& config, std::optional<ProcessorKind> kind) {
    return Checker(config)(kind);
}

} // namespace qorvel_engine
