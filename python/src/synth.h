#ifndef QORVEL_PYTHON_SYNTH_H
#define QORVEL_PYTHON_SYNTH_H

#include "src/Results.h"

#include <cstdint>
#include <memory>

namespace qorvel_python {

/// The sample world as a table: what devices report or, with `truth`, who stayed where. Throws the
/// Fault `badConfiguration` for more than a million entities or ten years, and for none.
std::unique_ptr<Results> synth(std::int64_t entities, std::int64_t days, std::uint64_t seed,
                               bool truth);

} // namespace qorvel_python

#endif
