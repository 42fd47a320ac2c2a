#include "program/commands/explainCommand.h"

#include "program/commands/Explanation.h"
#include "program/commands/Story.h"
#include "program/commands/explanationText.h"
#include "program/output/TextFile.h"

#include <memory>

namespace program {

namespace {

/// A row of the input, as far as it could be read.
struct Row {
    std::uint64_t number = 0; ///< from 1
    std::uint64_t line = 0;
    std::string verbatim;
    std::string reason; ///< why it is rejected; empty for a good one
    Fix fix;
};

/// The next row, with the event that it makes; false at the end of the input.
bool readRow(FixSource& source, EventMaker& maker, Row& row, Event& event) {
    if (!source.next()) {
        return false;
    }
    ++row.number;
    row.line = source.line();
    row.reason = source.read(row.fix);
    if (row.reason.empty()) {
        row.reason = maker.make(row.fix, event);
    }
    return true;
}

/// Goes on to the row that is asked for.
Row findRow(const ExplainOptions& options, FixSource& source, EventMaker& maker) {
    Row row;
    for (Event event; readRow(source, maker, row, event);) {
        if (options.row > 0 ? row.number == options.row : row.line >= options.line) {
            row.verbatim = source.verbatim();
            return row;
        }
    }
    throw Failure(ExitCode::usage, source.name() + " has no such row: it has " +
                                       std::to_string(row.number) + " rows, the last on line " +
                                       std::to_string(row.line));
}

/// Tells the story of the row's entity up to the row. Returns the row's event.
Event tellStory(const Row& last, FixSource& source, EventMaker& maker, Story& story) {
    Row row;
    for (Event event; readRow(source, maker, row, event);) {
        if (row.reason.empty() && row.fix.entity == last.fix.entity) {
            story.take(event, row.line);
        }
        if (row.number == last.number) {
            return event;
        }
    }
    throw Failure(ExitCode::broken, "the input changed while it was read");
}

} // namespace

std::string explain(const ExplainOptions& options, FixSource& source) {
    if (options.row == 0 && options.line == 0) {
        throw Failure(ExitCode::usage, "which row? Give --row or --line");
    }
    const Tables library(options.config, options.use);
    if (!source.isRepeatable()) {
        throw Failure(ExitCode::usage, "explain reads its input twice: give it a file, no pipe");
    }
    EventMaker maker(options.events);
    const Row row = findRow(options, source, maker);
    const std::string title = "row " + std::to_string(row.number) + ", line " +
                              std::to_string(row.line) + " of " + source.name() + ": " +
                              row.verbatim + '\n';
    if (!row.reason.empty()) {
        return title + "So the row is rejected: " + row.reason + '\n';
    }
    source.rewind();
    Story story(library);
    const Event event = tellStory(row, source, maker, story);
    return title + explanationText(explainEvent(event, library, story), row.fix, row.line,
                                   options.config, options.use);
}

ExitCode runExplain(const ExplainOptions& options) {
    const std::unique_ptr<FixSource> source = openFixSource(options.input);
    const std::string text = explain(options, *source);
    TextFile output("-", "");
    output.write(text);
    output.finish();
    return ExitCode::done;
}

} // namespace program
