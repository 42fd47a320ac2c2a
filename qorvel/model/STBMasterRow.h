#ifndef QORVEL_MODEL_STBMASTERROW_H
#define QORVEL_MODEL_STBMASTERROW_H

#include "qorvel/model/SpaceTimeBoxSpec.h"

#include <cstdint>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// A named configuration: which resolution its space-time boxes have.
class QORVEL_EXPORT STBMasterRow {
public:
    /// Master 0 with the default resolution; an empty record for a builder to overwrite.
    STBMasterRow();
    /// Stores what it is given; isValid judges it.
    STBMasterRow(std::int32_t masterId, const SpaceTimeBoxSpec& stbSpec);
    STBMasterRow(const STBMasterRow&) = default;
    STBMasterRow& operator=(const STBMasterRow&) = default;
    virtual ~STBMasterRow();

    /// That of the resolution, with its tags.
    bool isValid(std::stringstream& errors) const;

    /// The resolution: cell depth and time-box length.
    SpaceTimeBoxSpec stbSpec;
    /// Number of the configuration's name (MasterName).
    std::int32_t masterId;
};

QORVEL_END_NAMESPACE

#endif
