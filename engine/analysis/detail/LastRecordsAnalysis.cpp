#include "engine/analysis/detail/LastRecordsAnalysis.h"

#include "engine/analysis/detail/processors.h"
#include "engine/analysis/detail/recordOf.h"
#include "engine/analysis/detail/visitors.h"

#include "qorvel/base/FlatTable.h"
#include "qorvel/base/hashing.h"

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
    std::uint64_t row = 0;   ///< that brought the first report
    std::uint32_t place = 0; ///< among all of the shard, by their first reports

private:
    std::uint32_t specPrimaryKeyId_ = 0;
    bool isUsed_ = false;
};

template <class Result>
class LastRecordsShard : public Shard {
public:
    explicit LastRecordsShard(const Tables& tables)
        : processor_(makeProcessor(tables, FigureProcessor::Wanted::every)) {}

    void take(const Observation& observation, Found&) override {
        FigureVisitor visitor([&](const Figures& figures) { keep(figures, observation.row); });
        processor_.process(observation.event, visitor);
    }

    void collect(std::int64_t time, LastResults&) override { processor_.gc(time); }

    void finish(LastResults& results) override {
        std::vector<const KeptRecord<Result>*> inOrder(records_.size());
        records_.forEach([&](const KeptRecord<Result>& kept) { inOrder[kept.place] = &kept; });
        for (const KeptRecord<Result>* kept : inOrder) {
            results.add({static_cast<std::int64_t>(kept->row), kept->place}, kept->result);
        }
    }

private:
    void keep(const Figures& figures, std::uint64_t row) {
        const std::uint32_t known = records_.size();
        const SpaceTimeBox& box = figures.stb;
        KeptRecord<Result>& kept =
            records_.findOrAdd({figures.eid, figures.spec.primaryKeyId, box, box.start, box.end});
        if (records_.size() > known) {
            kept.row = row;
            kept.place = known;
        }
        kept.result = recordOf<Result>(figures);
    }

    FigureProcessor processor_;
    qorvel_detail::FlatTable<KeptRecord<Result>> records_;
};

} // namespace

template <class Result>
ResultTable LastRecordsAnalysis<Result>::makeTable(std::shared_ptr<const EntityNames> names) const {
    return Result::layout().makeTable(std::move(names));
}

template <class Result>
std::unique_ptr<Shard> LastRecordsAnalysis<Result>::makeShard() const {
    return std::make_unique<LastRecordsShard<Result>>(tables_);
}

template class LastRecordsAnalysis<PresenceResult>;
template class LastRecordsAnalysis<HangoutResult>;

} // namespace qorvel_engine::detail
