#include "engine/analysis/detail/LastRecordsAnalysis.h"

#include "engine/analysis/detail/recordOf.h"
#include "engine/analysis/detail/state.h"
#include "engine/analysis/detail/visitors.h"

#include "qorvel/base/FlatTable.h"
#include "qorvel/base/hashing.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

using qorvel_port::FigureProcessor;
using qorvel_port::Figures;

/// What makes a record a repeat of another: it is of the same entity, spec key, cell and time box.
struct RecordKey {
    std::uint64_t entity;
    std::uint32_t specPrimaryKeyId;
    SpaceBox cell;
    std::int64_t boxStart;
    std::int64_t boxEnd;
};

/// A record, in the table of all.
template <class Result>
class KeptRecord {
public:
    using Key = RecordKey;

    bool isUsed() const { return isUsed_; }
    RecordKey key() const {
        return {result.entity, specPrimaryKeyId_, result.cell, result.boxStart, result.boxEnd};
    }
    bool holds(const RecordKey& key) const {
        return result.entity == key.entity && result.boxStart == key.boxStart &&
               result.boxEnd == key.boxEnd && specPrimaryKeyId_ == key.specPrimaryKeyId &&
               result.cell == key.cell;
    }
    void occupy(const RecordKey& key) {
        result.entity = key.entity;
        result.cell = key.cell;
        result.boxStart = key.boxStart;
        result.boxEnd = key.boxEnd;
        specPrimaryKeyId_ = key.specPrimaryKeyId;
        isUsed_ = true;
    }
    static std::uint64_t hash(const RecordKey& key) {
        std::uint64_t hash = qorvel_detail::combine(key.cell.hashCode(), key.entity);
        hash = qorvel_detail::combine(hash, static_cast<std::uint64_t>(key.boxStart));
        return qorvel_detail::combine(hash, static_cast<std::uint64_t>(key.boxEnd) ^
                                                key.specPrimaryKeyId);
    }

    Result result;
    std::uint64_t row = 0;        ///< that brought the first report
    std::uint64_t place = 0;      ///< among all of the shard, by their first reports
    std::int64_t isFinalFrom = 0; ///< ms: rows from then on change nothing

private:
    std::uint32_t specPrimaryKeyId_ = 0;
    bool isUsed_ = false;
};

/// Keys of specs by their places in the tables: their numbers are others in another process.
class SpecPlaces {
public:
    explicit SpecPlaces(const Tables& tables) : specs_(tables.specs()) {}

    void save(std::uint32_t key, StateWriter& out) const {
        const auto found = std::find_if(specs_.begin(), specs_.end(), [key](const auto& spec) {
            return spec.primaryKeyId == key;
        });
        out.u32(static_cast<std::uint32_t>(std::distance(specs_.begin(), found)));
    }

    std::uint32_t load(StateReader& in) const {
        const std::uint32_t place = in.u32();
        in.expect(place < specs_.size());
        return in.isGood() ? std::next(specs_.begin(), place)->primaryKeyId : 0;
    }

private:
    const std::list<STBCompressionSpec>& specs_;
};

/// When a record can be brought: its box ends or begins at the boundary of the event that brings
/// it, which lies in its own box or, up to its end, in the next one.
class LastBrought {
public:
    explicit LastBrought(const Tables& tables) {
        for (const STBCompressionSpec& spec : tables.specs()) {
            boxes_[spec.primaryKeyId].push_back(tables.masterOf(spec).stbSpec);
        }
    }

    /// All events that bring it lie before this time, ms; the latest there is for a box without a
    /// next one.
    std::int64_t before(const RecordKey& key) const {
        std::int64_t latest = 0;
        for (const TimeBoxSpec& spec : boxes_.at(key.specPrimaryKeyId)) {
            const std::int64_t nextEnd = spec.getTimeBoxEnd(key.boxEnd);
            const bool hasNext = key.boxStart < key.boxEnd && key.boxEnd < nextEnd;
            latest = std::max(latest, hasNext ? nextEnd : std::numeric_limits<std::int64_t>::max());
        }
        return latest;
    }

private:
    std::unordered_map<std::uint32_t, std::vector<TimeBoxSpec>> boxes_; ///< by key
};

template <class Result>
void saveRecord(const KeptRecord<Result>& kept, const SpecPlaces& specs, StateWriter& out) {
    const Result& result = kept.result;
    specs.save(kept.key().specPrimaryKeyId, out);
    saveBox(result.cell, out);
    out.i64(result.boxStart);
    out.i64(result.boxEnd);
    out.u32(result.total);
    out.u32(result.before);
    out.u32(result.after);
    out.i64(result.firstTime);
    out.i64(result.lastTime);
    out.i64(result.events);
    out.u64(kept.row);
}

constexpr std::size_t kRecordSize = 4 + 20 + 16 + 12 + 24 + 8;

/// The processor, and the records of each entity in the order of their first reports.
template <class Result>
class LastRecordsSnapshot : public ShardSnapshot {
public:
    using Kept = KeptRecord<Result>;

    LastRecordsSnapshot(const FigureProcessor& processor,
                        const qorvel_detail::FlatTable<Kept>& records, const SpecPlaces& specs)
        : processor_(processor), specs_(specs) {
        records.forEach([this](const Kept& kept) { sorted_.push_back(&kept); });
        std::sort(sorted_.begin(), sorted_.end(), [](const Kept* left, const Kept* right) {
            return std::tie(left->result.entity, left->place) <
                   std::tie(right->result.entity, right->place);
        });
    }

    bool save(std::uint64_t eid, StateWriter& out) const override {
        const auto begin =
            std::partition_point(sorted_.begin(), sorted_.end(),
                                 [eid](const Kept* kept) { return kept->result.entity < eid; });
        const auto end = std::partition_point(
            begin, sorted_.end(), [eid](const Kept* kept) { return kept->result.entity == eid; });
        const std::size_t start = out.size();
        out.u8(1);
        if (!processor_.save(eid, out)) { // its series may be forgotten
            out.truncate(start);
            if (begin == end) {
                return false;
            }
            out.u8(0);
        }
        out.u64(static_cast<std::uint64_t>(end - begin));
        std::for_each(begin, end, [&](const Kept* kept) { saveRecord(*kept, specs_, out); });
        return true;
    }

private:
    FigureProcessor::Snapshot processor_;
    SpecPlaces specs_;
    std::vector<const Kept*> sorted_;
};

template <class Result>
class LastRecordsShard : public Shard {
public:
    LastRecordsShard(const Tables& tables, const FigureProcessor& like)
        : processor_(like.another()), specs_(tables), lastBrought_(tables),
          lookBack_(tables.lookBack()) {}

    void take(const Observation& observation, Found&) override {
        FigureVisitor visitor([&](const Figures& figures) { keep(figures, observation.row); });
        processor_.process(observation.event, visitor);
    }

    void collect(std::int64_t time, LastResults& results) override {
        processor_.gc(time);
        handOver(time + lookBack_, results);
    }

    std::unique_ptr<ShardSnapshot> snapshot() const override {
        return std::make_unique<LastRecordsSnapshot<Result>>(processor_, records_, specs_);
    }

    void load(std::uint64_t eid, StateReader& in) override {
        if (in.flag()) {
            processor_.load(eid, in);
        }
        for (std::uint64_t left = in.count(kRecordSize); left > 0 && in.isGood(); --left) {
            loadRecord(eid, in);
        }
    }

    void forgetEntities(const std::vector<std::uint64_t>& eids) override {
        processor_.forgetEntities(eids);
        records_.eraseIf([&eids](const KeptRecord<Result>& kept) {
            return std::binary_search(eids.begin(), eids.end(), kept.result.entity);
        });
    }

    void finish(LastResults& results) override {
        handOver(std::numeric_limits<std::int64_t>::max(), results);
    }

private:
    /// Those that no row from that time on can change. By the times from which they are final, so
    /// that the order does not hang on when that is looked at.
    void handOver(std::int64_t oldestToCome, LastResults& results) {
        std::vector<const KeptRecord<Result>*> inOrder;
        records_.forEach([&](const KeptRecord<Result>& kept) {
            if (kept.isFinalFrom <= oldestToCome) {
                inOrder.push_back(&kept);
            }
        });
        const auto order = [](const KeptRecord<Result>* kept) {
            return std::tuple(kept->isFinalFrom, kept->row, kept->place);
        };
        std::sort(inOrder.begin(), inOrder.end(),
                  [&](const auto* left, const auto* right) { return order(left) < order(right); });
        for (const KeptRecord<Result>* kept : inOrder) {
            results.add({kept->isFinalFrom, kept->row}, kept->result);
        }
        records_.eraseIf([oldestToCome](const KeptRecord<Result>& kept) {
            return kept.isFinalFrom <= oldestToCome;
        });
    }

    void loadRecord(std::uint64_t eid, StateReader& in) {
        const std::uint32_t specKey = specs_.load(in);
        Result result;
        result.entity = eid;
        result.cell = loadBox(in);
        result.boxStart = in.i64();
        result.boxEnd = in.i64();
        result.total = in.u32();
        result.before = in.u32();
        result.after = in.u32();
        result.firstTime = in.i64();
        result.lastTime = in.i64();
        result.events = in.i64();
        const std::uint64_t row = in.u64();
        if (!in.isGood()) {
            return;
        }
        const std::uint32_t known = records_.size();
        KeptRecord<Result>& kept =
            records_.findOrAdd({eid, specKey, result.cell, result.boxStart, result.boxEnd});
        in.expect(records_.size() > known);
        if (in.isGood()) {
            begin(kept, row);
            kept.result = result;
        }
    }

    void keep(const Figures& figures, std::uint64_t row) {
        const std::uint32_t known = records_.size();
        const SpaceTimeBox& box = figures.stb;
        KeptRecord<Result>& kept =
            records_.findOrAdd({figures.eid, figures.spec.primaryKeyId, box, box.start, box.end});
        if (records_.size() > known) {
            begin(kept, row);
        }
        kept.result = recordOf<Result>(figures);
    }

    void begin(KeptRecord<Result>& kept, std::uint64_t row) {
        kept.row = row;
        kept.place = places_++;
        kept.isFinalFrom = lastBrought_.before(kept.key());
    }

    FigureProcessor processor_;
    SpecPlaces specs_;
    LastBrought lastBrought_;
    std::int64_t lookBack_;
    qorvel_detail::FlatTable<KeptRecord<Result>> records_;
    std::uint64_t places_ = 0; ///< that were given to records
};

} // namespace

template <class Result>
ResultTable LastRecordsAnalysis<Result>::makeTable(std::shared_ptr<const EntityNames> names) const {
    return Result::layout().makeTable(std::move(names));
}

template <class Result>
std::unique_ptr<Shard> LastRecordsAnalysis<Result>::makeShard() const {
    return std::make_unique<LastRecordsShard<Result>>(tables_, processor_);
}

template class LastRecordsAnalysis<PresenceResult>;
template class LastRecordsAnalysis<HangoutResult>;

} // namespace qorvel_engine::detail
