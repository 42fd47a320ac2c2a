#ifndef QORVEL_PYTHON_COLUMN_H
#define QORVEL_PYTHON_COLUMN_H

#include "src/shareArray.h"

#include <cstddef>
#include <nanobind/nanobind.h>
#include <string>

namespace qorvel_python {

/// A column that may be handed on as often as one likes, without a copy.
class Column {
public:
    /// The format is that of a type without children, or with one child: of its format then.
    Column(std::string format, qorvel_engine::ArrowArrayOwner array, std::string childFormat = {});

    std::size_t size() const { return static_cast<std::size_t>((*array_)->length); }

    /// Capsules: the type, and the type with the values.
    nanobind::object schema() const;
    nanobind::object array() const;

private:
    std::string format_;
    std::string childFormat_;
    SharedArray array_;
};

} // namespace qorvel_python

#endif
