#include "tools/commands/findings.h"

#include "tools/commands/CellValues.h"
#include "tools/run/LastRecords.h"
#include "tools/setup/makeProcessor.h"

#include <cstdint>
#include <list>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

namespace {

using API = QorvelMotionProcessorAPI;

/// In front of all columns, those of an entity's space-time box.
class BoxValues {
public:
    static std::vector<Column> columns(const std::vector<Column>& others) {
        std::vector<Column> all = {{"entity", ColumnKind::text}};
        CellValues::addColumns(all);
        all.insert(all.end(), {{"box_start", ColumnKind::time}, {"box_end", ColumnKind::boxEnd}});
        all.insert(all.end(), others.begin(), others.end());
        return all;
    }

    explicit BoxValues(const Schema& schema) {
        row_.values.resize(schema.columns.size());
        row_.cells.resize(1);
    }

    /// Sets the values of a box and returns the row, in which those from `others()` on are left.
    ResultRow& set(const std::string& entity, const SpaceTimeBox& box) {
        row_.values[0].text = entity;
        cell_.set(row_.values, 1, box);
        row_.values[kCount - 2].whole = box.start;
        row_.values[kCount - 1].whole = box.end;
        row_.cells.front() = box;
        return row_;
    }

    static constexpr std::size_t kCount = CellValues::kCount + 3;

private:
    CellValues cell_;
    ResultRow row_;
};

class BoxesShard : public Shard {
public:
    BoxesShard(const Tables& library, const Schema& schema)
        : processor_(host::makeProcessor(library)), values_(schema) {}

    void take(const Observation& observation, Found& found) override {
        boxes_.clear();
        API::processEventForSTBs(observation.event, processor_, boxes_, errors_);
        for (const SpaceTimeBox& box : boxes_) {
            ResultRow& row = values_.set(observation.fix.entity, box);
            row.values[BoxValues::kCount].whole = observation.event.time;
            found.add(row);
        }
    }

    void collect(std::int64_t) override {}

private:
    MotionProcessor processor_;
    BoxValues values_;
    std::list<SpaceTimeBox> boxes_;
    std::stringstream errors_;
};

class BoxesAnalysis : public Analysis {
public:
    explicit BoxesAnalysis(const Tables& library) : library_(library) {}

    const Schema& schema() const override { return schema_; }
    std::unique_ptr<Shard> makeShard() const override {
        return std::make_unique<BoxesShard>(library_, schema_);
    }
    std::int64_t lookBack() const override { return -1; }

private:
    const Tables& library_;
    const Schema schema_{"boxes", BoxValues::columns({{"time", ColumnKind::time}})};
};

/// A millisecond earlier; an event at the end of time has wrapped round.
std::int64_t before(std::int64_t time) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(time) - 1);
}

/// The figures of one record that are printed.
struct Finding {
    explicit Finding(const STBCompressedEvent& record)
        : stb(record.stb), totalCount(record.totalCount), beforeCount(record.beforeCount),
          afterCount(record.afterCount), firstTime(record.firstTime),
          lastTime(before(record.endTime)),
          eventCount(static_cast<std::int64_t>(record.eventSequenceNumbers.size())) {}

    static Schema schema(const char* layer) {
        return {layer, BoxValues::columns({{"total", ColumnKind::whole},
                                           {"before", ColumnKind::whole},
                                           {"after", ColumnKind::whole},
                                           {"first_time", ColumnKind::time},
                                           {"last_time", ColumnKind::time},
                                           {"events", ColumnKind::whole}})};
    }

    /// The row belongs to the values.
    const ResultRow& setRow(BoxValues& values, const std::string& entity) const {
        ResultRow& row = values.set(entity, stb);
        std::size_t at = BoxValues::kCount;
        for (const std::int64_t figure :
             {std::int64_t{totalCount}, std::int64_t{beforeCount}, std::int64_t{afterCount},
              firstTime, lastTime, eventCount}) {
            row.values[at++].whole = figure;
        }
        return row;
    }

    SpaceTimeBox stb;
    std::uint32_t totalCount;
    std::uint32_t beforeCount;
    std::uint32_t afterCount;
    std::int64_t firstTime; ///< of the covered fix that arrived first, ms
    std::int64_t lastTime;  ///< of the covered fix that arrived last, ms
    std::int64_t eventCount;
};

class FirstFindingsShard : public Shard {
public:
    FirstFindingsShard(const Tables& library, const Schema& schema)
        : process_(library.kind() == ProcessorKind::hangouts
                       ? API::processEventForHangouts
                       : API::processEventForPresenceCompression),
          processor_(host::makeProcessor(library)), values_(schema) {}

    void take(const Observation& observation, Found& found) override {
        records_.clear();
        process_(observation.event, processor_, records_, errors_);
        for (const STBCompressedEvent& record : records_) {
            found.add(Finding(record).setRow(values_, observation.fix.entity));
        }
    }

    void collect(std::int64_t time) override { API::gc(processor_, time); }

private:
    int (*process_)(const Event&, MotionProcessor&, std::list<STBCompressedEvent>&,
                    std::stringstream&);
    MotionProcessor processor_;
    BoxValues values_;
    std::list<STBCompressedEvent> records_;
    std::stringstream errors_;
};

class LastFindingsShard : public Shard {
public:
    LastFindingsShard(const Tables& library, const Schema& schema)
        : records_(library), values_(schema) {}

    void take(const Observation& observation, Found&) override {
        records_.take(observation.event,
                      [&](const STBCompressedEvent& record, const STBCompressionSpec&) {
                          keep(record, observation.row);
                      });
    }

    void collect(std::int64_t time) override { records_.collect(time); }

    void finish(std::vector<LastResult>& results) override {
        for (std::size_t place = 0; place < findings_.size(); ++place) {
            const Kept& kept = findings_[place];
            results.push_back({static_cast<std::int64_t>(kept.row), place,
                               kept.finding.setRow(values_, EIDName::getEIDNameStr(kept.eid))});
        }
    }

private:
    struct Kept {
        std::uint64_t eid;
        std::uint64_t row; ///< that brought the first report
        Finding finding;
    };

    void keep(const STBCompressedEvent& record, std::uint64_t row) {
        const Finding finding(record);
        const auto [entry, isNew] = places_.try_emplace(RecordKey(record), findings_.size());
        if (isNew) {
            findings_.push_back({record.eid, row, finding});
        } else {
            findings_[entry->second].finding = finding;
        }
    }

    LastRecords records_;
    BoxValues values_;
    std::vector<Kept> findings_; ///< in the order of their first reports
    std::unordered_map<RecordKey, std::size_t, RecordKeyHash> places_; ///< index into findings_
};

template <typename ShardType>
class FindingsAnalysis : public Analysis {
public:
    explicit FindingsAnalysis(const Tables& library)
        : library_(library),
          schema_(Finding::schema(library.kind() == ProcessorKind::hangouts ? "hangouts"
                                                                            : "presence")) {}

    const Schema& schema() const override { return schema_; }
    std::unique_ptr<Shard> makeShard() const override {
        return std::make_unique<ShardType>(library_, schema_);
    }
    std::int64_t lookBack() const override { return library_.lookBack(); }

private:
    const Tables& library_;
    const Schema schema_;
};

} // namespace

std::unique_ptr<Analysis> makeBoxesAnalysis(const Tables& library) {
    return std::make_unique<BoxesAnalysis>(library);
}

std::unique_ptr<Analysis> makeFirstFindings(const Tables& library) {
    return std::make_unique<FindingsAnalysis<FirstFindingsShard>>(library);
}

std::unique_ptr<Analysis> makeLastFindings(const Tables& library) {
    return std::make_unique<FindingsAnalysis<LastFindingsShard>>(library);
}

} // namespace host
