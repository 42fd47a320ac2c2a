#ifndef QORVEL_PROCESSOR_DETAIL_PROCESSORSTATE_H
#define QORVEL_PROCESSOR_DETAIL_PROCESSORSTATE_H

#include "qorvel/hangout/detail/DetectorState.h"
#include "qorvel/model/ExtendedSTB.h"
#include "qorvel/processor/detail/Configuration.h"
#include "qorvel/processor/detail/FigureProcessor.h"
#include "qorvel/processor/detail/RecentHangouts.h"

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

namespace qorvel_detail {

/// The inside of a MotionProcessor. A copy shares the configuration, which never changes, and the
/// detectors that exist; it has its own memory of what was reported.
class ProcessorState {
public:
    using Operation = bool (DetectorState::*)(const Event&, const Position&, const DetectionRule&,
                                              RecordSink&);

    ProcessorState();
    explicit ProcessorState(std::shared_ptr<const Configuration> configuration);

    const Configuration& configuration() const { return *configuration_; }

    void getSTB(const Event& event, std::list<SpaceTimeBox>& out) const;
    void getExtendedSTB(const Event& event, std::list<ExtendedSTB>& out) const;

    /// As DetectorState::fetch, of all detectors.
    void fetch(std::uint64_t later, std::uint64_t sooner) const;
    /// As DetectorState::fetchItems, of all detectors.
    void fetchItems(std::uint64_t eid) const;

    /// Gives the event to every detector that its rows and specs lead to, and drops repeats.
    void process(const Event& event, Operation operation, std::list<STBCompressedEvent>& out);
    /// The same, but what the detectors find goes to the sink as it comes, repeats included.
    /// @param takesAll  as DetectionRule has it
    void process(const Event& event, Operation operation, bool takesAll, RecordSink& sink);

    void gc(std::int64_t time);

    std::uint64_t detectorCount() const;
    std::uint64_t sumOverDetectors(std::uint64_t (DetectorState::*count)() const) const;
    std::uint64_t recentHangoutCount() const { return recentHangouts_.size(); }

    /// What was reported, for sinks that drop repeats themselves.
    RecentHangouts& recentHangouts() { return recentHangouts_; }
    const RecentHangouts& recentHangouts() const { return recentHangouts_; }

    // For states. Detectors have their numbers: those that specs lead to, then the lost ones.

    const std::shared_ptr<const Configuration>& sharedConfiguration() const {
        return configuration_;
    }
    std::size_t detectorNumbers() const { return detectors_.size() + lostDetectors_.size(); }
    /// Null where none was made.
    DetectorState* detector(std::size_t number) const {
        return number < detectors_.size() ? detectors_[number].get()
                                          : lostDetectors_[number - detectors_.size()].get();
    }
    /// The detector of that number, made if it was not; beyond all there are, another lost one.
    DetectorState& makeDetector(std::size_t number);

    /// Forgets the records that no event from that time on, ms, can bring again.
    void forgetReportedBefore(std::int64_t time);

private:
    using Detector = std::shared_ptr<DetectorState>;

    template <typename Visit>
    void forEachApplyingRow(const Event& event, const Position& position, Visit visit) const;
    template <typename Box, typename MakeBox>
    void generate(const Event& event, MakeBox makeBox, std::list<Box>& out) const;
    DetectorState& detectorOf(const Configuration::SpecEntry& entry);

    std::shared_ptr<const Configuration> configuration_;
    /// By SpecEntry::detector; null until the first event that reaches it.
    std::vector<Detector> detectors_;
    /// Of specs whose ratio is NaN: one for every match, never found again, not even by gc.
    std::vector<Detector> lostDetectors_;
    RecentHangouts recentHangouts_;
};

} // namespace qorvel_detail

#endif
