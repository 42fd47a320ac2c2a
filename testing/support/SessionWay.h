#ifndef QORVEL_TESTING_SUPPORT_SESSIONWAY_H
#define QORVEL_TESTING_SUPPORT_SESSIONWAY_H

#include "engine/columns/Fault.h"
#include "engine/run/Renderer.h"
#include "engine/run/Session.h"
#include "testing/support/RowStream.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Asked of the streams of RowStream.h.
inline const char* const kConfig = R"(
[[master]]
name = "town"
box = "1 hours"
[[master]]
name = "yard"
cell_length = 7
box = "2 hours"
[[assignment]]
master = "town"
[[assignment]]
master = "yard"
primary_key = "car"
[[assignment]]
master = "yard"
primary_key = "bike"
secondary_key = "night"
[[presence]]
master = "town"
window = "20 minutes"
min_count = 3
ratio = 0
[[hangout]]
master = "town"
window = "20 minutes"
min_count = 3
ratio = 0
[[hangout]]
master = "yard"
primary_key = "car"
window = "30 minutes"
min_count = 2
ratio = 0
)";

inline constexpr std::int64_t kHour = 60 * kStreamMinute;

/// A line each.
class LineRenderer : public qorvel_engine::Renderer {
public:
    void append(std::string& out, const qorvel_engine::ResultTable& table,
                std::size_t row) const override {
        using qorvel_engine::ResultKind;
        const auto& columns = table.schema().columns;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const ResultKind kind = columns[i].kind;
            if (table.isNull(row, i)) {
                out += '-';
            } else if (kind == ResultKind::entity) {
                table.names().append(table.entity(row, i), out);
            } else if (kind == ResultKind::text) {
                out += table.text(row, i);
            } else if (kind == ResultKind::degrees || kind == ResultKind::metres ||
                       kind == ResultKind::hours) {
                out += std::to_string(table.real(row, i));
            } else {
                out += std::to_string(table.whole(row, i));
            }
            out += ' ';
        }
        out += std::to_string(table.cell(row) ? 1 : 0) + '\n';
    }
};

/// How a session is run.
struct Way {
    qorvel_engine::Question question = qorvel_engine::Question::boxes;
    bool lastFigures = false; ///< of encounters: pairs; of stays: their rows
    std::size_t rowsPerPush = 1;
    unsigned threads = 1;
    qorvel_engine::EntityKind kind = qorvel_engine::EntityKind::text;
    std::shared_ptr<const qorvel_engine::Renderer> renderer{};
    std::optional<std::int64_t> late = kHour;
    bool isOldestKnown = false;
    bool forgetsReported = false;
    bool fixesOnly = false; ///< of encounters
};

/// Stays such that the streams have many.
inline qorvel_engine::AnalysisOptions askedIn(const Way& way) {
    return {way.question,
            way.lastFigures,
            {.radius = 5000.0,
             .maxAccuracy = 300.0,
             .label = way.lastFigures && way.question == qorvel_engine::Question::stays},
            {.within = 2000.0, .fixesOnly = way.fixesOnly, .pairs = way.lastFigures}};
}
inline qorvel_engine::SessionOptions optionsOf(const Way& way) {
    qorvel_engine::SessionOptions options;
    options.threads = way.threads;
    options.late = way.late;
    options.renderer = way.renderer;
    options.forgetsReported = way.forgetsReported;
    return options;
}

/// Does what is found say which rows of the session it is of?
inline bool tellsRows(const Way& way) {
    return way.question == qorvel_engine::Question::stays && way.lastFigures;
}

/// All questions.
inline const std::vector<Way>& savedWays() {
    using qorvel_engine::Question;
    static const std::vector<Way> ways = {{Question::boxes},
                                          {Question::presence},
                                          {Question::presence, true},
                                          {Question::hangouts},
                                          {Question::hangouts, true},
                                          {Question::stays},
                                          {Question::encounters},
                                          {Question::places},
                                          {Question::encounters, true},
                                          {Question::stays, true},
                                          {.question = Question::encounters, .fixesOnly = true}};
    return ways;
}

inline std::unique_ptr<qorvel_engine::Session> open(Way way, unsigned threads) {
    way.threads = threads;
    return std::make_unique<qorvel_engine::Session>(
        askedIn(way), qorvel_engine::readConfigText(kConfig), optionsOf(way));
}

/// The code of the fault that is thrown; 0 where none is, -1 of one that says nothing.
template <class Call>
int codeOf(const Call& call) {
    try {
        call();
        return 0;
    } catch (const qorvel_engine::Fault& fault) {
        return *fault.what() == '\0' ? -1 : static_cast<int>(fault.code());
    }
}

#endif
