#include "program/commands/explainCommand.h"

#include "engine/setup/numberText.h"
#include "program/commands/configText.h"
#include "program/commands/makeProcessor.h"
#include "program/isoTime.h"
#include "program/output/TextFile.h"

#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <list>
#include <memory>
#include <optional>
#include <sstream>
#include <unordered_map>
#include <utility>
#include <vector>

namespace program {

namespace {

using API = QorvelMotionProcessorAPI;
using qorvel_port::RowTest;
using Records = std::list<STBCompressedEvent>;

std::string timeText(std::int64_t time) {
    std::string text;
    appendTime(text, time);
    return text;
}

std::string boxText(const TimeBox& box) {
    std::string text;
    appendTime(text, box.start);
    text += " to ";
    appendBoxEnd(text, box.end);
    return text;
}

std::string placeText(double latitude, double longitude) {
    return numberText(latitude) + ", " + numberText(longitude);
}

/// A row of the input, as far as it could be read.
struct Row {
    std::uint64_t number = 0; ///< from 1
    std::uint64_t line = 0;
    std::string verbatim;
    std::string reason; ///< why it is rejected; empty for a good one
    Fix fix;
};

/// The next row, with the event that it makes; false at the end of the input.
bool readRow(FixSource& source, EventMaker& maker, Row& row, Event& event) {
    if (!source.next()) {
        return false;
    }
    ++row.number;
    row.line = source.line();
    row.reason = source.read(row.fix);
    if (row.reason.empty()) {
        row.reason = maker.make(row.fix, event);
    }
    return true;
}

/// A detector that wants as little as one can want, and so tells how far a spec's series have come.
class EasyDetector {
public:
    EasyDetector(const STBCompressionSpec& spec, const STBMasterRow& master, ProcessorKind use)
        : process_(use == ProcessorKind::hangouts
                       ? &HangoutDetector::processEventDwellTime
                       : &HangoutDetector::processEventPresenceCompression),
          spec_(spec), easySpec_(spec), master_(master) {
        easySpec_.minCount = 1;
        easySpec_.ratio = 0.0;
        if (use == ProcessorKind::hangouts) {
            easySpec_.windowMillis = 0; // only how long a stay must be depends on it
        }
    }

    const STBCompressionSpec& spec() const { return spec_; }

    void begin() {
        isReached_ = false;
        figures_.clear();
    }

    void take(const Event& event, const STBAssignmentRow& row) {
        isReached_ = true;
        figures_.clear(); // by several ways, the series only grow
        (detector_.*process_)(event, row.timeToleranceFactor, row.spaceToleranceFactor, easySpec_,
                              master_.stbSpec, figures_);
    }

    /// Since the last begin().
    bool isReached() const { return isReached_; }

    /// For each cell of the last event a record for the box before the boundary if a fix lies
    /// there, and then one for the box after it, if a fix lies there.
    const Records& figures() const { return figures_; }

private:
    bool (HangoutDetector::*process_)(const Event&, const double&, const double&,
                                      const STBCompressionSpec&, const SpaceTimeBoxSpec&, Records&);
    STBCompressionSpec spec_;
    STBCompressionSpec easySpec_;
    const STBMasterRow& master_;
    HangoutDetector detector_;
    bool isReached_ = false;
    Records figures_;
};

/// An entity's rows on their way through the library.
class Story {
public:
    explicit Story(const Tables& library)
        : library_(library), processor_(program::makeProcessor(library)) {
        for (const STBCompressionSpec& spec : library.specs()) {
            const auto same =
                std::find_if(detectors_.begin(), detectors_.end(),
                             [&spec](const EasyDetector& other) { return other.spec() == spec; });
            bySpec_.push_back(
                same != detectors_.end()
                    ? &*same
                    : &detectors_.emplace_back(spec, library.masterOf(spec), library.kind()));
        }
    }

    void take(const Event& event, std::uint64_t line) {
        for (EasyDetector& detector : detectors_) {
            detector.begin();
        }
        for (const STBAssignmentRow& row : library_.assignments()) {
            auto detector = bySpec_.begin();
            for (const STBCompressionSpec& spec : library_.specs()) {
                if (qorvel_port::applies(row, event) && qorvel_port::leadsTo(row, spec, event)) {
                    (*detector)->take(event, row);
                }
                ++detector;
            }
        }
        report(event, line);
    }

    /// How the last event went with the spec of that index.
    const EasyDetector& detector(std::size_t spec) const { return *bySpec_[spec]; }

    /// What the last event found.
    const Records& found() const { return found_; }

    /// The line by which the record's box was reported; none if it was not.
    std::optional<std::uint64_t> lineOf(const STBCompressedEvent& record) const {
        const auto known = reported_.find({record.specPrimaryKeyId, record.stb});
        return known == reported_.end() ? std::nullopt : std::optional(known->second);
    }

private:
    using Key = std::pair<std::uint32_t, SpaceTimeBox>; ///< with the spec's primary key
    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            return static_cast<std::size_t>(hash_SpaceTimeBox()(key.second) ^ key.first);
        }
    };

    void report(const Event& event, std::uint64_t line) {
        found_.clear();
        if (library_.kind() == ProcessorKind::hangouts) {
            API::processEventForHangouts(event, processor_, found_, errors_);
        } else {
            API::processEventForPresenceCompression(event, processor_, found_, errors_);
        }
        for (const STBCompressedEvent& record : found_) {
            reported_.try_emplace({record.specPrimaryKeyId, record.stb}, line);
        }
    }

    const Tables& library_;
    MotionProcessor processor_;
    std::list<EasyDetector> detectors_; ///< equal specs share one
    std::vector<EasyDetector*> bySpec_;
    Records found_;
    std::unordered_map<Key, std::uint64_t, KeyHash> reported_;
    std::stringstream errors_; ///< asked for by the library, never written
};

/// What there is to say about one row.
class Explanation {
public:
    Explanation(const ExplainOptions& options, const Tables& library, const Row& row,
                const Event& event, const Story& story)
        : config_(options.config), use_(options.use), library_(library), row_(row), event_(event),
          story_(story) {}

    std::string text() {
        explainRow();
        std::size_t index = 0;
        for (const STBAssignmentRow& assignment : library_.assignments()) {
            explainAssignment(index++, assignment);
        }
        for (index = 0; index < library_.specs().size(); ++index) {
            explainSpec(index);
        }
        conclude();
        return text_;
    }

private:
    void say(const std::string& line) { text_ += line + '\n'; }

    void explainRow() {
        say("  entity     " + row_.fix.entity);
        say("  place      " + placeText(event_.latitude, event_.longitude) + ", within " +
            numberText(event_.spaceTolerance) + " m");
        say("  time       " + timeText(event_.time) + ", within " +
            std::to_string(event_.timeTolerance) + " ms");
        say("  keys       primary \"" +
            (row_.fix.primaryKey.empty() ? "ANY" : row_.fix.primaryKey) + "\", secondary \"" +
            row_.fix.secondaryKey + '"');
        if (!hasCell()) {
            say("  No cell holds latitude 90 or longitude 180: the row has no boxes and counts "
                "nowhere.");
        }
    }

    bool hasCell() const {
        SpaceBox cell;
        return UtilG2::pointToSpaceBox(event_.latitude, event_.longitude, cell);
    }

    void explainAssignment(std::size_t index, const STBAssignmentRow& row) {
        const Config::Assignment& assignment = config_.assignments[index];
        say(entryName("assignment", index, assignment.line) + ", master \"" + assignment.master +
            '"');
        for (const RowTest test : qorvel_port::kRowTests) {
            say((passes(test, row, event_) ? "  passes  " : "  FAILS   ") +
                testText(test, assignment));
        }
        if (qorvel_port::applies(row, event_)) {
            explainBoxes(row);
        }
    }

    std::string testText(RowTest test, const Config::Assignment& assignment) const {
        switch (test) {
        case RowTest::primaryKey:
            return "primary key      wanted: " + primaryKeyText(assignment.primaryKey);
        case RowTest::secondaryKey:
            return "secondary key    wanted: \"" + assignment.secondaryKey + '"';
        case RowTest::spaceTolerance:
            return "space tolerance  " + numberText(event_.spaceTolerance) +
                   " m; at most: " + toleranceText(assignment);
        case RowTest::timeTolerance:
            return "time tolerance   " + std::to_string(event_.timeTolerance) +
                   " ms; at most: " + std::to_string(assignment.maxTimeTolerance) + " ms";
        case RowTest::distance:
            return "distance         " + distanceText(assignment);
        default:
            return "area             " + cellText() + "; wanted: " + areaText(assignment);
        }
    }

    std::string distanceText(const Config::Assignment& assignment) const {
        constexpr std::int32_t kSpheroidalMetric = 2; // that of the test itself
        const double distance =
            distanceByMetric(kSpheroidalMetric, PointGeodetic128(event_.latitude, event_.longitude),
                             PointGeodetic128(assignment.latitude, assignment.longitude));
        constexpr double kMillimetres = 1000.0;
        return numberText(std::round(distance * kMillimetres) / kMillimetres) +
               " m; wanted: " + radiusText(assignment);
    }

    /// The event's own cell, as finely as people write cells.
    std::string cellText() const {
        constexpr std::uint32_t kBits = 60;
        return hasCell()
                   ? "cell " + SpaceBox(event_.latitude, event_.longitude, kBits).toASCIIString()
                   : "no cell";
    }

    void explainBoxes(const STBAssignmentRow& row) {
        std::list<SpaceTimeBox> boxes;
        MotionProcessor(library_.masters(), {row}, {}).getSTB(event_, boxes);
        boxCount_ += boxes.size();
        for (const SpaceTimeBox& box : boxes) {
            say("  touches cell " + box.toASCIIString() + ", box " + boxText(box));
        }
        isTaken_ = true;
    }

    void explainSpec(std::size_t index) {
        const Config::Spec& spec = config_.specs(use_)[index];
        const EasyDetector& detector = story_.detector(index);
        say(entryName(use_ == ProcessorKind::hangouts ? "hangout" : "presence", index, spec.line));
        text_ += specText(spec, use_);
        isReached_ = isReached_ || detector.isReached();
        if (!detector.isReached()) {
            say("  The row does not come here: no assignment that takes it has this master and "
                "leads to this primary key.");
        } else if (detector.figures().empty() && hasCell()) {
            say("  The row is older than the one with which its stay began: nothing is found "
                "before time has caught up.");
        }
        const STBCompressedEvent* previous = nullptr;
        for (const STBCompressedEvent& record : detector.figures()) {
            const bool isSecond =
                previous != nullptr && static_cast<const SpaceBox&>(previous->stb) == record.stb;
            if (!isSecond) {
                explainSeries(spec, record);
            }
            explainBox(spec, record,
                       isSecond || record.beforeCount == 0 ? record.afterCount
                                                           : record.beforeCount);
            previous = &record;
        }
    }

    void explainSeries(const Config::Spec& spec, const STBCompressedEvent& record) {
        // Of what arrives in disorder, the last may be older than the first.
        const std::int64_t covered =
            std::max<std::int64_t>(0, record.endTime - 1 - record.firstTime);
        say("  cell " + record.stb.toASCIIString() + ": " +
            std::to_string(record.eventSequenceNumbers.size()) + " of " +
            std::to_string(spec.minCount) + " fixes, since " + timeText(record.firstTime) +
            (use_ == ProcessorKind::hangouts
                 ? "; " + lengthText(covered) + " of " + spec.window.text()
                 : ""));
    }

    void explainBox(const Config::Spec& spec, const STBCompressedEvent& record,
                    std::uint32_t count) {
        const std::uint32_t all =
            use_ == ProcessorKind::hangouts ? spec.minCount : record.totalCount;
        const std::optional<std::uint64_t> line = story_.lineOf(record);
        isReported_ = isReported_ || line;
        say("    box " + boxText(record.stb) + ": " + std::to_string(count) + " fixes, ratio " +
            roundedText(static_cast<double>(count) / all) + " of " + numberText(spec.ratio) + "; " +
            (!line                ? "not found yet"
             : *line == row_.line ? "found by this row"
                                  : "found before, by line " + std::to_string(*line)));
    }

    void conclude() {
        const std::size_t count = use_ == ProcessorKind::boxes ? boxCount_ : story_.found().size();
        if (count > 0) {
            say("So the row gives " + std::to_string(count) +
                (count == 1 ? " result." : " results."));
        } else {
            say(std::string("So the row gives no result: ") + reason());
        }
    }

    const char* reason() const {
        return !isTaken_     ? "no assignment takes it."
               : !hasCell()  ? "no cell holds it."
               : !isReached_ ? "nothing looks at what the assignment takes."
               : isReported_ ? "what it belongs to was found before."
                             : "what it belongs to is not enough yet.";
    }

    const Config& config_;
    ProcessorKind use_;
    const Tables& library_;
    const Row& row_;
    const Event& event_;
    const Story& story_;
    std::string text_;
    bool isTaken_ = false;    ///< by an assignment
    bool isReached_ = false;  ///< a spec
    bool isReported_ = false; ///< a box with it
    std::size_t boxCount_ = 0;
};

/// Goes on to the row that is asked for.
Row findRow(const ExplainOptions& options, FixSource& source, EventMaker& maker) {
    Row row;
    for (Event event; readRow(source, maker, row, event);) {
        if (options.row > 0 ? row.number == options.row : row.line >= options.line) {
            row.verbatim = source.verbatim();
            return row;
        }
    }
    throw Failure(ExitCode::usage, source.name() + " has no such row: it has " +
                                       std::to_string(row.number) + " rows, the last on line " +
                                       std::to_string(row.line));
}

/// Tells the story of the row's entity up to the row. Returns the row's event.
Event tellStory(const Row& last, FixSource& source, EventMaker& maker, Story& story) {
    Row row;
    for (Event event; readRow(source, maker, row, event);) {
        if (row.reason.empty() && row.fix.entity == last.fix.entity) {
            story.take(event, row.line);
        }
        if (row.number == last.number) {
            return event;
        }
    }
    throw Failure(ExitCode::broken, "the input changed while it was read");
}

} // namespace

std::string explain(const ExplainOptions& options, FixSource& source) {
    if (options.row == 0 && options.line == 0) {
        throw Failure(ExitCode::usage, "which row? Give --row or --line");
    }
    const Tables library(options.config, options.use);
    if (!source.isRepeatable()) {
        throw Failure(ExitCode::usage, "explain reads its input twice: give it a file, no pipe");
    }
    EventMaker maker(options.events);
    const Row row = findRow(options, source, maker);
    const std::string title = "row " + std::to_string(row.number) + ", line " +
                              std::to_string(row.line) + " of " + source.name() + ": " +
                              row.verbatim + '\n';
    if (!row.reason.empty()) {
        return title + "So the row is rejected: " + row.reason + '\n';
    }
    source.rewind();
    Story story(library);
    const Event event = tellStory(row, source, maker, story);
    return title + Explanation(options, library, row, event, story).text();
}

ExitCode runExplain(const ExplainOptions& options) {
    const std::unique_ptr<FixSource> source = openFixSource(options.input);
    const std::string text = explain(options, *source);
    TextFile output("-", "");
    output.write(text);
    output.finish();
    return ExitCode::done;
}

} // namespace program
