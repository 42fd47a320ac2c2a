#ifndef QORVEL_PROCESSOR_DETAIL_BOXFINDER_H
#define QORVEL_PROCESSOR_DETAIL_BOXFINDER_H

#include "qorvel/geohash/detail/Position.h"
#include "qorvel/model/detail/TimeBoxMemo.h"
#include "qorvel/processor/detail/Configuration.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace qorvel_detail {

/// Finds the boxes of many events, one after the other. What an event has in common with the one
/// before it is not looked for again: the rows of its cell, and the time box.
class BoxFinder {
public:
    explicit BoxFinder(std::shared_ptr<const Configuration> configuration);

    /// As FigureProcessor::boxes.
    void find(const qorvel_port::EventColumns& events, std::vector<qorvel_port::BoxFigures>& out);

private:
    void find(const Event& event, std::uint32_t number, std::vector<qorvel_port::BoxFigures>& out);
    void findInMany(const Event& event, const Position& position, std::uint32_t number,
                    std::vector<qorvel_port::BoxFigures>& out);
    void lookUp(const Event& event, const Cell& ownCell);

    std::shared_ptr<const Configuration> configuration_;
    std::vector<TimeBoxMemo> timeBoxes_; ///< by number of the master row

    std::vector<std::uint32_t> candidates_; ///< of the rows, for the cell and the keys that follow
    bool hasCandidates_ = false;
    Cell cell_{};
    std::int32_t primaryKey_ = 0;
    std::int32_t secondaryKey_ = 0;
};

} // namespace qorvel_detail

#endif
