#include "program/commands/explanationText.h"

#include "engine/setup/numberText.h"
#include "program/commands/configText.h"
#include "program/isoTime.h"

#include <cmath>

namespace program {

namespace {

std::string timeText(std::int64_t time) {
    std::string text;
    appendTime(text, time);
    return text;
}

std::string boxText(const TimeBox& box) {
    std::string text = timeText(box.start) + " to ";
    appendBoxEnd(text, box.end);
    return text;
}

class Writer {
public:
    Writer(const Explanation& explanation, const Fix& fix, std::uint64_t line, const Config& config,
           ProcessorKind use)
        : explanation_(explanation), event_(explanation.event), fix_(fix), line_(line),
          config_(config), use_(use) {}

    std::string operator()() {
        writeRow();
        for (std::size_t i = 0; i < explanation_.assignments.size(); ++i) {
            writeAssignment(i);
        }
        for (std::size_t i = 0; i < explanation_.specs.size(); ++i) {
            writeSpec(i);
        }
        conclude();
        return text_;
    }

private:
    void say(const std::string& words) { text_ += words + '\n'; }

    void writeRow() {
        say("  entity     " + fix_.entity);
        say("  place      " + numberText(event_.latitude) + ", " + numberText(event_.longitude) +
            ", within " + numberText(event_.spaceTolerance) + " m");
        say("  time       " + timeText(event_.time) + ", within " +
            std::to_string(event_.timeTolerance) + " ms");
        say("  keys       primary \"" + (fix_.primaryKey.empty() ? "ANY" : fix_.primaryKey) +
            "\", secondary \"" + fix_.secondaryKey + '"');
        if (!explanation_.hasCell) {
            say("  No cell holds latitude 90 or longitude 180: the row has no boxes and counts "
                "nowhere.");
        }
    }

    void writeAssignment(std::size_t index) {
        const Config::Assignment& assignment = config_.assignments[index];
        const Explanation::Judgement& judgement = explanation_.assignments[index];
        say(entryName("assignment", index, assignment.line) + ", master \"" + assignment.master +
            '"');
        for (std::size_t test = 0; test < Explanation::kTests; ++test) {
            say((judgement.passes[test] ? "  passes  " : "  FAILS   ") +
                testText(static_cast<RowTest>(test), assignment, judgement.distance));
        }
        for (const SpaceTimeBox& box : judgement.boxes) {
            say("  touches cell " + box.toASCIIString() + ", box " + boxText(box));
        }
    }

    std::string testText(RowTest test, const Config::Assignment& assignment,
                         double distance) const {
        constexpr double kMillimetres = 1000.0;
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
            return "distance         " +
                   numberText(std::round(distance * kMillimetres) / kMillimetres) +
                   " m; wanted: " + radiusText(assignment);
        default:
            return "area             " + cellText() + "; wanted: " + areaText(assignment);
        }
    }

    /// The event's own cell, as finely as people write cells.
    std::string cellText() const {
        constexpr std::uint32_t kBits = 60;
        return explanation_.hasCell
                   ? "cell " + SpaceBox(event_.latitude, event_.longitude, kBits).toASCIIString()
                   : "no cell";
    }

    void writeSpec(std::size_t index) {
        const Config::Spec& spec = config_.specs(use_)[index];
        const Explanation::Way& way = explanation_.specs[index];
        say(entryName(use_ == ProcessorKind::hangouts ? "hangout" : "presence", index, spec.line));
        text_ += specText(spec, use_);
        if (!way.isReached) {
            say("  The row does not come here: no assignment that takes it has this master and "
                "leads to this primary key.");
        } else if (way.series.empty() && explanation_.hasCell) {
            say("  The row is older than the one with which its stay began: nothing is found "
                "before time has caught up.");
        }
        for (const Explanation::Series& series : way.series) {
            writeSeries(spec, series);
        }
    }

    void writeSeries(const Config::Spec& spec, const Explanation::Series& series) {
        say("  cell " + series.cell.toASCIIString() + ": " + std::to_string(series.fixes) + " of " +
            std::to_string(spec.minCount) + " fixes, since " + timeText(series.since) +
            (use_ == ProcessorKind::hangouts
                 ? "; " + lengthText(series.covered) + " of " + spec.window.text()
                 : ""));
        for (const Explanation::Box& box : series.boxes) {
            say("    box " + boxText(box.box) + ": " + std::to_string(box.fixes) +
                " fixes, ratio " + roundedText(static_cast<double>(box.fixes) / box.all) + " of " +
                numberText(spec.ratio) + "; " +
                (!box.row            ? "not found yet"
                 : *box.row == line_ ? "found by this row"
                                     : "found before, by line " + std::to_string(*box.row)));
        }
    }

    void conclude() {
        if (explanation_.results > 0) {
            say("So the row gives " + std::to_string(explanation_.results) +
                (explanation_.results == 1 ? " result." : " results."));
        } else {
            say(std::string("So the row gives no result: ") + reason());
        }
    }

    const char* reason() const {
        switch (explanation_.verdict()) {
        case Verdict::notTaken:
            return "no assignment takes it.";
        case Verdict::noCell:
            return "no cell holds it.";
        case Verdict::notAskedFor:
            return "nothing looks at what the assignment takes.";
        case Verdict::foundBefore:
            return "what it belongs to was found before.";
        default:
            return "what it belongs to is not enough yet.";
        }
    }

    const Explanation& explanation_;
    const Event& event_;
    const Fix& fix_;
    std::uint64_t line_;
    const Config& config_;
    ProcessorKind use_;
    std::string text_;
};

} // namespace

std::string explanationText(const Explanation& explanation, const Fix& fix, std::uint64_t line,
                            const Config& config, ProcessorKind use) {
    return Writer(explanation, fix, line, config, use)();
}

} // namespace program
