#ifndef QORVEL_PROGRAM_OUTPUT_GROWINGFORMAT_H
#define QORVEL_PROGRAM_OUTPUT_GROWINGFORMAT_H

#include "program/output/ResultWriter.h"
#include "program/output/TextFormat.h"

#include <memory>

namespace program {

/// The format of results that are added to a file, which so has no end: CSV or NDJSON. Throws
/// Failure(usage) for others. The schema must outlive it.
std::shared_ptr<const TextFormat> growingFormat(const OutputOptions& options,
                                                const ResultSchema& schema);

} // namespace program

#endif
