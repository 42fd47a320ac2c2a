#ifndef QORVEL_PYTHON_CAPSULES_H
#define QORVEL_PYTHON_CAPSULES_H

#include "engine/columns/ArrowOwner.h"
#include "src/faults.h"

#include <memory>
#include <nanobind/nanobind.h>

namespace qorvel_python {

/// The names of Arrow's capsules.
template <class Structure>
struct CapsuleName;
template <>
struct CapsuleName<ArrowSchema> {
    static constexpr const char* kName = "arrow_schema";
};
template <>
struct CapsuleName<ArrowArray> {
    static constexpr const char* kName = "arrow_array";
};
template <>
struct CapsuleName<ArrowArrayStream> {
    static constexpr const char* kName = "arrow_array_stream";
};

/// Takes what a capsule holds; the capsule is empty afterwards. Throws the Fault `badColumn` for
/// something else, and for what was taken before.
template <class Structure>
qorvel_engine::ArrowOwner<Structure> takeCapsule(nanobind::handle capsule) {
    constexpr const char* kName = CapsuleName<Structure>::kName;
    if (!PyCapsule_IsValid(capsule.ptr(), kName)) {
        refuseColumn(std::string("The table gives no capsule \"") + kName + "\".");
    }
    auto* const structure = static_cast<Structure*>(PyCapsule_GetPointer(capsule.ptr(), kName));
    if (structure->release == nullptr) {
        refuseColumn("The table gives a stream that was read before.");
    }
    return qorvel_engine::ArrowOwner<Structure>(*structure);
}

/// A capsule with the structure, which is released with it unless a consumer takes it.
template <class Structure>
nanobind::object makeCapsule(qorvel_engine::ArrowOwner<Structure> owner) {
    auto held = std::make_unique<qorvel_engine::ArrowOwner<Structure>>(std::move(owner));
    PyObject* const capsule =
        PyCapsule_New(held->get(), CapsuleName<Structure>::kName, [](PyObject* object) {
            delete static_cast<qorvel_engine::ArrowOwner<Structure>*>(PyCapsule_GetContext(object));
        });
    if (capsule == nullptr || PyCapsule_SetContext(capsule, held.get()) != 0) {
        throw nanobind::python_error();
    }
    (void)held.release();
    return nanobind::steal(capsule);
}

} // namespace qorvel_python

#endif
