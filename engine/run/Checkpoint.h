#ifndef QORVEL_ENGINE_RUN_CHECKPOINT_H
#define QORVEL_ENGINE_RUN_CHECKPOINT_H

#include "engine/export.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qorvel_engine {

/// A session's state and what its caller has to know to go on with it, such as how far the input
/// was read, as one piece of bytes, which docs/state-format.md describes.
struct QORVEL_ENGINE_EXPORT Checkpoint {
    /// What the caller keeps, by names of its own.
    std::map<std::string, std::vector<std::uint64_t>> numbers;
    std::map<std::string, std::vector<std::string>> texts; ///< the same
    std::string session;                                   ///< what Session::save gave

    /// The same checkpoint gives the same bytes.
    std::string save() const;

    /// What save() gave. What cannot be taken (cut short, damaged, something else, of a newer
    /// format) is a Fault `badState`, which says which. Whether a session can load what is in it,
    /// only that knows.
    ///
    /// Memory: a small multiple of the bytes that there are, whatever they say.
    static Checkpoint load(std::string_view bytes);
};

} // namespace qorvel_engine

#endif
