#ifndef QORVEL_CONFIG_H
#define QORVEL_CONFIG_H

#include "qorvel/export.h"

/// @namespace qorvel
/// Everything the library declares stands in namespace qorvel, so its symbols cannot clash. The
/// namespace is inline: a host may write `SpaceBox` or `qorvel::SpaceBox`. A host that has an
/// `Event` or a `TimeBox` of its own defines QORVEL_NO_SHORT_NAMES before the first include and
/// then writes the long names only; the symbols are the same either way.
#ifdef QORVEL_NO_SHORT_NAMES
#define QORVEL_BEGIN_NAMESPACE namespace qorvel {
#else
#define QORVEL_BEGIN_NAMESPACE inline namespace qorvel {
#endif
#define QORVEL_END_NAMESPACE } // namespace qorvel

#endif
