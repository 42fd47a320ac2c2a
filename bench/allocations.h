#ifndef QORVEL_BENCH_ALLOCATIONS_H
#define QORVEL_BENCH_ALLOCATIONS_H

#include <cstddef>

/// A program that links this counts its memory: every operator new in the process, the shared
/// library's among them, comes through here. It costs time, so it is kept out of programs that
/// measure that.
namespace allocations {

/// Bytes asked for and not yet given back, the allocator's own overhead not counted.
std::size_t liveBytes();

} // namespace allocations

#endif
