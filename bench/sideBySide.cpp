#include "bench/sideBySide.h"

#include "bench/sides.h"
#include "testing/model/compare.h"

namespace sides {

namespace {

constexpr std::size_t kPieces = 2; // each long enough for caches to be warm in most of it

/// One side's way through a scenario.
template <class Side>
class Timed {
public:
    explicit Timed(const Scenario& scenario) : scenario_(scenario), run_(scenario) {}

    void feed(std::size_t begin, std::size_t end) {
        const double start = measure::threadTime();
        results_ += run_.feedPart(begin, end);
        time_ += measure::threadTime() - start;
    }

    double timePerEvent() const { return time_ / static_cast<double>(scenario_.events.size()); }
    std::size_t results() const { return results_; }

private:
    const Scenario& scenario_;
    Run<Side> run_;
    std::size_t results_ = 0;
    double time_ = 0.0;
};

} // namespace

std::string firstDifference(const Scenario& scenario, std::size_t events) {
    Run<Library> library(scenario);
    Run<Model> model(scenario);
    std::size_t results = 0;
    for (std::size_t i = 0; i < events; ++i) {
        Found ofLibrary;
        Found ofModel;
        library.feed(scenario.events[i], ofLibrary);
        model.feed(scenario.events[i], ofModel);
        const std::string difference = model::difference(ofLibrary.boxes, ofModel.boxes) +
                                       model::difference(ofLibrary.records, ofModel.records);
        if (!difference.empty()) {
            return "event " + std::to_string(i) + " differs\n" + difference;
        }
        results += ofLibrary.size();
    }
    return results == 0 ? "nothing was found" : "";
}

Duel duel(const Scenario& scenario, std::size_t repetitions) {
    Duel result{{}, {}, true};
    const std::size_t count = scenario.events.size();
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition) {
        Timed<Model> model(scenario);
        Timed<Library> library(scenario);
        for (std::size_t piece = 0; piece < kPieces; ++piece) {
            const std::size_t begin = count * piece / kPieces;
            const std::size_t end = count * (piece + 1) / kPieces;
            model.feed(begin, end);
            library.feed(begin, end);
        }
        result.model.push_back(model.timePerEvent());
        result.ofLibrary.push_back(library.timePerEvent());
        result.sameCount = result.sameCount && model.results() == library.results();
    }
    return result;
}

} // namespace sides
