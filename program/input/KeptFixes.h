#ifndef QORVEL_PROGRAM_INPUT_KEPTFIXES_H
#define QORVEL_PROGRAM_INPUT_KEPTFIXES_H

#include "program/input/Fix.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

namespace program {

/// All fixes of an input, if they are few enough: an input that has to be read twice need then not
/// be. It holds all of them or none.
class KeptFixes {
public:
    /// Holds nothing, and takes nothing until begin().
    /// @param mostMemory  bytes, in steps of 1 MiB; a fix beyond it is one too many
    explicit KeptFixes(std::size_t mostMemory) : mostMemory_(mostMemory) {}

    void begin() { holdsAll_ = true; }

    /// If all before are held. One too many drops them all.
    void add(const Fix& fix);

    /// What was added is that share of all, 0 to 1: drops it where the rest would be too much.
    void foresee(double share);

    /// Gives the memory back, and takes nothing more.
    void drop();

    bool holdsAll() const { return holdsAll_; }

    /// That were added.
    std::uint64_t count() const { return count_; }

    /// Takes the next out, in the order in which they were added; false when none is left. Gives
    /// memory back on the way.
    bool take(Fix& fix);

private:
    /// Of fixes one behind another, each whole in its piece.
    struct Piece {
        std::unique_ptr<char[]> bytes;
        std::size_t size = 0;
    };

    char* makeRoom(std::size_t size);

    bool holdsAll_ = false;
    std::size_t mostMemory_;
    std::uint64_t count_ = 0;
    std::size_t at_ = 0; ///< in the first piece: what is taken next
    std::deque<Piece> pieces_;
};

} // namespace program

#endif
