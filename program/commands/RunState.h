#ifndef QORVEL_PROGRAM_COMMANDS_RUNSTATE_H
#define QORVEL_PROGRAM_COMMANDS_RUNSTATE_H

#include "engine/run/Checkpoint.h"
#include "program/commands/StateFile.h"
#include "program/commands/analysisCommand.h"
#include "program/input/GrowingInput.h"
#include "program/output/GrowingFile.h"
#include "program/output/TextFormat.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qorvel_engine {
class Session;
}

namespace program {

class BatchReader;
class FixFilter;
class FixSource;
class Rejects;

/// What a run leaves behind for one that goes on with its input and its output: written every now
/// and then, so that one that is killed loses nothing. What it found comes first onto the disk,
/// then the state that says how far that reaches; what stands behind is taken away by the next run,
/// which finds it again. So the output is, byte for byte, that of a run that nobody stopped.
class RunState {
public:
    /// Opens the files and holds state against them; changes none. Throws Failure(usage) for an
    /// input or output that cannot grow, and for other options than before; Failure(broken) for a
    /// state that is damaged, or that is not the one of these files.
    RunState(const RunOptions& options, FixSource& source);

    std::unique_ptr<ResultWriter> makeWriter() const;

    /// Null where none are wanted.
    std::shared_ptr<RowFile> rejectsFile() const { return rejectsOut_; }

    /// Before the first row: all goes on as it was left.
    void begin(Session& session, FixFilter& filter, Rejects& rejects, BatchReader& reader);

    /// Is it time to write the state again?
    bool isDue() const { return Clock::now() >= due_; }

    /// Writes it. No result is under way.
    void save(Session& session, const FixFilter& filter, const Rejects& rejects,
              const BatchReader& reader);

    const std::string& name() const { return file_.name(); }

private:
    using Clock = std::chrono::steady_clock;

    void open();
    Checkpoint load(const std::string& bytes) const;
    void expectSameOptions(const RunOptions& options) const;
    void expectSameInput() const;
    void expectSameNames(const std::vector<std::string>& before,
                         const std::vector<std::string>& now) const;
    void expectSameFile(const FileMark& before, const std::string& file,
                        const std::optional<FileMark>& mark) const;
    void expectFresh(const GrowingFile& file) const;
    void goOn(Session& session, FixFilter& filter, Rejects& rejects, BatchReader& reader);
    InputPlace placeLeft() const;
    std::uint64_t number(const std::string& name) const;
    const std::vector<std::uint64_t>& numbers(const std::string& name, std::size_t count) const;
    std::vector<std::string> texts(const std::string& name) const;
    [[noreturn]] void failDamaged(const std::string& sentence) const;

    const RunOptions& options_;
    FixSource& source_;
    std::shared_ptr<const TextFormat> format_;
    StateFile file_;
    std::shared_ptr<GrowingFile> out_;
    std::shared_ptr<GrowingFile> rejectsOut_;
    std::optional<Checkpoint> left_; ///< by the run before; none: this is the first
    Clock::time_point due_ = Clock::now();
};

} // namespace program

#endif
