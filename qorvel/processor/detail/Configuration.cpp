#include "qorvel/processor/detail/Configuration.h"

#include "qorvel/model/detail/check.h"
#include "qorvel/model/hash_STBCompressionSpec.h"

namespace qorvel_detail {

Configuration::Configuration(const std::list<STBMasterRow>& masterRows,
                             const std::list<STBAssignmentRow>& assignmentRows,
                             const std::list<STBCompressionSpec>& compressionSpecs)
    : compressionSpecs_(compressionSpecs.begin(), compressionSpecs.end()) {
    addMasterRows(masterRows);
    addSpecs();
    addRows(assignmentRows);
}

void Configuration::addMasterRows(const std::list<STBMasterRow>& masterRows) {
    for (const STBMasterRow& row : masterRows) {
        masterRows_.emplace(static_cast<std::uint32_t>(row.masterId),
                            NumberedMaster{row, masterRows_.size()}); // the first one stays
    }
}

void Configuration::addSpecs() {
    std::unordered_map<STBCompressionSpec, std::size_t, hash_STBCompressionSpec> detectors;
    for (const STBCompressionSpec& spec : compressionSpecs_) {
        const bool isFindable = spec == spec; // not with a NaN
        const std::size_t detector =
            isFindable ? detectors.emplace(spec, detectors.size()).first->second : kNoDetector;
        specsByMaster_[spec.masterId].push_back({spec, detector});
    }
    detectorCount_ = detectors.size();
}

void Configuration::addRows(const std::list<STBAssignmentRow>& assignmentRows) {
    rows_.reserve(assignmentRows.size());
    for (const STBAssignmentRow& row : assignmentRows) {
        const auto masterId = static_cast<std::uint32_t>(row.masterId);
        rowIndex_.add(static_cast<std::uint32_t>(rows_.size()), row);
        const auto master = masterRows_.find(masterId);
        const bool isThere = master != masterRows_.end();
        rows_.push_back({RowTests(row), isThere ? &master->second.row : nullptr,
                         isThere ? master->second.number : 0, &specsByMaster_[masterId]});
    }
}

bool Configuration::isValid(std::stringstream& errors) const {
    bool valid = true;
    for (const Row& row : rows_) {
        valid &= check(row.master != nullptr, "ERROR_MOTIONPROCESSOR_1,", errors);
    }
    for (const STBCompressionSpec& spec : compressionSpecs_) {
        const STBMasterRow* master = masterRow(spec.masterId);
        if (master == nullptr) {
            valid = check(false, "ERROR_MOTIONPROCESSOR_2,", errors);
        } else {
            const bool longEnough = master->stbSpec.getDurationMillis() > spec.windowMillis;
            valid &= check(longEnough, "ERROR_MOTIONPROCESSOR_3,", errors);
        }
    }
    return valid;
}

const STBMasterRow* Configuration::masterRow(std::uint32_t masterId) const {
    const auto found = masterRows_.find(masterId);
    return found == masterRows_.end() ? nullptr : &found->second.row;
}

} // namespace qorvel_detail
