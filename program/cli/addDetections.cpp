// The commands that ask for cells and time boxes: boxes, presence and hangouts.
#include "program/cli/SetupGroup.h"
#include "program/cli/commands.h"
#include "program/cli/runGroup.h"

#include <memory>

namespace program {

namespace {

struct Detection {
    RunOptions run;
    SetupGroup setup;
};

/// @param ratioMeaning  of --ratio; null: it looks at each fix alone
Command addDetection(CLI::App& command, Question question, const char* ratioMeaning) {
    const auto detection = std::make_shared<Detection>();
    RunOptions& run = detection->run;
    run.analysis.question = question;
    if (question == Question::presence) {
        detection->setup.setRatio(kPresenceRatio);
    }
    addRun(command, run);
    detection->setup.add(command, ratioMeaning);
    if (ratioMeaning != nullptr) {
        addLate(command, run);
        command.add_flag("--final", run.analysis.lastFigures,
                         "the last figures of each entity, cell and box, not those of its first "
                         "report; they come once no row to come can change them");
    }
    return {&command, [detection] {
                RunOptions& options = detection->run;
                settle(options);
                options.config = detection->setup.configFor(
                    processorKindOf(options.analysis.question), options.input);
                return runAnalysis(options);
            }};
}

} // namespace

Command addBoxes(CLI::App& program) {
    return addDetection(*program.add_subcommand("boxes", "the cells and time boxes of every fix"),
                        Question::boxes, nullptr);
}

Command addPresence(CLI::App& program) {
    return addDetection(
        *program.add_subcommand("presence", "who was seen often enough in which cell and time box"),
        Question::presence, "share of the fixes that a box must have, 0 to 1");
}

Command addHangouts(CLI::App& program) {
    return addDetection(*program.add_subcommand(
                            "hangouts", "who stayed without a break in which cell and time box"),
                        Question::hangouts,
                        "share of --min-count that a box must have in fixes, 0 to 1");
}

} // namespace program
