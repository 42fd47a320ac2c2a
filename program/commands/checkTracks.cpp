#include "program/commands/checkTracks.h"

#include "engine/setup/records.h"

#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <unordered_map>
#include <utility>

namespace program {

namespace {

using qorvel_port::RowTest;

constexpr std::size_t kMostEntities = 50000;
constexpr std::size_t kMostKeys = 10000;

/// The gaps between an entity's fixes, gathered by their size.
class Gaps {
public:
    void add(const Fix& fix) {
        const auto known = lastTimes_.find(fix.entity);
        if (known != lastTimes_.end()) {
            const std::int64_t gap = std::abs(fix.time - known->second);
            Class& size = classes_[classOf(gap)];
            ++size.count;
            size.sum += static_cast<double>(gap);
            known->second = fix.time;
            ++count_;
        } else if (lastTimes_.size() < kMostEntities) {
            lastTimes_.emplace(fix.entity, fix.time);
        }
    }

    /// The mean of the class that the median is in.
    std::optional<std::int64_t> median() const {
        std::uint64_t below = 0;
        for (const Class& size : classes_) {
            below += size.count;
            if (below * 2 > count_) {
                return std::llround(size.sum / static_cast<double>(size.count));
            }
        }
        return std::nullopt;
    }

private:
    static constexpr std::size_t kSteps = 32; ///< classes to a doubling

    struct Class {
        std::uint64_t count = 0;
        double sum = 0.0; ///< ms
    };

    static std::size_t classOf(std::int64_t gap) {
        return gap == 0
                   ? 0
                   : 1 + static_cast<std::size_t>(kSteps * std::log2(static_cast<double>(gap)));
    }

    std::unordered_map<std::string, std::int64_t> lastTimes_;
    std::array<Class, kSteps * 64> classes_; ///< 0, then from 1, from 2^(1/32), ...
    std::uint64_t count_ = 0;
};

using Keys = std::pair<std::string, std::string>;

class TrackChecker {
public:
    TrackChecker(const Config& config, const EventOptions& events)
        : config_(config), maker_(events) {
        std::stringstream errors;
        for (const Config::Assignment& assignment : config.assignments) {
            rows_.push_back(makeAssignment(assignment, errors));
        }
        std::list<STBMasterRow> masters;
        for (const Config::Master& master : config.masters) {
            masters.push_back(makeMaster(master, errors));
        }
        processor_ = makeProcessor(ProcessorKind::boxes, masters, rows_, {}, errors);
    }

    TrackFigures operator()(FixSource& source) {
        for (Fix fix; source.next();) {
            ++figures_.rows;
            Event event;
            if (source.read(fix).empty() && maker_.make(fix, event).empty()) {
                add(fix, event);
            } else {
                ++figures_.rejected;
            }
        }
        figures_.medianGap = gaps_.median();
        if (figures_.rejected < figures_.rows) {
            judge();
        }
        return figures_;
    }

private:
    void add(const Fix& fix, const Event& event) {
        gaps_.add(fix);
        std::list<SpaceTimeBox> boxes;
        processor_.getSTB(event, boxes);
        figures_.untaken += boxes.empty() ? 1U : 0U;
        if (keys_.size() < kMostKeys) {
            keys_.try_emplace({fix.primaryKey, fix.secondaryKey}, event);
        }
    }

    void judge() {
        if (figures_.untaken > 0) {
            warn(0, std::to_string(figures_.untaken) + " of " +
                        std::to_string(figures_.rows - figures_.rejected) +
                        " rows have no boxes: no assignment takes them, or no cell holds them; "
                        "explain tells of each why");
        }
        if (keys_.size() < kMostKeys) {
            judgeAssignments();
        }
        for (const ProcessorKind use : {ProcessorKind::presence, ProcessorKind::hangouts}) {
            for (const Config::Spec& spec : config_.specs(use)) {
                judgeSpec(spec, use);
            }
        }
        sortByLine(figures_.warnings);
    }

    void judgeAssignments() {
        auto assignment = config_.assignments.begin();
        for (const STBAssignmentRow& row : rows_) {
            if (!anyKeys([&row](const Event& event) {
                    return passes(RowTest::primaryKey, row, event) &&
                           passes(RowTest::secondaryKey, row, event);
                })) {
                warn(assignment->line, "no row has the keys that the assignment wants");
            }
            ++assignment;
        }
    }

    void judgeSpec(const Config::Spec& spec, ProcessorKind use) {
        std::stringstream errors;
        const STBCompressionSpec record = makeSpec(spec, use, errors);
        const bool isUsed = anyKeys([this, &record](const Event& event) {
            return std::any_of(rows_.begin(), rows_.end(), [&](const STBAssignmentRow& row) {
                return qorvel_port::leadsTo(row, record, event);
            });
        });
        if (!isUsed && keys_.size() < kMostKeys) {
            warn(spec.line, "no row has keys that lead to it");
        }
        if (figures_.medianGap && record.windowMillis < *figures_.medianGap) {
            warn(spec.line, "window \"" + spec.window.text() +
                                "\" is shorter than the usual gap between an entity's fixes, "
                                "about " +
                                lengthText(*figures_.medianGap));
        }
    }

    template <typename Condition>
    bool anyKeys(const Condition& holds) const {
        return std::any_of(keys_.begin(), keys_.end(),
                           [&holds](const auto& entry) { return holds(entry.second); });
    }

    void warn(std::uint32_t line, const std::string& sentence) {
        figures_.warnings.push_back({false, line, sentence, ""});
    }

    const Config& config_;
    EventMaker maker_;
    std::list<STBAssignmentRow> rows_;
    MotionProcessor processor_;
    Gaps gaps_;
    std::map<Keys, Event> keys_; ///< with an event that has them
    TrackFigures figures_;
};

} // namespace

TrackFigures checkTracks(const Config& config, const EventOptions& events, FixSource& source) {
    return TrackChecker(config, events)(source);
}

} // namespace program
