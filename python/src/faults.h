#ifndef QORVEL_PYTHON_FAULTS_H
#define QORVEL_PYTHON_FAULTS_H

#include <string>

namespace qorvel_python {

/// From now on the engine's faults are raised as qorvel.Error. Called once, when the module is
/// loaded.
void registerFaults();

/// Throws the engine's Fault `misuse`, `badColumn` or `badConfiguration` with that sentence.
[[noreturn]] void refuseCall(const std::string& sentence);
[[noreturn]] void refuseColumn(const std::string& sentence);
[[noreturn]] void refuseSetting(const std::string& sentence);

} // namespace qorvel_python

#endif
