#ifndef QORVEL_PROCESSOR_DETAIL_CONFIGURATION_H
#define QORVEL_PROCESSOR_DETAIL_CONFIGURATION_H

#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/processor/detail/RowIndex.h"
#include "qorvel/processor/detail/RowTests.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <sstream>
#include <unordered_map>
#include <vector>

namespace qorvel_detail {

/// The three tables of a processor and what is derived from them. Never changes after construction,
/// so copies of a processor share it.
class Configuration {
public:
    /// A spec and the detector that it leads to. Equal specs lead to one detector; a spec whose
    /// ratio is NaN equals nothing and has none to be found again.
    struct SpecEntry {
        STBCompressionSpec spec;
        std::size_t detector;
    };
    static constexpr std::size_t kNoDetector = SIZE_MAX;

    /// An assignment row and what it leads to, looked up once.
    struct Row {
        RowTests tests;
        /// Null when there is none.
        const STBMasterRow* master;
        /// Of the master row, below masterCount(); 0 when there is none.
        std::size_t masterNumber;
        /// The specs of the master row, in list order.
        const std::vector<SpecEntry>* specs;
    };

    Configuration() = default;
    Configuration(const Configuration&) = delete; // rows point into the tables
    Configuration& operator=(const Configuration&) = delete;
    ~Configuration() = default;
    Configuration(const std::list<STBMasterRow>& masterRows,
                  const std::list<STBAssignmentRow>& assignmentRows,
                  const std::list<STBCompressionSpec>& compressionSpecs);

    bool isValid(std::stringstream& errors) const;

    const Row& row(std::uint32_t number) const { return rows_[number]; }
    const RowIndex& rowIndex() const { return rowIndex_; }

    /// Does a row that is a candidate of the index take the event, and has it a master?
    bool applies(const Row& row, const Event& event, const Position& position) const {
        const bool inArea = rowIndex_.decidesArea() || row.tests.isInArea(position.ownCell());
        return row.master != nullptr && row.tests.passWithKeys(event, position, inArea);
    }

    /// Number of detectors that the specs can lead to.
    std::size_t detectorCount() const { return detectorCount_; }

    const std::vector<STBCompressionSpec>& specs() const { return compressionSpecs_; }
    std::size_t masterCount() const { return masterRows_.size(); }
    std::size_t rowCount() const { return rows_.size(); }

    /// Null when there is none. Rows carry the id signed, specs unsigned: 32 bits compare.
    const STBMasterRow* masterRow(std::uint32_t masterId) const;

private:
    void addMasterRows(const std::list<STBMasterRow>& masterRows);
    void addSpecs();
    void addRows(const std::list<STBAssignmentRow>& assignmentRows);

    std::vector<Row> rows_;
    struct NumberedMaster {
        STBMasterRow row;
        std::size_t number;
    };
    std::unordered_map<std::uint32_t, NumberedMaster> masterRows_;
    std::vector<STBCompressionSpec> compressionSpecs_;
    std::unordered_map<std::uint32_t, std::vector<SpecEntry>> specsByMaster_;
    std::size_t detectorCount_ = 0;
    RowIndex rowIndex_;
};

} // namespace qorvel_detail

#endif
