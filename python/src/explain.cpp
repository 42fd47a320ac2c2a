#include "src/explain.h"

#include "engine/run/Explainer.h"
#include "engine/run/TrackCheck.h"
#include "src/Attention.h"
#include "src/faults.h"
#include "src/settings.h"

#include <algorithm>
#include <memory>
#include <nanobind/stl/string.h>
#include <optional>
#include <utility>
#include <vector>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using namespace qorvel_engine; // NOLINT(google-build-using-namespace): whose words these are

/// Rows that are looked through between two glances at the clock.
constexpr std::int64_t kRowsAtOnce = 256;

EventOptions eventOptions(const Settings& settings) {
    return {settings.session.defaultTolerance, settings.session.timeTolerance};
}

/// The rows of a table up to one of them.
class Rows {
public:
    Rows(Source& source, std::int64_t number) {
        std::int64_t first = 0;
        while (const std::shared_ptr<const InputBatch> batch = source.next()) {
            Attention::look();
            const std::int64_t size = batch->size();
            batches_.push_back({batch, source.observations().bind(batch->slice(0, size)), first});
            if (number < first + size) {
                row_ = number - first;
                return;
            }
            first += size;
        }
        refuseCall("There is no row " + std::to_string(number) + ": the table has " +
                   std::to_string(first) + ", counted from 0.");
    }

    RowReason reason() const { return last().check(row_); }

    /// Takes the rows of its entity.
    Explanation explain(Explainer& explainer) const {
        Attention attention;
        for (const Part& part : batches_) {
            const bool isLast = &part == &batches_.back();
            const std::int64_t size = isLast ? row_ + 1 : part.rows.size();
            for (std::int64_t row = 0; row < size; ++row) {
                attention();
                if (part.rows.check(row) == RowReason::none && isOfEntity(part.rows, row)) {
                    explainer.take(part.rows, row, static_cast<std::uint64_t>(part.first + row));
                    if (attention.isDue()) { // with many specs each may take long
                        Attention::look();
                    }
                }
            }
        }
        return explainer.explain();
    }

private:
    struct Part {
        std::shared_ptr<const InputBatch> batch; ///< which the rows are read in
        Observations rows;
        std::int64_t first; ///< number of its first row
    };

    const Observations& last() const { return batches_.back().rows; }

    bool isOfEntity(const Observations& rows, std::int64_t row) const {
        return rows.entityKind() == EntityKind::text
                   ? rows.entityText(row) == last().entityText(row_)
                   : rows.entityBits(row) == last().entityBits(row_);
    }

    std::vector<Part> batches_;
    std::int64_t row_ = 0; ///< in the last of them
};

const char* nameOf(RowTest test) {
    switch (test) {
    case RowTest::primaryKey:
        return "primary_key";
    case RowTest::secondaryKey:
        return "secondary_key";
    case RowTest::spaceTolerance:
        return "space_tolerance";
    case RowTest::timeTolerance:
        return "time_tolerance";
    case RowTest::distance:
        return "distance";
    case RowTest::area:
        return "area";
    }
    return "";
}

const char* nameOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::found:
        return "found";
    case Verdict::notTaken:
        return "not taken";
    case Verdict::noCell:
        return "no cell";
    case Verdict::notAskedFor:
        return "not asked for";
    case Verdict::foundBefore:
        return "found before";
    case Verdict::notEnough:
        return "not enough";
    }
    return "";
}

template <class Items, class Make>
nb::tuple tupleOf(const Items& items, const Make& make) {
    nb::list all;
    for (const auto& item : items) {
        all.append(make(item));
    }
    return nb::tuple(all);
}

nb::object boxEnd(std::int64_t time) {
    return isEver(time) ? nb::none() : nb::object(nb::int_(time));
}

nb::tuple boxOf(const qorvel::SpaceTimeBox& box) {
    return nb::make_tuple(box.toASCIIString(), box.getGeoHashBitDepth(), box.start,
                          boxEnd(box.end));
}

nb::tuple judgementOf(const Explanation::Judgement& judgement) {
    nb::list failed;
    for (std::size_t test = 0; test < Explanation::kTests; ++test) {
        if (!judgement.passes[test]) {
            failed.append(nameOf(static_cast<RowTest>(test)));
        }
    }
    return nb::make_tuple(nb::tuple(failed), judgement.distance, tupleOf(judgement.boxes, boxOf));
}

nb::tuple seriesOf(const Explanation::Series& series) {
    return nb::make_tuple(series.cell.toASCIIString(), series.fixes, series.since, series.covered,
                          tupleOf(series.boxes, [](const Explanation::Box& box) {
                              return nb::make_tuple(
                                  box.box.start, boxEnd(box.box.end), box.fixes, box.all,
                                  box.row ? nb::object(nb::int_(*box.row)) : nb::none());
                          }));
}

nb::dict explanationOf(const Explanation& explanation) {
    nb::dict told;
    told["verdict"] = nameOf(explanation.verdict());
    told["results"] = explanation.results;
    told["assignments"] = tupleOf(explanation.assignments, judgementOf);
    told["specs"] = tupleOf(explanation.specs, [](const Explanation::Way& way) {
        return nb::make_tuple(way.isReached, tupleOf(way.series, seriesOf));
    });
    return told;
}

} // namespace

nb::dict explainRow(const std::string& question, const nb::dict& settings, Source& source,
                    std::int64_t number) {
    const Settings read = readSettings(question, settings);
    if (!needsConfiguration(read.analysis.question)) {
        refuseCall("Only boxes, presence and hangouts can be explained.");
    }
    if (number < 0) {
        refuseCall("Rows are counted from 0.");
    }
    std::optional<Explanation> explanation;
    RowReason reason = RowReason::none;
    {
        const nb::gil_scoped_release unlocked;
        Explainer explainer(read.config, processorKindOf(read.analysis.question),
                            eventOptions(read));
        const Rows rows(source, number);
        reason = rows.reason();
        if (reason == RowReason::none) {
            explanation = rows.explain(explainer);
        }
    }
    if (explanation) {
        return explanationOf(*explanation);
    }
    nb::dict told;
    told["verdict"] = "rejected";
    told["reason"] = reasonText(reason);
    return told;
}

nb::dict checkConfiguration(const nb::dict& settings, Source* source) {
    const Settings read = readSettings("boxes", settings);
    std::vector<ConfigFault> faults;
    std::optional<TrackFigures> figures;
    {
        const nb::gil_scoped_release unlocked;
        faults = checkConfig(read.config);
        const bool hasError = std::any_of(faults.begin(), faults.end(),
                                          [](const ConfigFault& fault) { return fault.isError; });
        if (source != nullptr && !hasError) {
            TrackCheck check(read.config, eventOptions(read));
            Attention attention;
            while (const std::shared_ptr<const InputBatch> batch = source->next()) {
                for (std::int64_t from = 0; from < batch->size(); from += kRowsAtOnce) {
                    const std::int64_t rows = std::min(kRowsAtOnce, batch->size() - from);
                    check.take(source->observations().bind(batch->slice(from, rows)));
                    if (attention.isDue()) {
                        Attention::look();
                    }
                }
            }
            figures = check.figures();
            faults.insert(faults.end(), figures->warnings.begin(), figures->warnings.end());
        }
    }
    nb::dict told;
    told["faults"] = tupleOf(faults, [](const ConfigFault& fault) {
        return nb::make_tuple(fault.isError, fault.line, fault.sentence, fault.tags);
    });
    if (figures) {
        told["rows"] = figures->rows;
        told["rejected"] = figures->rejected;
        told["untaken"] = figures->untaken;
        told["usual_gap_ms"] =
            figures->medianGap ? nb::object(nb::int_(*figures->medianGap)) : nb::none();
    }
    return told;
}

} // namespace qorvel_python
