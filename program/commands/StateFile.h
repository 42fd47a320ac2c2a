#ifndef QORVEL_PROGRAM_COMMANDS_STATEFILE_H
#define QORVEL_PROGRAM_COMMANDS_STATEFILE_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace program {

/// A file with the state of a run. At every moment there is either a whole one or none, whenever
/// the machine stops, and beside it the one before, where the file system can give a file two
/// names. Only its owner may read them: they say where people are.
class StateFile {
public:
    explicit StateFile(const std::string& name);

    const std::string& name() const { return name_; }

    /// The file of the state before, whether it is there or not.
    std::string previousName() const { return name_ + ".previous"; }

    /// What stands in it; none where there is no such file. Throws Failure(broken) where it cannot
    /// be read, Failure(usage) for what is no file.
    std::optional<std::string> read() const;

    /// Throws Failure(broken) where it cannot be written; the old one stays then.
    void replace(std::string_view bytes) const;

private:
    std::string name_;
    std::filesystem::path target_; ///< behind links
};

} // namespace program

#endif
