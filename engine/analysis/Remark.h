#ifndef QORVEL_ENGINE_ANALYSIS_REMARK_H
#define QORVEL_ENGINE_ANALYSIS_REMARK_H

#include <cstdint>
#include <string>

namespace qorvel_engine {

/// What a remark is about, for callers that have better words for it: they know the options by
/// which their users make the promise of SessionOptions::late.
enum class RemarkKind : std::uint8_t {
    outOfOrder, ///< rows that are older than one of their entity before them
    late,       ///< rows later than promised, which were taken all the same
    leftOut,    ///< rows later than promised, which were not taken
    metNobody   ///< rows that came after their time had been looked through
};

/// Something to be said about a session after its last row.
struct Remark {
    RemarkKind kind;      ///< what it is about
    std::uint64_t rows;   ///< how many rows it is about
    std::string sentence; ///< for people, without a full stop
};

} // namespace qorvel_engine

#endif
