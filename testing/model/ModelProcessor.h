#ifndef QORVEL_TESTING_MODEL_MODELPROCESSOR_H
#define QORVEL_TESTING_MODEL_MODELPROCESSOR_H

#include "testing/model/ModelDetector.h"

#include "qorvel/model/Event.h"
#include "qorvel/model/ExtendedSTB.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/model/hash_STBCompressionSpec.h"
#include "qorvel/model/hash_SpaceTimeBox.h"

#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

namespace model {

/// Same public operations and same results as MotionProcessor, by scanning the rows. A copy shares
/// the detectors that exist at that moment; each side makes its later ones for itself.
class ModelProcessor {
public:
    ModelProcessor() = default;
    ModelProcessor(const std::list<STBMasterRow>& masterRows,
                   const std::list<STBAssignmentRow>& assignmentRows,
                   const std::list<STBCompressionSpec>& compressionSpecs);

    bool getSTB(const Event& event, std::list<SpaceTimeBox>& out) const;
    bool getExtendedSTB(const Event& event, std::list<ExtendedSTB>& out) const;
    bool processEventForPresenceCompression(const Event& event, std::list<STBCompressedEvent>& out);
    bool processEventForHangout(const Event& event, std::list<STBCompressedEvent>& out);
    void gc(const std::int64_t& time);

    std::uint64_t getDetectorCount() const;
    std::uint64_t getRecentHangoutCount() const;
    std::uint64_t getEntityCount() const;
    std::uint64_t getCellCount() const;
    std::uint64_t getItemCount() const;

private:
    struct HangoutKey {
        std::uint64_t eid;
        std::uint32_t specPrimaryKeyId;
        SpaceTimeBox stb;

        bool operator==(const HangoutKey& other) const;
    };
    struct HangoutKeyHash {
        std::size_t operator()(const HangoutKey& key) const;
    };
    struct RecentBoxes {
        TimeBox older;
        TimeBox newer;
    };
    using Operation = bool (ModelDetector::*)(const Event&, const double&, const double&,
                                              const STBCompressionSpec&, const SpaceTimeBoxSpec&,
                                              std::list<STBCompressedEvent>&);
    using Count = std::uint64_t (ModelDetector::*)() const;

    static bool rowApplies(const STBAssignmentRow& row, const Event& event,
                           const SpaceBox& eventBox);
    template <class Box, class MakeBox>
    bool generate(const Event& event, std::list<Box>& out, MakeBox makeBox) const;
    bool process(const Event& event, std::list<STBCompressedEvent>& out, Operation operation);
    ModelDetector& detectorOf(const STBCompressionSpec& spec);
    void supressDuplicateHangouts(std::list<STBCompressedEvent>& out);
    bool isDuplicateHangout(const STBCompressedEvent& hangout);
    std::uint64_t sum(Count count) const;

    std::list<STBAssignmentRow> assignmentRows_;
    std::unordered_map<std::uint32_t, STBMasterRow> masterRows_;
    std::list<STBCompressionSpec> compressionSpecs_;
    std::unordered_map<STBCompressionSpec, std::shared_ptr<ModelDetector>, hash_STBCompressionSpec>
        hangoutDetectors_;
    std::unordered_map<HangoutKey, RecentBoxes, HangoutKeyHash> recentHangouts_;
};

} // namespace model

#endif
