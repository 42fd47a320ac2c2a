#include "src/Attention.h"

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qorvel_python {

bool Attention::isDue() {
    const auto now = std::chrono::steady_clock::now();
    if (now < nextLook_) {
        return false;
    }
    nextLook_ = now + kBetweenLooks;
    return true;
}

void Attention::look() {
    const nb::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() != 0) {
        throw nb::python_error();
    }
}

} // namespace qorvel_python
