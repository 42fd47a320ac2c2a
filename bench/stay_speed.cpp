// What stays cost from columns to columns: stay_speed [REPETITIONS [NAME]], on one thread, in
// processor time. Real tracks are taken where QORVEL_TEST_DATA names a folder of them.
#include "bench/measure.h"
#include "testing/support/findStays.h"
#include "testing/world/StayScene.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace qorvel_engine;
using Fixes = std::vector<world::SceneFix>;

/// Of a file of the folder; none where it cannot be read.
Fixes readTracks(const std::string& name) {
    Fixes fixes;
    const char* const folder = std::getenv("QORVEL_TEST_DATA");
    if (folder == nullptr) {
        return fixes;
    }
    const std::string command = "gzip -dc '" + std::string(folder) + '/' + name + ".csv.gz'";
    const std::unique_ptr<FILE, int (*)(FILE*)> file(popen(command.c_str(), "r"), pclose);
    char who[64];
    world::SceneFix fix{0, 0, 0.0, 0.0, 30.0};
    long long time = 0;
    std::map<std::string, std::uint32_t> numbers;
    while (file && std::fscanf(file.get(), "%63[^,]", who) == 1) {
        if (std::fscanf(file.get(), ",%lf,%lf,%lld", &fix.lat, &fix.lon, &time) == 3) {
            fix.time = time;
            fix.entity = numbers.emplace(who, numbers.size()).first->second;
            fixes.push_back(fix);
        }
        static_cast<void>(std::fscanf(file.get(), "%*[^\n]"));
        static_cast<void>(std::fscanf(file.get(), " "));
    }
    return fixes;
}

/// Of several entities in turn, as a stream has them.
Fixes everySecond() {
    world::SceneKind kind;
    for (const world::SceneKind& one : world::sceneKinds()) {
        kind = one.longestPause <= 1.0 ? one : kind;
    }
    kind.entities = 10;
    kind.days = 1;
    Fixes fixes = world::makeScene(kind, 1).fixes;
    std::stable_sort(fixes.begin(), fixes.end(),
                     [](const auto& a, const auto& b) { return a.time < b.time; });
    return fixes;
}

/// How many stays there are.
std::size_t find(const SceneColumns& columns, std::size_t rows, std::int64_t late) {
    AnalysisOptions asked;
    asked.question = Question::stays;
    SessionOptions options;
    options.late = late;
    Session session(asked, {}, options);
    session.push(columns.slice(0, rows));
    session.finish();
    std::size_t stays = 0;
    while (const std::optional<ResultBatch> batch = session.take()) {
        stays += batch->table.size();
    }
    return stays;
}

void report(const char* name, const Fixes& fixes, std::size_t repetitions) {
    if (fixes.empty()) {
        std::printf("| %-12s | not there |\n", name);
        return;
    }
    const SceneColumns columns(fixes);
    constexpr std::int64_t kHour = 3'600'000;
    std::vector<measure::Contender> contenders;
    std::size_t stays = 0;
    for (const std::int64_t late : {INT64_C(0), kHour}) {
        contenders.push_back({fixes.size(), [&columns, &fixes, &stays, late] {
                                  const double start = measure::threadTime();
                                  stays = find(columns, fixes.size(), late);
                                  return measure::threadTime() - start;
                              }});
    }
    const std::vector<measure::Samples> samples = measure::inTurn(contenders, repetitions);
    std::printf("| %-12s | %8zu | %6zu |", name, fixes.size(), stays);
    for (const measure::Samples& ofOne : samples) {
        const measure::Spread spread = measure::spreadOf(ofOne);
        std::printf(" %5.0f | %5.0f | %5.1f |", spread.median, spread.low, 1e3 / spread.median);
    }
    std::puts("");
}

} // namespace

int main(int count, char** arguments) {
    const auto repetitions =
        static_cast<std::size_t>(count > 1 ? std::max(1, std::atoi(arguments[1])) : 9);
    std::puts(
        "|              |    fixes |  stays | in order: ns | least | M/s | an hour late: ns | "
        "least | M/s |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|");
    const std::string wanted = count > 2 ? arguments[2] : "";
    const auto reportIf = [&](const char* name, const auto& make) {
        if (wanted.empty() || wanted == name) {
            report(name, make(), repetitions);
        }
    };
    reportIf("taxis", [] { return readTracks("vehicles_sf_cabs"); });
    reportIf("people", [] { return readTracks("people_geolife"); });
    reportIf("every second", everySecond);
    return 0;
}
