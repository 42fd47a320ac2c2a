#include "engine/run/TrackCheck.h"

#include "engine/run/detail/EventMaker.h"
#include "engine/run/detail/RegistryLock.h"
#include "engine/setup/records.h"

#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

namespace qorvel_engine {

namespace {

constexpr std::size_t kMostEntities = 50000;
constexpr std::size_t kMostKeys = 10000;

/// The gaps between an entity's fixes, gathered by their size.
class Gaps {
public:
    void add(const Observations& columns, std::int64_t row) {
        const std::int64_t time = columns.timeMs(row);
        const auto known = lastTimes_.find(entityOf(columns, row));
        if (known != lastTimes_.end()) {
            const std::int64_t gap = std::abs(time - known->second);
            Class& size = classes_[classOf(gap)];
            ++size.count;
            size.sum += static_cast<double>(gap);
            known->second = time;
            ++count_;
        } else if (lastTimes_.size() < kMostEntities) {
            lastTimes_.emplace(entityOf(columns, row), time);
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

    static std::string entityOf(const Observations& columns, std::int64_t row) {
        return columns.entityKind() == EntityKind::text ? std::string(columns.entityText(row))
                                                        : std::to_string(columns.entityBits(row));
    }

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

} // namespace

class TrackCheck::State {
public:
    State(const Config& config, const EventOptions& options)
        : config_(config), maker_(config, options) {
        const detail::RegistryLock lock;
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

    void take(const Observations& columns) {
        for (std::int64_t row = 0; row < columns.size(); ++row) {
            if (columns.check(row) == RowReason::none) {
                ++figures_.rows;
                add(columns, row);
            } else {
                reject();
            }
        }
    }

    void reject() {
        ++figures_.rows;
        ++figures_.rejected;
    }

    TrackFigures figures() const {
        TrackFigures figures = figures_;
        figures.medianGap = gaps_.median();
        if (figures.rejected < figures.rows) {
            judge(figures);
        }
        return figures;
    }

private:
    void add(const Observations& columns, std::int64_t row) {
        gaps_.add(columns, row);
        const Event event = maker_.make(columns, row, 0);
        std::list<SpaceTimeBox> boxes;
        processor_.getSTB(event, boxes);
        figures_.untaken += boxes.empty() ? 1U : 0U;
        if (keys_.size() < kMostKeys) {
            keys_.try_emplace(Keys(columns.primaryKey(row), columns.secondaryKey(row)), event);
        }
    }

    void judge(TrackFigures& figures) const {
        const auto warn = [&figures](std::uint32_t line, const std::string& sentence) {
            figures.warnings.push_back({false, line, sentence, ""});
        };
        if (figures.untaken > 0) {
            warn(0, std::to_string(figures.untaken) + " of " +
                        std::to_string(figures.rows - figures.rejected) +
                        " rows have no boxes: no assignment takes them, or no cell holds them; "
                        "explain tells of each why");
        }
        if (keys_.size() < kMostKeys) {
            judgeAssignments(warn);
        }
        for (const ProcessorKind kind : {ProcessorKind::presence, ProcessorKind::hangouts}) {
            for (const Config::Spec& spec : config_.specs(kind)) {
                judgeSpec(spec, kind, figures.medianGap, warn);
            }
        }
        sortByLine(figures.warnings);
    }

    template <typename Warn>
    void judgeAssignments(const Warn& warn) const {
        auto assignment = config_.assignments.begin();
        for (const STBAssignmentRow& row : rows_) {
            if (!anyKeys([&row](const Event& event) {
                    return passes(qorvel_port::RowTest::primaryKey, row, event) &&
                           passes(qorvel_port::RowTest::secondaryKey, row, event);
                })) {
                warn(assignment->line, "no row has the keys that the assignment wants");
            }
            ++assignment;
        }
    }

    template <typename Warn>
    void judgeSpec(const Config::Spec& spec, ProcessorKind kind,
                   std::optional<std::int64_t> medianGap, const Warn& warn) const {
        const STBCompressionSpec record = recordOf(spec, kind);
        const bool isUsed = anyKeys([this, &record](const Event& event) {
            return std::any_of(rows_.begin(), rows_.end(), [&](const STBAssignmentRow& row) {
                return qorvel_port::leadsTo(row, record, event);
            });
        });
        if (!isUsed && keys_.size() < kMostKeys) {
            warn(spec.line, "no row has keys that lead to it");
        }
        if (medianGap && record.windowMillis < *medianGap) {
            warn(spec.line, "window \"" + spec.window.text() +
                                "\" is shorter than the usual gap between an entity's fixes, "
                                "about " +
                                lengthText(*medianGap));
        }
    }

    static STBCompressionSpec recordOf(const Config::Spec& spec, ProcessorKind kind) {
        const detail::RegistryLock lock;
        std::stringstream errors;
        return makeSpec(spec, kind, errors);
    }

    template <typename Condition>
    bool anyKeys(const Condition& holds) const {
        return std::any_of(keys_.begin(), keys_.end(),
                           [&holds](const auto& entry) { return holds(entry.second); });
    }

    const Config config_;
    const detail::EventMaker maker_;
    std::list<STBAssignmentRow> rows_;
    MotionProcessor processor_;
    Gaps gaps_;
    std::map<Keys, Event> keys_; ///< with an event that has them
    TrackFigures figures_;
};

TrackCheck::TrackCheck(const Config& config, const EventOptions& options)
    : state_(std::make_unique<State>(config, options)) {}

TrackCheck::~TrackCheck() = default;

void TrackCheck::take(const Observations& observations) {
    state_->take(observations);
}

void TrackCheck::reject() {
    state_->reject();
}

TrackFigures TrackCheck::figures() const {
    return state_->figures();
}

} // namespace qorvel_engine
