#include "engine/run/detail/sessionState.h"

#include "engine/columns/Fault.h"
#include "engine/run/detail/refuseState.h"

#include "qorvel/base/StateFrame.h"

#include <algorithm>
#include <list>
#include <utility>

namespace qorvel_engine::detail {

namespace {

using qorvel_detail::StateFrame;
using qorvel_detail::StateNeed;
using qorvel_detail::stateTag;

constexpr std::uint32_t kSession = stateTag("SESS");
constexpr std::uint32_t kSomeEntities = stateTag("SOME");

constexpr std::uint32_t kRun = stateTag("RUN_");
constexpr std::uint32_t kEntities = stateTag("ENTS");
constexpr std::uint32_t kShared = stateTag("SHAR");

constexpr std::size_t kLeastEntitySize = 4 * 8;

// ---- Fingerprint ----

void add(const Span& span, StateWriter& out) {
    out.u32(span.count);
    out.text(span.unit);
}

void add(const Config::Master& master, StateWriter& out) {
    out.text(master.name);
    out.u32(master.cellLength);
    add(master.box, out);
}

void add(const Config::Assignment& row, StateWriter& out) {
    for (const std::string* const name : {&row.primaryKey, &row.secondaryKey, &row.master}) {
        out.text(*name);
    }
    for (const double number : {row.maxSpaceTolerance, row.latitude, row.longitude, row.radius,
                                row.spaceFactor, row.timeFactor}) {
        out.f64(number);
    }
    out.u32(row.maxTimeTolerance);
    out.u64(row.geohashes.size());
    for (const std::string& geohash : row.geohashes) {
        out.text(geohash);
    }
}

void add(const Config::Spec& spec, StateWriter& out) {
    for (const std::string* const name : {&spec.primaryKey, &spec.secondaryKey, &spec.master}) {
        out.text(*name);
    }
    add(spec.window, out);
    out.u32(spec.minCount);
    out.f64(spec.ratio);
}

template <class Entries>
void addAll(const Entries& entries, StateWriter& out) {
    out.u64(entries.size());
    for (const auto& entry : entries) {
        add(entry, out);
    }
}

void add(const StayOptions& options, StateWriter& out) {
    out.f64(options.radius);
    out.i64(options.minStay);
    out.i64(options.maxGap);
    out.i64(options.maxBridge);
    out.i64(options.maxAway);
    out.f64(options.maxAccuracy);
    if (options.label) { // and nothing otherwise: such a state could not be saved at first
        out.u8(1);
    }
}

void add(const EncounterOptions& options, StateWriter& out) {
    out.f64(options.within);
    out.i64(options.apart);
    out.i64(options.minDuration);
    out.u8(options.pairs ? 1 : 0);
    out.i64(options.first);
    out.i64(options.last);
    if (options.fixesOnly) { // and nothing otherwise, as for rows of stays
        out.u8(1);
    }
}

// ---- Entities ----

EntityKind loadKind(StateReader& in) {
    const std::uint8_t kind = in.u8();
    in.expect(kind <= static_cast<std::uint8_t>(EntityKind::uint64));
    return in.isGood() ? static_cast<EntityKind>(kind) : EntityKind::text;
}

void loadBody(Pipeline::Shards& shards, std::uint64_t eid, StateReader& in) {
    const std::string_view body = in.text();
    if (!body.empty()) {
        StateReader reader{qorvel_detail::StateReader(body)};
        shards[eid % shards.size()]->load(eid, reader);
        in.expect(reader.isDone());
    }
}

/// As many as are told, each once.
void loadEntities(StateReader& in, Intake& intake, Pipeline::Shards& shards) {
    const std::uint64_t count = in.count(kLeastEntitySize);
    for (std::uint64_t number = 0; number < count && in.isGood(); ++number) {
        in.expect(intake.loadEntity(in) == number);
        loadBody(shards, number, in);
    }
}

using Snapshots = std::vector<std::unique_ptr<ShardSnapshot>>;

Snapshots snapshotsOf(const Pipeline& pipeline) {
    Snapshots snapshots;
    for (std::size_t number = 0; number < pipeline.shardCount(); ++number) {
        snapshots.push_back(pipeline.shard(number).snapshot());
    }
    return snapshots;
}

bool isRemembered(const Snapshots& snapshots, std::uint64_t eid) {
    const auto& snapshot = snapshots[eid % snapshots.size()];
    StateWriter nothing;
    return snapshot != nullptr && snapshot->save(eid, nothing);
}

void saveEntity(const Intake& intake, const Snapshots& snapshots, std::uint64_t eid,
                StateWriter& out) {
    intake.saveEntity(eid, out);
    const std::size_t begin = out.beginLength();
    const auto& snapshot = snapshots[eid % snapshots.size()];
    if (snapshot != nullptr) {
        snapshot->save(eid, out);
    }
    out.endLength(begin);
}

} // namespace

std::uint64_t fingerprintOf(const AnalysisOptions& analysis, const Config& config,
                            const SessionOptions& options) {
    StateWriter out;
    out.u8(static_cast<std::uint8_t>(analysis.question));
    out.f64(options.defaultTolerance);
    out.u32(options.timeTolerance);
    out.i64(options.late.value_or(-1));
    if (needsConfiguration(analysis.question)) {
        out.u8(analysis.lastFigures ? 1 : 0);
        addAll(config.masters, out);
        addAll(config.assignments, out);
        addAll(config.specs(processorKindOf(analysis.question)), out);
    } else if (analysis.question == Question::encounters) {
        add(analysis.encounters, out);
    } else {
        add(analysis.stays, out);
        if (analysis.question == Question::places) {
            out.text(analysis.places.zone.name());
            out.u8(analysis.places.labels ? 1 : 0);
        }
    }
    return qorvel_detail::stateFingerprint(out.bytes());
}

std::string SessionParts::save() const {
    StateWriter out;
    const std::shared_ptr<EntityDictionary>& names = intake_->names();
    out.begin(kSession, fingerprint_);

    out.beginSection(kRun, StateNeed::critical);
    out.u8(names == nullptr ? 0 : 1);
    intake_->save(out);
    const RunFigures figures = counters_.read();
    for (const std::uint64_t figure : {figures.pushed, figures.processed, figures.rejected,
                                       figures.late, figures.outOfOrder, figures.results}) {
        out.u64(figure);
    }
    out.endSection();

    out.beginSection(kEntities, StateNeed::critical);
    const std::uint64_t count = names == nullptr ? 0 : names->size();
    out.u8(static_cast<std::uint8_t>(names == nullptr ? EntityKind::text : names->kind()));
    out.u64(count);
    const Snapshots snapshots = snapshotsOf(pipeline_);
    for (std::uint64_t eid = 0; eid < count; ++eid) {
        saveEntity(*intake_, snapshots, eid, out);
    }
    out.endSection();

    out.beginSection(kShared, StateNeed::critical);
    analysis_.save(out);
    out.endSection();
    return out.finish();
}

/// All is made anew, and takes the place of what there was when nothing can fail any more.
void SessionParts::load(std::string_view bytes) const {
    const StateFrame frame = frameOf(bytes, kSession, fingerprint_, {kRun, kEntities, kShared});
    auto loaded = std::make_unique<Intake>(*intake_);
    StateReader run(frame.section(kRun));
    const bool hasNames = run.flag();
    loaded->load(run);
    RunFigures figures;
    for (std::uint64_t* const figure : {&figures.pushed, &figures.processed, &figures.rejected,
                                        &figures.late, &figures.outOfOrder, &figures.results}) {
        *figure = run.u64();
    }
    expectGood(run.isDone());

    StateReader in(frame.section(kEntities));
    const EntityKind kind = loadKind(in);
    loaded->expect(kind);
    Pipeline::Shards shards = pipeline_.makeShards();
    loadEntities(in, *loaded, shards);
    const std::uint64_t count = loaded->names()->size();
    expectGood(in.isDone() && (hasNames || count == 0));

    StateReader shared(frame.section(kShared));
    analysis_.load(shared, count);
    expectGood(shared.isDone());
    if (hasNames) {
        pipeline_.setNames(loaded->names());
    } else {
        loaded = std::make_unique<Intake>(loaded->withoutEntities());
    }
    pipeline_.setShards(std::move(shards));
    intake_ = std::move(loaded);
    counters_.set(figures);
}

std::string SessionParts::saveEntities(const std::vector<std::uint64_t>& eids) const {
    StateWriter out;
    const std::shared_ptr<EntityDictionary>& names = intake_->names();
    out.begin(kSomeEntities, fingerprint_);
    out.beginSection(kEntities, StateNeed::critical);
    out.u8(static_cast<std::uint8_t>(names == nullptr ? EntityKind::text : names->kind()));
    out.u64(eids.size());
    const Snapshots snapshots = snapshotsOf(pipeline_);
    for (const std::uint64_t eid : eids) {
        saveEntity(*intake_, snapshots, eid, out);
    }
    out.endSection();
    return out.finish();
}

void SessionParts::forgetEntities(const std::vector<std::uint64_t>& eids) const {
    for (std::size_t number = 0; number < pipeline_.shardCount(); ++number) {
        pipeline_.shard(number).forgetEntities(eids);
    }
    for (const std::uint64_t eid : eids) {
        intake_->forgetEntity(eid);
    }
}

std::size_t SessionParts::entitiesRemembered() const {
    const Snapshots snapshots = snapshotsOf(pipeline_);
    const std::uint64_t count = intake_->names() == nullptr ? 0 : intake_->names()->size();
    std::size_t remembered = 0;
    for (std::uint64_t eid = 0; eid < count; ++eid) {
        remembered += isRemembered(snapshots, eid) ? 1U : 0U;
    }
    return remembered;
}

/// Into an empty intake and shards of nobody, to see whether it can be.
void SessionParts::expectForeign(std::string_view bytes) const {
    const StateFrame frame = frameOf(bytes, kSomeEntities, fingerprint_, {kEntities});
    StateReader trial(frame.section(kEntities));
    const EntityKind kind = loadKind(trial);
    expectGood(trial.isGood());
    if (intake_->names() != nullptr) {
        intake_->expect(kind);
    }
    Intake nobodys = intake_->withoutEntities();
    nobodys.expect(kind);
    Pipeline::Shards shards = pipeline_.makeShards();
    loadEntities(trial, nobodys, shards);
    expectGood(trial.isDone());
    expectForeign(*nobodys.names());
}

void SessionParts::give(std::string_view bytes) const {
    const StateFrame frame = frameOf(bytes, kSomeEntities, fingerprint_, {kEntities});
    StateReader in(frame.section(kEntities));
    intake_->expect(loadKind(in));
    pipeline_.setNames(intake_->names());
    for (std::uint64_t left = in.count(kLeastEntitySize); left > 0; --left) {
        const std::uint64_t eid = intake_->loadEntity(in);
        StateReader body{qorvel_detail::StateReader(in.text())};
        if (!body.isDone()) {
            pipeline_.shard(eid % pipeline_.shardCount()).load(eid, body);
        }
    }
}

/// Nothing is remembered of these entities.
void SessionParts::expectForeign(const EntityNames& names) const {
    if (intake_->names() == nullptr) {
        return;
    }
    const Snapshots snapshots = snapshotsOf(pipeline_);
    for (std::uint64_t number = 0; number < names.size(); ++number) {
        const std::optional<std::uint64_t> eid = intake_->names()->find(names, number);
        if (eid && isRemembered(snapshots, *eid)) {
            std::string name;
            names.append(number, name);
            throw Fault(FaultCode::misuse, "The session remembers the entity \"" + name +
                                               "\" already; two memories of one cannot be joined.");
        }
    }
}

} // namespace qorvel_engine::detail
