#ifndef QORVEL_PROGRAM_INPUT_FIXSOURCE_H
#define QORVEL_PROGRAM_INPUT_FIXSOURCE_H

#include "program/input/Assumed.h"
#include "program/input/Fix.h"
#include "program/input/GrowingInput.h"
#include "program/input/InputOptions.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace program {

/// Movement data, row by row in the order of the input, whatever its format. Holds one piece of
/// the input at a time.
class FixSource {
public:
    virtual ~FixSource() = default;

    /// Goes to the next row; false at the end, or when SIGINT ended it early. The first call reads
    /// the header. Throws Failure(broken) when the input is empty, lacks a column, has one twice,
    /// cannot be read on or ends in the middle of a row.
    virtual bool next() = 0;

    /// Reads the current row. Returns what is wrong with it, or an empty text: only then `fix` is
    /// wholly set.
    virtual std::string read(Fix& fix) = 0;

    /// The time of the current row, of which nothing else need be right; none if it has none.
    virtual std::optional<std::int64_t> readTime() = 0;

    /// Where the current row begins: a line, the first being 1, or the number of a feature.
    virtual std::uint64_t line() const = 0;

    /// The current row as it stands in the input, without its line end; a feature as GeoJSON.
    virtual std::string verbatim() const = 0;

    /// Whether the next call of next() has to wait for the input, as at a pipe or a terminal.
    virtual bool isDrained() const { return false; }

    /// Whether the input can be read a second time: a regular file can, a pipe cannot.
    virtual bool isRepeatable() const = 0;

    /// Goes back to the beginning; only for a repeatable one.
    virtual void rewind() = 0;

    /// The share of the input that has been read, 0 to 1; none where that is not known.
    virtual std::optional<double> shareRead() const = 0;

    /// For messages.
    virtual const std::string& name() const = 0;

    /// Whether name() changes while it is read.
    virtual bool isSeveral() const { return false; }

    /// The same as one that another run can go on with; null for what is no file of text as it is.
    virtual GrowingInput* growing() { return nullptr; }

    /// What had to be assumed about the rows that were read.
    virtual Assumed assumed() const = 0;
};

/// Opens the file of the options; of a text whose name does not tell its format the first bytes are
/// read, and GDAL may look into the rest. Throws Failure(broken)
/// when it cannot be opened, Failure(usage) when the options do not say how.
///
/// By name: .csv and .txt are CSV, .tsv and .tab TSV, .ndjson and .jsonl NDJSON, also in front of
/// .gz. What gdalDriverOf() knows is GDAL's, with that driver alone, and so is all whose driver the
/// options name. The rest, standard input too, is NDJSON if it begins with a brace, and else CSV.
std::unique_ptr<FixSource> openFixSource(const InputOptions& options);

/// Opens all that the options name as one input; see inputFiles().
std::unique_ptr<FixSource> openTracks(const InputOptions& options);

} // namespace program

#endif
