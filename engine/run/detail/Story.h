#ifndef QORVEL_ENGINE_RUN_DETAIL_STORY_H
#define QORVEL_ENGINE_RUN_DETAIL_STORY_H

#include "engine/setup/Tables.h"

#include "qorvel/hangout/HangoutDetector.h"
#include "qorvel/model/hash_SpaceTimeBox.h"
#include "qorvel/processor/MotionProcessor.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// A detector that wants as little as one can want, and so tells how far a spec's series have come.
class EasyDetector {
public:
    EasyDetector(const STBCompressionSpec& spec, const STBMasterRow& master, ProcessorKind use);

    const STBCompressionSpec& spec() const { return spec_; }

    /// Before the ways of another event.
    void begin() {
        isReached_ = false;
        figures_.clear();
    }

    void take(const Event& event, const STBAssignmentRow& row);

    /// Since the last begin().
    bool isReached() const { return isReached_; }

    /// For each cell of the last event a record for the box before the boundary if a fix lies
    /// there, and then one for the box after it, if a fix lies there.
    const std::list<STBCompressedEvent>& figures() const { return figures_; }

private:
    bool (HangoutDetector::*process_)(const Event&, const double&, const double&,
                                      const STBCompressionSpec&, const SpaceTimeBoxSpec&,
                                      std::list<STBCompressedEvent>&);
    STBCompressionSpec spec_;
    STBCompressionSpec easySpec_;
    const STBMasterRow& master_;
    HangoutDetector detector_;
    bool isReached_ = false;
    std::list<STBCompressedEvent> figures_;
};

/// An entity's rows on their way through the library.
class Story {
public:
    /// For presence or hangouts, or for nothing but boxes. The library must outlive the story.
    explicit Story(const Tables& library);

    /// The next row of the entity; the event's sequence number is what the row is known by.
    void take(const Event& event);

    /// How the last event went with the spec of that index.
    const EasyDetector& detector(std::size_t spec) const { return *bySpec_[spec]; }

    /// What the last event found.
    const std::list<STBCompressedEvent>& found() const { return found_; }

    /// The number of the row by which the record's box was reported; none if it was not.
    std::optional<std::uint64_t> rowOf(const STBCompressedEvent& record) const;

private:
    using Key = std::pair<std::uint32_t, SpaceTimeBox>; ///< with the spec's primary key
    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            return static_cast<std::size_t>(hash_SpaceTimeBox()(key.second) ^ key.first);
        }
    };

    void report(const Event& event);

    const Tables& library_;
    MotionProcessor processor_;
    std::list<EasyDetector> detectors_; ///< equal specs share one
    std::vector<EasyDetector*> bySpec_;
    std::list<STBCompressedEvent> found_;
    std::unordered_map<Key, std::uint64_t, KeyHash> reported_;
};

} // namespace qorvel_engine::detail

#endif
