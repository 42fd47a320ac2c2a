// A host that runs for a year: 200 million reports of the sample world's people, vans and ships go
// through hangouts and presence, with what comes late, and gc every hour. At every 10 million one
// row tells how fast it goes and what is in memory. Then as many through sessions that forget what
// they reported: their memory has to stay flat.
//
//   soak [MILLIONS]

#include "bench/Report.h"
#include "bench/measure.h"
#include "engine/run/Session.h"
#include "testing/world/World.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <list>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

using Api = QorvelMotionProcessorAPI;

constexpr std::int64_t kHour = 3600000;
constexpr std::int64_t kWeek = 168 * kHour;
constexpr std::int64_t kLateness = 3 * kHour; ///< nothing in the sample world comes later
constexpr std::size_t kMark = 10000000;       ///< events from row to row

/// What one more record costs at most that is remembered as reported: the table that remembers it
/// doubles when it is nearly full.
constexpr double kBytesPerReport = 200.0;
/// How much the second half may be above the first: the marks fall on other hours of the day.
constexpr double kMostGrowth = 1.25;

double residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t whole = 0;
    std::size_t resident = 0;
    file >> whole >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void expectSuccess(int code, const std::stringstream& errors) {
    if (code != 0) {
        throw std::runtime_error("invalid: " + errors.str());
    }
}

/// A spec on day boxes for every device, wherever it is.
MotionProcessor makeProcessor(const std::string& name, std::uint32_t windowMinutes) {
    std::stringstream errors;
    std::list<STBMasterRow> masters(1);
    std::list<STBAssignmentRow> rows(1);
    std::list<STBCompressionSpec> specs(1);
    MotionProcessor processor;
    expectSuccess(Api::createSTBMasterRow(name, 7, 1, "days", masters.front(), errors), errors);
    expectSuccess(Api::createSTBAssignmentRow("ANY", "device", 150.0, 0, name, {}, 0.0, 0.0, 2.1e7,
                                              1.0, 1.0, rows.front(), errors),
                  errors);
    expectSuccess(Api::createHangoutSpec("ANY", "device", name, windowMinutes, "minutes", 5, 0.5,
                                         specs.front(), errors),
                  errors);
    expectSuccess(Api::createMotionProcessorForHangouts(masters, rows, specs, processor, errors),
                  errors);
    return processor;
}

/// What is in memory, and how fast the events since the last mark were.
struct Mark {
    double eventsPerSecond = 0.0;
    double resident = 0.0; ///< bytes
    std::uint64_t entities = 0;
    std::uint64_t cells = 0;
    std::uint64_t items = 0;
    std::uint64_t reported = 0;
};

class Host {
public:
    void take(const world::World& world, const world::Fix& fix, std::int64_t shift) {
        Event event;
        Api::createEvent("device", world.entities[fix.entity], "device", fix.lat, fix.lon,
                         fix.accuracyM, fix.timeMs + shift, 0, event, errors_);
        std::list<STBCompressedEvent> records;
        Api::processEventForHangouts(event, hangouts_, records, errors_);
        std::list<STBCompressedEvent> more;
        Api::processEventForPresenceCompression(event, presence_, more, errors_);
        newest_ = std::max(newest_, event.time);
        if (newest_ >= nextGc_) {
            Api::gc(hangouts_, newest_ - kLateness - 24 * kHour); // a time box is looked back on
            Api::gc(presence_, newest_ - kLateness - kHour);      // the window is
            nextGc_ = newest_ + kHour;
        }
    }

    Mark mark() const {
        Mark mark;
        mark.resident = residentBytes();
        for (const MotionProcessor* processor : {&hangouts_, &presence_}) {
            mark.entities += processor->getEntityCount();
            mark.cells += processor->getCellCount();
            mark.items += processor->getItemCount();
            mark.reported += processor->getRecentHangoutCount();
        }
        return mark;
    }

private:
    MotionProcessor hangouts_ = makeProcessor("hangouts", 20);
    MotionProcessor presence_ = makeProcessor("presence", 60);
    std::stringstream errors_;
    std::int64_t newest_ = 0;
    std::int64_t nextGc_ = 0;
};

/// The same questions in sessions.
class SessionHost {
public:
    void take(const world::World& world, const world::Fix& fix, std::int64_t shift) {
        names_.push_back(world.entities[fix.entity]);
        latitudes_.push_back(fix.lat);
        longitudes_.push_back(fix.lon);
        accuracies_.push_back(fix.accuracyM);
        times_.push_back(fix.timeMs + shift);
        if (times_.size() == kBatch) {
            push();
        }
    }

    Mark mark() const {
        Mark mark;
        mark.resident = residentBytes();
        mark.reported = results_;
        return mark;
    }

private:
    static constexpr std::size_t kBatch = 4096;

    static std::unique_ptr<qorvel_engine::Session> open(qorvel_engine::Question question,
                                                        std::uint32_t windowMinutes) {
        qorvel_engine::Config config;
        config.masters = {{"town", 7, {1, "days"}, 0}};
        config.assignments.emplace_back().master = "town";
        config.assignments.back().maxSpaceTolerance = 150.0;
        auto& specs =
            question == qorvel_engine::Question::presence ? config.presence : config.hangouts;
        qorvel_engine::Config::Spec& spec = specs.emplace_back();
        spec.master = "town";
        spec.window = {windowMinutes, "minutes"};
        spec.ratio = 0.5;
        qorvel_engine::AnalysisOptions asked;
        asked.question = question;
        qorvel_engine::SessionOptions options;
        options.late = kLateness;
        options.forgetsReported = true;
        return std::make_unique<qorvel_engine::Session>(asked, config, options);
    }

    void push() {
        qorvel_engine::ObservationColumns columns;
        columns.size = static_cast<std::int64_t>(times_.size());
        columns.entityText = qorvel_engine::TextColumn(qorvel_engine::TextValues(names_.data()));
        columns.latitude = qorvel_engine::RealValues(latitudes_.data());
        columns.longitude = qorvel_engine::RealValues(longitudes_.data());
        columns.accuracy = qorvel_engine::RealValues(accuracies_.data());
        columns.time = qorvel_engine::TimeValues(times_.data());
        for (const auto& session : sessions_) {
            session->push(qorvel_engine::Observations(columns));
            session->flush();
            while (const auto results = session->take()) {
                results_ += static_cast<std::uint64_t>(results->size);
            }
        }
        names_.clear();
        latitudes_.clear();
        longitudes_.clear();
        accuracies_.clear();
        times_.clear();
    }

    std::unique_ptr<qorvel_engine::Session> sessions_[2] = {
        open(qorvel_engine::Question::hangouts, 20), open(qorvel_engine::Question::presence, 60)};
    std::vector<std::string_view> names_;
    std::vector<double> latitudes_;
    std::vector<double> longitudes_;
    std::vector<double> accuracies_;
    std::vector<std::int64_t> times_;
    std::uint64_t results_ = 0;
};

/// Two weeks of the same entities in different towns, by turns and ever later.
class Years {
public:
    Years() {
        for (const std::uint64_t seed : {1U, 2U}) {
            worlds_.push_back(world::makeWorld({500, 7, seed}));
        }
    }

    template <class AnyHost>
    void next(AnyHost& host) {
        const world::World& world = worlds_[week_ % worlds_.size()];
        host.take(world, world.fixes[fix_], static_cast<std::int64_t>(week_) * kWeek);
        if (++fix_ == world.fixes.size()) {
            fix_ = 0;
            ++week_;
        }
    }

private:
    std::vector<world::World> worlds_;
    std::size_t week_ = 0;
    std::size_t fix_ = 0;
};

template <class AnyHost>
Mark runToNextMark(Years& years, AnyHost& host) {
    const double start = measure::threadTime();
    for (std::size_t i = 0; i < kMark; ++i) {
        years.next(host);
    }
    const double nanoseconds = measure::threadTime() - start;
    Mark mark = host.mark();
    mark.eventsPerSecond = static_cast<double>(kMark) * 1e9 / nanoseconds;
    return mark;
}

std::string megabytes(double bytes) {
    return number(bytes / 1e6);
}

void printRow(std::size_t number, const Mark& mark, const Mark& first) {
    const auto gained = static_cast<double>(mark.reported - first.reported);
    const double grown = mark.resident - first.resident;
    std::cout << "| " << number * kMark / 1000000 << " | " << wholeNumber(mark.eventsPerSecond)
              << " | " << megabytes(mark.resident) << " | " << mark.entities << " | " << mark.cells
              << " | " << wholeNumber(static_cast<double>(mark.items)) << " | "
              << wholeNumber(static_cast<double>(mark.reported)) << " | "
              << (gained > 0 ? wholeNumber(grown / gained) : "") << " |" << std::endl;
}

/// Is the memory explained, and is the second half no slower than the first?
void judge(const std::vector<Mark>& marks, Report& report) {
    const Mark& first = marks.front();
    const Mark& last = marks.back();
    const std::size_t half = marks.size() / 2;
    double items[2] = {};
    double slowness[2] = {};
    for (std::size_t i = 0; i < 2 * half; ++i) {
        items[i / half] = std::max(items[i / half], static_cast<double>(marks[i].items));
        slowness[i / half] += 1 / marks[i].eventsPerSecond;
    }
    const double bytes =
        (last.resident - first.resident) / static_cast<double>(last.reported - first.reported);
    const double itemRatio = items[1] / items[0];
    const double timeRatio = slowness[1] / slowness[0];
    Report::table({"what", "value", "goal", ""},
                  {{"bytes grown for each record reported", number(bytes), "at most 200",
                    report.judge(bytes <= kBytesPerReport)},
                   {"most items, second half to first", times(itemRatio), "at most 1.25x",
                    report.judge(itemRatio <= kMostGrowth)},
                   {"time, second half to first", times(timeRatio), "at most 1.25x",
                    report.judge(timeRatio <= kMostGrowth)}});
    if (bytes > kBytesPerReport || itemRatio > kMostGrowth) {
        report.fail("memory grows that nothing explains");
    }
}

void soakSessions(std::size_t rows, Report& report) {
    Report::heading("Soak of sessions that forget what they reported");
    std::cout << "| million events | events/s | MB resident, without the world | reported |\n"
                 "|---:|---:|---:|---:|\n";
    Years years;
    const double before = residentBytes();
    SessionHost host;
    double most[2] = {};
    for (std::size_t i = 0; i < rows; ++i) {
        const Mark mark = runToNextMark(years, host);
        most[2 * i / rows] = std::max(most[2 * i / rows], mark.resident - before);
        std::cout << "| " << (i + 1) * kMark / 1000000 << " | " << wholeNumber(mark.eventsPerSecond)
                  << " | " << megabytes(mark.resident - before) << " | "
                  << wholeNumber(static_cast<double>(mark.reported)) << " |" << std::endl;
    }
    const double growth = most[1] / most[0];
    Report::table({"what", "value", "goal", ""},
                  {{"most resident memory, second half to first", times(growth), "at most 1.25x",
                    report.judge(growth <= kMostGrowth)}});
    if (growth > kMostGrowth) {
        report.fail("memory of sessions grows");
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::size_t millions = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 200;
    const std::size_t rows = std::max<std::size_t>(millions * 1000000 / kMark, 2);
    Report report;
    soakSessions(rows, report); // first, while the heap is its own
    Report::heading("Soak");
    Years years;
    const double before = residentBytes();
    std::vector<Mark> marks;
    {
        Host host;
        std::cout << "| million events | events/s | MB resident | entities | cells | items | "
                     "reported | bytes grown a report |\n"
                     "|---:|---:|---:|---:|---:|---:|---:|---:|\n";
        while (marks.size() < rows) {
            marks.push_back(runToNextMark(years, host));
            printRow(marks.size(), marks.back(), marks.front());
        }
    }
    Report::note("Resident before the first event, the sample world alone: " + megabytes(before) +
                 " MB; after the processors are gone: " + megabytes(residentBytes()) + " MB.");
    judge(marks, report);
    return report.finish();
}
