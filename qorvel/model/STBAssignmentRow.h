#ifndef QORVEL_MODEL_STBASSIGNMENTROW_H
#define QORVEL_MODEL_STBASSIGNMENTROW_H

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>
#include <list>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// Which events a master row applies to, where, and how their tolerances are scaled.
class QORVEL_EXPORT STBAssignmentRow {
public:
    /// All numbers 0 and no cells, so it accepts no event; an empty record for a builder to
    /// overwrite.
    STBAssignmentRow();

    /// Stores what it is given; isValid judges it. Allocates a copy of `spaceBoxes`.
    STBAssignmentRow(std::int32_t primaryKeyId, std::int32_t secondaryKeyId,
                     double maxSpaceTolerance, std::uint32_t maxTimeTolerance,
                     std::int32_t masterId, const std::list<SpaceBox>& spaceBoxes, double latitude,
                     double longitude, double radius, double spaceToleranceFactor,
                     double timeToleranceFactor);

    STBAssignmentRow(const STBAssignmentRow&) = default;
    STBAssignmentRow& operator=(const STBAssignmentRow&) = default;
    virtual ~STBAssignmentRow();

    /// Makes every check in this order and appends a tag for each that fails. Bounds are valid,
    /// and a NaN passes (unlike in Event::isValid): what hosts have configured stays valid.
    ///
    /// | field                | valid       | tag               |
    /// |----------------------|-------------|-------------------|
    /// | maxSpaceTolerance    | >= 0        | "ERROR_ASSIGN_1," |
    /// | spaceToleranceFactor | 0 to 1      | "ERROR_ASSIGN_2," |
    /// | radius               | >= 0        | "ERROR_ASSIGN_3," |
    /// | latitude             | -90 to 90   | "ERROR_ASSIGN_4," |
    /// | longitude            | -180 to 180 | "ERROR_ASSIGN_5," |
    /// | maxTimeTolerance     | 0 or 1      | "ERROR_ASSIGN_6," |
    /// | timeToleranceFactor  | 0 to 1      | "ERROR_ASSIGN_7," |
    /// | spaceBoxes           | each valid  | those of the first invalid box (SpaceBox::isValid) |
    bool isValid(std::stringstream& errors) const;

    /// Number of the primary key (PrimaryKey) of the events to accept; 0 accepts every key.
    std::int32_t primaryKeyId;
    /// Number of the secondary key (SecondaryKey) of the events to accept; no number stands for
    /// all.
    std::int32_t secondaryKeyId;
    /// The cells to which the row is restricted. An event must lie in one of them.
    std::list<SpaceBox> spaceBoxes;
    /// Number of the master row (MasterName) that the row selects.
    std::int32_t masterId;
    /// Largest spatial tolerance of an event that is accepted, metres.
    double maxSpaceTolerance;
    /// Largest time tolerance of an event that is accepted, ms. The field could hold more than the
    /// 0 and 1 that are valid, but what hosts were refused stays refused.
    std::uint32_t maxTimeTolerance;
    /// Centre of the row's area, degrees, north positive.
    double latitude;
    /// Degrees, east positive.
    double longitude;
    /// Greatest distance of an event from the centre, metres.
    double radius;
    /// What an event's spatial tolerance is multiplied by before it is applied.
    double spaceToleranceFactor;
    /// The same for its time tolerance; the product is cut to whole milliseconds.
    double timeToleranceFactor;
};

QORVEL_END_NAMESPACE

#endif
