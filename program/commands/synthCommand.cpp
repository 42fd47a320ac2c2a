#include "program/commands/synthCommand.h"

#include "program/Interrupt.h"
#include "program/output/TextFile.h"

#include <string>
#include <vector>

namespace program {

namespace {

/// Writes a table of the world; an interrupt ends it early, and the file does not get its name.
template <typename Row>
void writeTable(const world::World& world, const std::string& file, const char* header,
                const std::vector<Row>& rows) {
    TextFile output(file, ".csv");
    output.write(header + std::string("\n"));
    std::string text;
    for (const Row& row : rows) {
        if (interrupted()) {
            return;
        }
        text.clear();
        world::appendRow(text, world, row);
        output.write(text += '\n');
    }
    output.finish();
}

} // namespace

ExitCode runSynth(const SynthOptions& options) {
    const world::World world = world::makeWorld(options.world);
    writeTable(world, options.tracksFile, world::kFixHeader, world.fixes);
    if (!options.truthFile.empty()) {
        writeTable(world, options.truthFile, world::kStayHeader, world.stays);
    }
    return interrupted() ? ExitCode::interrupted : ExitCode::done;
}

} // namespace program
