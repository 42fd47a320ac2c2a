#ifndef QORVEL_PROGRAM_CLI_SETUPGROUP_H
#define QORVEL_PROGRAM_CLI_SETUPGROUP_H

#include "engine/setup/Config.h"
#include "program/engineNames.h"
#include "program/input/InputOptions.h"

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace program {

/// The options that configure: one master, one assignment and one spec, or the file that says it
/// all instead. Options write into it, so it must outlive them and stay where it is.
class SetupGroup {
public:
    SetupGroup() = default;
    SetupGroup(const SetupGroup&) = delete;
    SetupGroup& operator=(const SetupGroup&) = delete;

    /// @param ratioMeaning  of --ratio; null: without what makes a spec
    void add(CLI::App& command, const char* ratioMeaning);

    /// Only the file.
    void addFile(CLI::App& command);

    void setRatio(double ratio) { spec_.ratio = ratio; }

    /// What the options say. Throws Failure(usage) where they contradict each other, and what
    /// readConfig throws.
    Config configFor(ProcessorKind kind) const;

    /// As configFor, and without a file keys do not count.
    Config configFor(ProcessorKind kind, InputOptions& input) const;

private:
    void refuseBoth() const;

    std::string file_;
    Config::Master master_;
    Config::Assignment assignment_;
    Config::Spec spec_;
    std::vector<const CLI::Option*> replacedByFile_;
};

/// The least share of fixes that presence asks for, where nothing is said.
inline constexpr double kPresenceRatio = 0.5;

} // namespace program

#endif
