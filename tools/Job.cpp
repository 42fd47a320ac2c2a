#include "tools/Job.h"

#include <cstddef>
#include <list>
#include <sstream>
#include <unordered_map>
#include <utility>
#include <vector>

namespace host {

namespace {

using API = QorvelMotionProcessorAPI;

/// Every box of every event.
class BoxesJob : public Job {
public:
    BoxesJob(Setup& setup, ResultWriter& writer) : setup_(setup), writer_(writer) {}

    void begin() override { writer_.writeBoxHeader(); }

    void take(const Event& event, const std::string& entity) override {
        boxes_.clear();
        API::processEventForSTBs(event, setup_.processor(), boxes_, errors_);
        for (const SpaceTimeBox& box : boxes_) {
            writer_.writeBox(entity, box, event.time);
        }
    }

    void collect(std::int64_t) override {}
    void end() override {}

private:
    Setup& setup_;
    ResultWriter& writer_;
    std::list<SpaceTimeBox> boxes_;
    std::stringstream errors_;
};

/// What the processor reports, when it reports it: each entity, cell and box once.
class FirstFiguresJob : public Job {
public:
    FirstFiguresJob(Command command, Setup& setup, ResultWriter& writer)
        : process_(command == Command::hangouts ? API::processEventForHangouts
                                                : API::processEventForPresenceCompression),
          setup_(setup), writer_(writer) {}

    void begin() override { writer_.writeFindingHeader(); }

    void take(const Event& event, const std::string&) override {
        records_.clear();
        process_(event, setup_.processor(), records_, errors_);
        for (const STBCompressedEvent& record : records_) {
            writer_.writeFinding(Finding(record));
        }
    }

    void collect(std::int64_t time) override { API::gc(setup_.processor(), time); }
    void end() override {}

private:
    int (*process_)(const Event&, MotionProcessor&, std::list<STBCompressedEvent>&,
                    std::stringstream&);
    Setup& setup_;
    ResultWriter& writer_;
    std::list<STBCompressedEvent> records_;
    std::stringstream errors_;
};

/// The last record of each entity, cell and box, in the order of their first reports. The
/// processor reports each only once, so this drives a detector of its own. It passes every event to
/// it once, as the processor does: the one assignment row takes every event (see Setup), and there
/// is one spec.
class LastFiguresJob : public Job {
public:
    LastFiguresJob(const Options& options, Setup& setup, ResultWriter& writer)
        : process_(options.command == Command::hangouts
                       ? &HangoutDetector::processEventDwellTime
                       : &HangoutDetector::processEventPresenceCompression),
          options_(options), setup_(setup), writer_(writer) {}

    void begin() override { writer_.writeFindingHeader(); }

    void take(const Event& event, const std::string&) override {
        records_.clear();
        (detector_.*process_)(event, options_.timeFactor, options_.spaceFactor, setup_.spec(),
                              setup_.boxSpec(), records_);
        for (const STBCompressedEvent& record : records_) {
            keep(Finding(record));
        }
    }

    void collect(std::int64_t time) override { detector_.gc(time); }

    void end() override {
        for (const Finding& finding : findings_) {
            writer_.writeFinding(finding);
        }
    }

private:
    using Key = std::pair<std::uint64_t, SpaceTimeBox>;
    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            return static_cast<std::size_t>(key.first * 0x9E3779B97F4A7C15U ^
                                            hash_SpaceTimeBox()(key.second));
        }
    };

    void keep(const Finding& finding) {
        const auto [entry, isNew] =
            places_.try_emplace(Key(finding.eid, finding.stb), findings_.size());
        if (isNew) {
            findings_.push_back(finding);
        } else {
            findings_[entry->second] = finding;
        }
    }

    bool (HangoutDetector::*process_)(const Event&, const double&, const double&,
                                      const STBCompressionSpec&, const SpaceTimeBoxSpec&,
                                      std::list<STBCompressedEvent>&);
    const Options& options_;
    Setup& setup_;
    ResultWriter& writer_;
    HangoutDetector detector_;
    std::list<STBCompressedEvent> records_;
    std::vector<Finding> findings_;
    std::unordered_map<Key, std::size_t, KeyHash> places_; ///< index into findings_
};

} // namespace

std::unique_ptr<Job> makeJob(const Options& options, Setup& setup, ResultWriter& writer) {
    if (options.command == Command::boxes) {
        return std::make_unique<BoxesJob>(setup, writer);
    }
    if (options.lastFigures) {
        return std::make_unique<LastFiguresJob>(options, setup, writer);
    }
    return std::make_unique<FirstFiguresJob>(options.command, setup, writer);
}

} // namespace host
