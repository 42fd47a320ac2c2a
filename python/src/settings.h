#ifndef QORVEL_PYTHON_SETTINGS_H
#define QORVEL_PYTHON_SETTINGS_H

#include "engine/analysis/makeAnalysis.h"
#include "engine/run/SessionOptions.h"
#include "engine/setup/Config.h"

#include <cstdint>
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

/// The length of time that a setting says, such as "15 minutes"; kEver for one that is not always
/// as long. Throws std::invalid_argument for what is none.
std::int64_t milliseconds(const std::string& length);

} // namespace qorvel_python

#endif
