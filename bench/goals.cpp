// Is the library as fast as it is meant to be? One run measures the straightforward way and the
// library in turn, holds their results against each other, and says of each goal whether it is met.
//
//   goals [modes|growth|peers|all] [PICTURE.svg]
//
// A goal missed is shown; only a wrong result makes the exit status 1.

#include "bench/goals.h"

#include <iostream>
#include <string>

int main(int argc, char** argv) {
    const std::string part = argc > 1 ? argv[1] : "all";
    const std::string picture = argc > 2 ? argv[2] : "";
    const auto wanted = [&part](const char* name) { return part == "all" || part == name; };
    if (!wanted("modes") && !wanted("growth") && !wanted("peers")) {
        std::cerr << "usage: goals [modes|growth|peers|all] [PICTURE.svg]\n";
        return 2;
    }
    Report report;
    if (wanted("modes")) {
        goals::modes(report);
    }
    if (wanted("growth")) {
        goals::growth(report, picture);
    }
    if (wanted("peers")) {
        goals::peers(report);
    }
    return report.finish();
}
