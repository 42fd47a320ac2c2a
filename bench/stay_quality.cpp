// How good the engine's stays are: stay_quality FIRST LAST, seeds of the scenes.
#include "testing/support/findStays.h"
#include "testing/world/StayScene.h"
#include "testing/world/StayScore.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace {

/// What is to be reached; 0: nothing.
struct Goal {
    const char* scene;
    double f1;
    double minutes; ///< median error of begin and end
    double metres;  ///< median error of the place
};

constexpr Goal kGoals[] = {{"base", 0.988, 0.5, 6.0},
                           {"clean", 0.999, 0.0, 0.0},
                           {"near", 0.988, 0.0, 0.0},
                           {"sparse", 0.96, 0.0, 12.0},
                           {"town", 0.992, 0.0, 0.0}};
constexpr double kMostSplitOrMerged = 0.01;

struct Measured {
    world::StayScore score;
    double seconds = 0.0; ///< of the processor
};

void measure(const world::StayScene& scene, Measured& measured) {
    const std::clock_t begin = std::clock();
    const std::vector<StayRow> rows = byEntity(findStays(scene.fixes));
    measured.seconds += static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    std::vector<world::SceneStay> found;
    for (const StayRow& row : rows) {
        found.push_back({row.entity, row.from, row.to, row.lat, row.lon});
    }
    measured.score.add(scene, found);
}

const char* judge(const std::string& name, const world::StayScore& score) {
    bool isMet =
        score.splitShare() <= kMostSplitOrMerged && score.mergedShare() <= kMostSplitOrMerged;
    for (const Goal& goal : kGoals) {
        if (name == goal.scene) {
            isMet = isMet && score.f1() >= goal.f1 &&
                    (goal.minutes == 0.0 || (score.beginMinutes(0.5) <= goal.minutes &&
                                             score.endMinutes(0.5) <= goal.minutes)) &&
                    (goal.metres == 0.0 || score.placeMetres(0.5) <= goal.metres);
        }
    }
    return isMet ? "met" : "MISSED";
}

void report(const std::string& name, const Measured& measured) {
    const world::StayScore& score = measured.score;
    std::printf("| %-12s | %9zu | %6zu | %.4f | %.4f | %5.2f | %5.2f | %5.2f | %5.2f | %5.1f | "
                "%5.2f | %5.2f | %4.0f | %-6s |\n",
                name.c_str(), score.fixes(), score.stays(), score.f1(), score.bestF1(),
                score.beginMinutes(0.5), score.beginMinutes(0.9), score.endMinutes(0.5),
                score.endMinutes(0.9), score.placeMetres(0.5), 100.0 * score.splitShare(),
                100.0 * score.mergedShare(),
                1e9 * measured.seconds / static_cast<double>(score.fixes()), judge(name, score));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fputs("stay_quality FIRST LAST, seeds\n", stderr);
        return 2;
    }
    const auto first = static_cast<std::uint64_t>(std::atoll(arguments[1]));
    const auto last = static_cast<std::uint64_t>(std::atoll(arguments[2]));
    std::puts(
        "| scene        | fixes     | stays  | F1     | shown  | begin | 90 %  | end   | 90 %  "
        "| place | split | merged | ns | goals |\n"
        "|--------------|----------:|-------:|-------:|-------:|------:|------:|------:|------:"
        "|------:|------:|------:|-----:|--------|");
    for (const world::SceneKind& kind : world::sceneKinds()) {
        Measured measured;
        for (std::uint64_t seed = first; seed <= last; ++seed) {
            measure(world::makeScene(kind, seed), measured);
        }
        report(kind.name, measured);
    }
    Measured town;
    for (std::uint64_t seed = first; seed <= last; ++seed) {
        measure(world::makeTownScene(100, seed), town);
    }
    report("town", town);
    return 0;
}
