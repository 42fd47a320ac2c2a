#include "src/Column.h"

#include "src/capsules.h"

#include <utility>

namespace nb = nanobind;

namespace qorvel_python {

Column::Column(std::string format, qorvel_engine::ArrowArrayOwner array, std::string childFormat)
    : format_(std::move(format)), childFormat_(std::move(childFormat)),
      array_(std::make_shared<const qorvel_engine::ArrowArrayOwner>(std::move(array))) {}

nb::object Column::schema() const {
    std::vector<qorvel_engine::ArrowSchemaOwner> children;
    if (!childFormat_.empty()) {
        children.push_back(makeSchema(childFormat_, "item"));
    }
    return makeCapsule(makeSchema(format_, "", std::move(children)));
}

nb::object Column::array() const {
    return nb::make_tuple(schema(), makeCapsule(shareArray(array_)));
}

} // namespace qorvel_python
