#ifndef QORVEL_ENGINE_RUN_DETAIL_SESSIONSTATE_H
#define QORVEL_ENGINE_RUN_DETAIL_SESSIONSTATE_H

#include "engine/analysis/makeAnalysis.h"
#include "engine/run/SessionOptions.h"
#include "engine/run/detail/Counters.h"
#include "engine/run/detail/Intake.h"
#include "engine/run/detail/Pipeline.h"
#include "engine/setup/Config.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qorvel_engine::detail {

/// Of all that results hang on: the question with its options, what of the configuration it uses,
/// and what rows are taken for.
std::uint64_t fingerprintOf(const AnalysisOptions& analysis, const Config& config,
                            const SessionOptions& options);

/// The parts of a session that states are made of, while nothing is under way. The faults of bytes
/// are `badState`, thrown by load() before anything has changed.
class SessionParts {
public:
    SessionParts(std::uint64_t fingerprint, Analysis& analysis, std::unique_ptr<Intake>& intake,
                 Pipeline& pipeline, Counters& counters)
        : fingerprint_(fingerprint), analysis_(analysis), intake_(intake), pipeline_(pipeline),
          counters_(counters) {}

    std::string save() const;
    /// In a session that has taken no row.
    void load(std::string_view bytes) const;

    /// Of these entities, which ascend.
    std::string saveEntities(const std::vector<std::uint64_t>& eids) const;
    void forgetEntities(const std::vector<std::uint64_t>& eids) const;
    /// Of how many anything is remembered.
    std::size_t entitiesRemembered() const;
    /// Changes nothing; throws unless the bytes can be given, also the Fault `misuse` where an
    /// entity is remembered already, or where entities are called otherwise.
    void expectForeign(std::string_view bytes) const;
    /// Takes them in, after that.
    void give(std::string_view bytes) const;

private:
    void expectForeign(const EntityNames& names) const;

    std::uint64_t fingerprint_;
    Analysis& analysis_;
    std::unique_ptr<Intake>& intake_;
    Pipeline& pipeline_;
    Counters& counters_;
};

} // namespace qorvel_engine::detail

#endif
