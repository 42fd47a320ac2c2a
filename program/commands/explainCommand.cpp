#include "program/commands/explainCommand.h"

#include "engine/run/Explainer.h"
#include "program/commands/explanationText.h"
#include "program/input/FixBatch.h"
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

/// The next row; false at the end of the input.
bool readRow(FixSource& source, Row& row) {
    if (!source.next()) {
        return false;
    }
    ++row.number;
    row.line = source.line();
    row.reason = source.read(row.fix);
    return true;
}

/// Goes on to the row that is asked for.
Row findRow(const ExplainOptions& options, FixSource& source) {
    Row row;
    while (readRow(source, row)) {
        if (options.row > 0 ? row.number == options.row : row.line >= options.line) {
            row.verbatim = source.verbatim();
            return row;
        }
    }
    throw Failure(ExitCode::usage, source.name() + " has no such row: it has " +
                                       std::to_string(row.number) + " rows, the last on line " +
                                       std::to_string(row.line));
}

/// Takes the rows of the row's entity up to it.
Explanation explainRow(const Row& last, FixSource& source, Explainer& explainer) {
    Row row;
    FixBatch batch;
    while (readRow(source, row)) {
        if (row.reason.empty() && row.fix.entity == last.fix.entity) {
            batch.clear();
            batch.append(row.fix);
            explainer.take(batch.observations(), 0, row.line);
        }
        if (row.number == last.number) {
            return explainer.explain();
        }
    }
    throw Failure(ExitCode::broken, "the input changed while it was read");
}

} // namespace

std::string explain(const ExplainOptions& options, FixSource& source) {
    if (options.row == 0 && options.line == 0) {
        throw Failure(ExitCode::usage, "which row? Give --row or --line");
    }
    Explainer explainer(options.config, options.use, options.events);
    if (!source.isRepeatable()) {
        throw Failure(ExitCode::usage, "explain reads its input twice: give it a file, no pipe");
    }
    const Row row = findRow(options, source);
    const std::string title = "row " + std::to_string(row.number) + ", line " +
                              std::to_string(row.line) + " of " + source.name() + ": " +
                              row.verbatim + '\n';
    if (!row.reason.empty()) {
        return title + "So the row is rejected: " + row.reason + '\n';
    }
    source.rewind();
    return title + explanationText(explainRow(row, source, explainer), row.fix, row.line,
                                   options.config, options.use);
}

ExitCode runExplain(const ExplainOptions& options) {
    const std::unique_ptr<FixSource> source = openTracks(options.input);
    const std::string text = explain(options, *source);
    TextFile output("-", "");
    output.write(text);
    output.finish();
    return ExitCode::done;
}

} // namespace program
