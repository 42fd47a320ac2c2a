#include "src/faults.h"

#include "engine/columns/Fault.h"

#include <exception>
#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using qorvel_engine::Fault;
using qorvel_engine::FaultCode;

/// The class is looked up when it is wanted: nothing of Python's is kept between calls.
void raise(const Fault& fault) {
    try {
        const nb::object error = nb::module_::import_("qorvel._errors").attr("Error");
        const nb::object raised = error(fault.what(), static_cast<std::int32_t>(fault.code()),
                                        fault.tags().c_str(), fault.line());
        PyErr_SetObject(error.ptr(), raised.ptr());
    } catch (nb::python_error& other) {
        other.restore();
    }
}

} // namespace

void registerFaults() {
    nb::register_exception_translator([](const std::exception_ptr& thrown, void*) {
        try {
            std::rethrow_exception(thrown);
        } catch (const Fault& fault) {
            raise(fault);
        }
    });
}

void refuseCall(const std::string& sentence) {
    throw Fault(FaultCode::misuse, sentence);
}

void refuseColumn(const std::string& sentence) {
    throw Fault(FaultCode::badColumn, sentence);
}

void refuseSetting(const std::string& sentence) {
    throw Fault(FaultCode::badConfiguration, sentence);
}

} // namespace qorvel_python
