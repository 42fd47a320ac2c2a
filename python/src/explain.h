#ifndef QORVEL_PYTHON_EXPLAIN_H
#define QORVEL_PYTHON_EXPLAIN_H

#include "src/Source.h"

#include <cstdint>
#include <nanobind/nanobind.h>
#include <string>

namespace qorvel_python {

/// What becomes of a row and why, as the classes of _explain.py have it. The columns of the source
/// have been chosen.
/// @param question  boxes, presence or hangouts
/// @param settings  as readSettings
/// @param number    of the row, from 0
nanobind::dict explainRow(const std::string& question, const nanobind::dict& settings,
                          Source& source, std::int64_t number);

/// What is wrong with the configuration that the settings name, and what a table is like that it is
/// meant for, unless it has errors.
nanobind::dict checkConfiguration(const nanobind::dict& settings, Source* source);

} // namespace qorvel_python

#endif
