#ifndef QORVEL_BENCH_CURVES_H
#define QORVEL_BENCH_CURVES_H

#include <ostream>
#include <string>
#include <vector>

/// How the cost of an event goes with the size of something.
struct Curve {
    struct Point {
        double size;
        double cost; ///< ns an event
    };

    std::string name;
    std::string unit; ///< what the size counts
    std::vector<Point> points;
};

/// An SVG picture: a panel for each unit in order of appearance, sizes by their logarithm, costs
/// from 0 up, one scale for all panels.
void drawCurves(const std::vector<Curve>& curves, std::ostream& out);

#endif
