#ifndef QORVEL_MODEL_STBCOMPRESSIONSPEC_H
#define QORVEL_MODEL_STBCOMPRESSIONSPEC_H

#include "qorvel/config.h"

#include <cstdint>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// The parameters of presence compression or hangout detection; which of the two depends only on
/// the call that the processor is used with.
class QORVEL_EXPORT STBCompressionSpec {
public:
    /// All numbers 0; an empty record for a builder to overwrite.
    STBCompressionSpec();
    /// Stores what it is given; isValid judges it.
    STBCompressionSpec(std::uint32_t primaryKeyId, std::uint32_t secondaryKeyId,
                       std::uint32_t masterId, std::uint32_t windowMillis, std::uint32_t minCount,
                       double ratio);
    STBCompressionSpec(const STBCompressionSpec&) = default;
    STBCompressionSpec& operator=(const STBCompressionSpec&) = default;
    virtual ~STBCompressionSpec();

    /// False, with "ERROR_COMPRESSIONSPEC_1," appended to `errors`, unless the ratio is 0 to 1; a
    /// NaN is invalid. Nothing else is checked.
    bool isValid(std::stringstream& errors) const;

    /// All six fields equal. A spec whose ratio is NaN equals nothing, itself included.
    bool operator==(const STBCompressionSpec& other) const;

    /// Number of the primary key (PrimaryKey) of the events to accept; 0 accepts every key.
    std::uint32_t primaryKeyId;
    /// Number of the secondary key (SecondaryKey). No detector reads it.
    std::uint32_t secondaryKeyId;
    /// Number of the master row (MasterName) on whose boxes the spec works.
    std::uint32_t masterId;
    /// Look-back window, ms. For a hangout: how long the entity has to stay.
    std::uint32_t windowMillis;
    /// Smallest number of events in a cell.
    std::uint32_t minCount;
    /// How many events must touch a side of the boundary for it to be reported, 0 to 1: as a share
    /// of both sides' counts (presence compression) or of minCount (hangouts). NaN reports nothing.
    double ratio;
};

QORVEL_END_NAMESPACE

#endif
