#ifndef QORVEL_ENGINE_COLUMNS_ARROWOWNER_H
#define QORVEL_ENGINE_COLUMNS_ARROWOWNER_H

#include "engine/columns/arrow_c_data.h"

namespace qorvel_engine {

/// Owns one of Arrow's structures: calls its release once, unless it was moved on. The structure
/// may be moved, since consumers are allowed to by its rules.
template <class Structure>
class ArrowOwner {
public:
    /// A released structure.
    ArrowOwner() noexcept = default;

    /// Takes over what `from` holds; `from` is marked as released.
    explicit ArrowOwner(Structure& from) noexcept : structure_(from) { from.release = nullptr; }

    /// `other` is released afterwards, without a call.
    ArrowOwner(ArrowOwner&& other) noexcept : ArrowOwner(other.structure_) {}
    /// What was held is released first.
    ArrowOwner& operator=(ArrowOwner&& other) noexcept {
        if (this != &other) {
            other.moveTo(fresh());
        }
        return *this;
    }
    ArrowOwner(const ArrowOwner&) = delete;
    ArrowOwner& operator=(const ArrowOwner&) = delete;
    ~ArrowOwner() { reset(); }

    /// Releases what is held.
    void reset() noexcept {
        if (structure_.release != nullptr) {
            structure_.release(&structure_);
            structure_.release = nullptr;
        }
    }

    /// Where a producer may write, after what is held was released.
    Structure* fresh() noexcept {
        reset();
        return &structure_;
    }

    /// Hands it on; what stands at `out` is overwritten.
    void moveTo(Structure* out) noexcept {
        *out = structure_;
        structure_.release = nullptr;
    }

    /// The structure, still owned.
    Structure* get() noexcept { return &structure_; }
    Structure& operator*() noexcept { return structure_; }
    Structure* operator->() noexcept { return &structure_; }
    const Structure& operator*() const noexcept { return structure_; }
    const Structure* operator->() const noexcept { return &structure_; }

    /// Is something held?
    explicit operator bool() const noexcept { return structure_.release != nullptr; }

private:
    Structure structure_{};
};

/// The owners of the three structures.
using ArrowSchemaOwner = ArrowOwner<ArrowSchema>;
using ArrowArrayOwner = ArrowOwner<ArrowArray>;
using ArrowStreamOwner = ArrowOwner<ArrowArrayStream>;

} // namespace qorvel_engine

#endif
