#ifndef QORVEL_PYTHON_GEOHASH_H
#define QORVEL_PYTHON_GEOHASH_H

#include <nanobind/nanobind.h>

namespace qorvel_python {

/// Adds the functions on arrays of cells.
void bindGeohash(nanobind::module_& module);

} // namespace qorvel_python

#endif
