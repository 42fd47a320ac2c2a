#ifndef QORVEL_PROGRAM_INPUT_FIXSORTER_H
#define QORVEL_PROGRAM_INPUT_FIXSORTER_H

#include "program/input/Fix.h"

#include <cstdint>
#include <memory>

namespace program {

/// Puts fixes in the order of their times, those of one time in the order in which they came: more
/// of them than there is memory for. What is more stands in files of the folder for temporary files
/// (TMPDIR), which nobody else can open and which lose their names as soon as they are there: so
/// nothing stays behind, however the program ends.
///
/// Throws Failure(broken) when they cannot be written, as on a full disk.
class FixSorter {
public:
    /// @param memory  MiB; it takes a quarter of it, but 2 at least and 128 at most
    explicit FixSorter(std::uint64_t memory);
    ~FixSorter();
    FixSorter(const FixSorter&) = delete;
    FixSorter& operator=(const FixSorter&) = delete;

    void add(const Fix& fix);

    /// After the last; only then they can be taken. An interrupt ends it early, and there are none.
    void sort();

    bool isEmpty() const { return !hasNext_; }

    /// The time of the first. Where it is not empty.
    std::int64_t oldest() const;

    /// Takes the first out. Where it is not empty.
    void take(Fix& fix);

private:
    class Database;

    void step();

    std::unique_ptr<Database> database_;
    bool hasNext_ = false;
};

} // namespace program

#endif
