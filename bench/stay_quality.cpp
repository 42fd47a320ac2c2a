// How good the engine's stays and places are: stay_quality FIRST LAST, seeds of the scenes. With
// --write FOLDER SEED it writes the scenes for other tools; with --score FOLDER SEED TOOL... it
// judges what they found, see bench/peers/stays.py.
#include "testing/support/findPlaces.h"
#include "testing/world/StayScene.h"
#include "testing/world/StayScore.h"
#include "testing/world/World.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <limits>
#include <map>
#include <string>
#include <utility>
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

/// Where somebody of the town stayed, in all.
struct TruePlace {
    double lat = 0.0;
    double lon = 0.0;
    double hours = 0.0;
    double longest = 0.0; ///< hours
};

struct PlaceScore {
    double truePlaces = 0, found = 0, hits = 0;
    double people = 0, homes = 0, works = 0; ///< those that are named rightly
    double homeLabels = 0, workLabels = 0;   ///< of people
    std::vector<double> metres, minutes;     ///< errors of the hits
};

double metresTo(const TruePlace& place, const PlaceRow& row) {
    return std::hypot((place.lat - row.lat) * 111320.0, (place.lon - row.lon) * 64959.7);
}

using TruePlaces = std::map<std::pair<std::uint32_t, std::string>, TruePlace>;

/// Those with a stay of a quarter of an hour.
TruePlaces placesOf(const world::World& town) {
    TruePlaces places;
    for (const world::Stay& stay : town.stays) {
        TruePlace& place = places[{stay.entity, stay.place}];
        const double hours = static_cast<double>(stay.toMs - stay.fromMs) / 3.6e6;
        place = {stay.lat, stay.lon, place.hours + hours, std::max(place.longest, hours)};
    }
    std::erase_if(places, [](const auto& entry) { return entry.second.longest < 0.25; });
    return places;
}

/// A place is found when one of the entity's lies within 100 m of it.
void scorePlaces(std::uint64_t seed, PlaceScore& score) {
    const world::World town = world::makeWorld({100, 7, seed});
    qorvel_engine::AnalysisOptions asked;
    asked.question = qorvel_engine::Question::places;
    asked.places.labels = true;
    std::vector<PlaceRow> rows = findPlaces(world::makeTownScene(100, seed).fixes, asked);
    score.found += static_cast<double>(rows.size());
    for (const PlaceRow& row : rows) {
        const bool isOfPerson = town.entities[static_cast<std::size_t>(row.entity)][0] == 'p';
        score.homeLabels += isOfPerson && row.label == "home" ? 1 : 0;
        score.workLabels += isOfPerson && row.label == "work" ? 1 : 0;
    }
    for (const std::string& name : town.entities) {
        score.people += name[0] == 'p' ? 1 : 0;
    }
    for (const auto& [key, place] : placesOf(town)) {
        const auto& [entity, name] = key;
        ++score.truePlaces;
        const auto hit = std::find_if(rows.begin(), rows.end(), [&](const PlaceRow& row) {
            return row.entity == entity && metresTo(place, row) <= 100.0;
        });
        if (hit != rows.end()) {
            ++score.hits;
            score.metres.push_back(metresTo(place, *hit));
            score.minutes.push_back(60.0 * std::abs(place.hours - hit->hours[0]));
            score.homes += name.starts_with("home") && hit->label == "home" ? 1 : 0;
            score.works += name.starts_with("work") && hit->label == "work" ? 1 : 0;
            rows.erase(hit);
        }
    }
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[values.size() / 2];
}

void reportPlaces(const PlaceScore& score) {
    std::printf("\nplaces of the town: %.0f true ones, F1 %.4f, median errors %.1f m and %.1f "
                "minutes; of %.0f people, homes %.0f right of %.0f named, works %.0f of %.0f\n",
                score.truePlaces, 2.0 * score.hits / (score.truePlaces + score.found),
                medianOf(score.metres), medianOf(score.minutes), score.people, score.homes,
                score.homeLabels, score.works, score.workLabels);
}

/// The scenes of these names, or all.
std::vector<std::pair<std::string, world::StayScene>>
scenesOf(std::uint64_t seed, const std::vector<std::string>& wanted = {}) {
    std::vector<std::pair<std::string, world::StayScene>> scenes;
    const auto isWanted = [&wanted](const std::string& name) {
        return wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
    };
    for (const world::SceneKind& kind : world::sceneKinds()) {
        if (isWanted(kind.name)) {
            scenes.emplace_back(kind.name, world::makeScene(kind, seed));
        }
    }
    if (isWanted("town")) {
        scenes.emplace_back("town", world::makeTownScene(100, seed));
    }
    return scenes;
}

std::string fileOf(const std::string& folder, std::string scene) {
    std::replace(scene.begin(), scene.end(), ' ', '_');
    return folder + '/' + scene + ".csv";
}

void write(const std::string& folder, std::uint64_t seed, const std::vector<std::string>& wanted) {
    for (const auto& [name, scene] : scenesOf(seed, wanted)) {
        std::ofstream file(fileOf(folder, name));
        file << "entity,lat,lon,time_ms,accuracy_m\n"
             << std::setprecision(std::numeric_limits<double>::max_digits10);
        for (const world::SceneFix& fix : scene.fixes) {
            file << fix.entity << ',' << fix.lat << ',' << fix.lon << ',' << fix.time << ','
                 << fix.accuracy << '\n';
        }
    }
}

/// As bench/peers/stays.py writes them: seconds, then entity,from_ms,to_ms,lat,lon.
std::vector<world::SceneStay> readStays(const std::string& path, double& seconds) {
    std::ifstream file(path);
    file >> seconds;
    std::vector<world::SceneStay> stays;
    world::SceneStay stay{};
    char comma = ',';
    while (file >> stay.entity >> comma >> stay.from >> comma >> stay.to >> comma >> stay.lat >>
           comma >> stay.lon) {
        stays.push_back(stay);
    }
    if (!file.eof()) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        std::exit(1);
    }
    std::sort(stays.begin(), stays.end(), [](const auto& a, const auto& b) {
        return std::pair(a.entity, a.from) < std::pair(b.entity, b.from);
    });
    return stays;
}

void printHead() {
    std::puts(
        "| scene        | fixes     | stays  | F1     | shown  | begin | 90 %  | end   | 90 %  "
        "| place | split | merged | ns | goals |\n"
        "|--------------|----------:|-------:|-------:|-------:|------:|------:|------:|------:"
        "|------:|------:|------:|-----:|--------|");
}

void score(const std::string& folder, std::uint64_t seed, const std::string& tool,
           const std::vector<std::string>& wanted) {
    std::printf("\n### %s\n\n", tool.c_str());
    printHead();
    for (const auto& [name, scene] : scenesOf(seed, wanted)) {
        Measured measured;
        measured.score.add(scene, readStays(fileOf(folder, name) + '.' + tool, measured.seconds));
        report(name, measured);
    }
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    const auto seed = [&words](std::size_t at) {
        return static_cast<std::uint64_t>(std::atoll(words[at].c_str()));
    };
    const auto from = [&words](std::size_t at) {
        return std::vector<std::string>(words.begin() + static_cast<std::ptrdiff_t>(at),
                                        words.end());
    };
    if (words.size() >= 3 && words[0] == "--write") {
        write(words[1], seed(2), from(3));
        return 0;
    }
    if (words.size() >= 4 && words[0] == "--score") {
        score(words[1], seed(2), words[3], from(4));
        return 0;
    }
    if (words.size() != 2) {
        std::fputs(
            "stay_quality FIRST LAST, --write FOLDER SEED [SCENE...], or --score FOLDER SEED "
            "TOOL [SCENE...]\n",
            stderr);
        return 2;
    }
    const std::uint64_t first = seed(0);
    const std::uint64_t last = seed(1);
    printHead();
    std::map<std::string, Measured> byScene;
    std::vector<std::string> names;
    PlaceScore places;
    for (std::uint64_t each = first; each <= last; ++each) {
        for (const auto& [name, scene] : scenesOf(each)) {
            if (each == first) {
                names.push_back(name);
            }
            measure(scene, byScene[name]);
        }
        scorePlaces(each, places);
    }
    for (const std::string& name : names) {
        report(name, byScene[name]);
    }
    reportPlaces(places);
    return 0;
}
