#ifndef QORVEL_PYTHON_SETTINGS_H
#define QORVEL_PYTHON_SETTINGS_H

#include "engine/analysis/makeAnalysis.h"
#include "engine/run/SessionOptions.h"
#include "engine/setup/Config.h"

#include <nanobind/nanobind.h>
#include <string>

namespace qorvel_python {

/// All that a session is made with.
struct Settings {
    qorvel_engine::AnalysisOptions analysis;
    qorvel_engine::SessionOptions session;
    qorvel_engine::Config config;
};

/// Reads what Python's functions are told by name; the table in the source has all names. What is
/// not said is as the engine has it.
///
/// @param question  see qorvel_engine::questionOf
/// Throws the Fault `badConfiguration` for what cannot be.
Settings readSettings(const std::string& question, const nanobind::dict& said);

} // namespace qorvel_python

#endif
