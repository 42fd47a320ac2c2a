#ifndef QORVEL_BENCH_REPORT_H
#define QORVEL_BENCH_REPORT_H

#include "bench/measure.h"

#include <cstddef>
#include <string>
#include <vector>

/// What a run of goals has to say, on standard output: tables in Markdown, so that they can stand
/// in the documentation as they are, and at the end how many goals were met.
///
/// A goal missed is shown and does no more. A result that is wrong fails the run.
class Report {
public:
    using Row = std::vector<std::string>;

    static void heading(const std::string& text);
    static void note(const std::string& text);
    static void table(const Row& head, const std::vector<Row>& rows);

    /// Counts a goal and returns the word for it.
    std::string judge(bool met);

    /// A result that is wrong: said on standard error, and the run is lost.
    void fail(const std::string& what);

    /// Prints the last line and returns what the process is to exit with.
    int finish() const;

private:
    std::size_t goals_ = 0;
    std::size_t met_ = 0;
    bool failed_ = false;
};

/// A number for a table: as many decimals as its size deserves, thousands apart.
std::string number(double value);

/// A whole number, thousands apart.
std::string wholeNumber(double value);

/// A ratio, as "12.3x".
std::string times(double ratio);

/// How far the samples lie apart: "-3 % +8 %" about their median.
std::string around(const measure::Spread& spread);

#endif
