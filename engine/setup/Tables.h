#ifndef QORVEL_ENGINE_SETUP_TABLES_H
#define QORVEL_ENGINE_SETUP_TABLES_H

#include "engine/export.h"
#include "engine/setup/Config.h"
#include "engine/setup/ProcessorKind.h"

#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/processor/MotionProcessor.h"

#include <cstdint>
#include <list>

namespace qorvel_engine {

/// A configuration as the library's records, for processors of one kind. Any thread may read them.
class QORVEL_ENGINE_EXPORT Tables {
public:
    /// Throws the Fault `badConfiguration` with what checkConfig finds when that is an error.
    Tables(const Config& config, ProcessorKind kind);

    /// What they are for.
    ProcessorKind kind() const noexcept { return kind_; }
    /// In the order of the configuration, as all of them.
    const std::list<qorvel::STBMasterRow>& masters() const noexcept { return masters_; }
    /// Which events are taken.
    const std::list<qorvel::STBAssignmentRow>& assignments() const noexcept { return assignments_; }
    /// Those of the kind; none for boxes.
    const std::list<qorvel::STBCompressionSpec>& specs() const noexcept { return specs_; }

    /// How far before an event's time the series that it touches are remembered, ms: the longest
    /// of all specs. What ended earlier is forgotten by that event itself, before it counts
    /// anything. -1 for boxes, which remember nothing.
    std::int64_t lookBack() const;

    /// The master row on whose boxes a spec of this configuration works.
    const qorvel::STBMasterRow& masterOf(const qorvel::STBCompressionSpec& spec) const;

private:
    ProcessorKind kind_;
    std::list<qorvel::STBMasterRow> masters_;
    std::list<qorvel::STBAssignmentRow> assignments_;
    std::list<qorvel::STBCompressionSpec> specs_;
};

/// A new processor of them, which shares nothing with others.
QORVEL_ENGINE_EXPORT qorvel::MotionProcessor makeProcessor(const Tables& tables);

} // namespace qorvel_engine

#endif
