#include "support.h"

#include <algorithm>
#include <cstddef>
#include <future>
#include <iostream>
#include <vector>

// Hangouts on several threads. The entities are spread over shards, each with a processor of its
// own, so that no processor is ever in two threads; one thread reads and makes the events. The
// result does not depend on the number of shards: whatever concerns one entity happens in one
// shard, in the order of the input.

namespace {

using Api = QorvelMotionProcessorAPI;

using Records = std::list<STBCompressedEvent>;

constexpr std::size_t kBatch = 1000;
constexpr std::int64_t kBoxLength = 60 * kMinute;
/// Events that come later than this behind the newest one may find their past forgotten.
constexpr std::int64_t kLateness = 10 * kMinute;

/// Each shard makes its processor anew. Copies of a processor that has seen events would share
/// its detectors.
MotionProcessor makeProcessor() {
    std::stringstream errors;
    STBMasterRow hours;
    expectSuccess(Api::createSTBMasterRow("hours", 8, 1, "hours", hours, errors), errors);
    STBAssignmentRow phones;
    expectSuccess(Api::createSTBAssignmentRow("ANY", "phone", 100, 0, "hours", {}, 47.37, 8.54,
                                              50e3, 1, 1, phones, errors),
                  errors);
    STBCompressionSpec stay;
    expectSuccess(
        Api::createHangoutSpec("ANY", "phone", "hours", 10, "minutes", 3, 1, stay, errors), errors);
    MotionProcessor processor;
    expectSuccess(
        Api::createMotionProcessorForHangouts({hours}, {phones}, {stay}, processor, errors),
        errors);
    return processor;
}

/// Numbers of names are dense, but a host's own often share their low bits: mixed before divided.
std::size_t shardOf(std::uint64_t eid, std::size_t shards) {
    return static_cast<std::size_t>((eid * 0x9E3779B97F4A7C15U) >> 32U) % shards;
}

/// The work of one thread: its entities' events of the batch. Every event has a place of its own
/// for what it finds, so the threads write side by side and the order of the input is kept.
void process(const std::vector<Event>& batch, std::size_t shard, std::size_t shards,
             MotionProcessor& processor, std::vector<Records>& found) {
    std::stringstream errors;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        if (shardOf(batch[i].eid, shards) == shard) {
            Api::processEventForHangouts(batch[i], processor, found[i], errors);
        }
    }
}

/// The shards and what a host watches of them.
class Pool {
public:
    explicit Pool(std::size_t shards) {
        for (std::size_t shard = 0; shard < shards; ++shard) {
            processors_.push_back(makeProcessor());
        }
    }

    /// What the events find, event by event. The next batch may be made meanwhile: createEvent
    /// takes its lock, and the threads below register nothing.
    std::vector<Records> process(const std::vector<Event>& batch) {
        std::vector<Records> found(batch.size());
        std::vector<std::future<void>> threads;
        for (std::size_t shard = 0; shard < processors_.size(); ++shard) {
            threads.push_back(std::async(std::launch::async, [&, shard] {
                ::process(batch, shard, processors_.size(), processors_[shard], found);
            }));
        }
        for (std::future<void>& thread : threads) {
            thread.get(); // an exception of the library arrives here, on the host's thread
        }
        return found;
    }

    /// Between batches no thread is in a processor, so the caller may be. One time for all shards:
    /// if each went by its own newest event, the number of shards would decide what is forgotten.
    void gc(std::int64_t newest) {
        for (MotionProcessor& processor : processors_) {
            Api::gc(processor, newest - kBoxLength - kLateness);
        }
        std::uint64_t items = 0;
        for (const MotionProcessor& processor : processors_) {
            items += processor.getItemCount(); // walks all entities: once a batch, not an event
        }
        mostItems_ = std::max(mostItems_, items);
    }

    std::uint64_t mostItems() const { return mostItems_; }

    /// What gc never gives back: a host that runs for ever starts a processor anew when this is
    /// more than it can keep.
    std::uint64_t reported() const {
        std::uint64_t sum = 0;
        for (const MotionProcessor& processor : processors_) {
            sum += processor.getRecentHangoutCount();
        }
        return sum;
    }

private:
    std::vector<MotionProcessor> processors_;
    std::uint64_t mostItems_ = 0;
};

/// A day of 100 people: a fix every five minutes, half an hour at one place, then at the next.
std::vector<Event> makeTrack() {
    std::vector<Event> events;
    for (std::int64_t minute = 0; minute < std::int64_t{24} * 60; minute += 5) {
        for (int person = 0; person < 100; ++person) {
            const std::string name = "person " + std::to_string(person);
            const std::int64_t place = (minute + person) / 30;
            events.push_back(eventOf({name.c_str(), 47.30 + 0.001 * person,
                                      8.50 + 0.002 * static_cast<double>(place), 3, minute}));
        }
    }
    return events;
}

/// The records as text. Only here are names asked for, when no thread registers any.
std::string run(const std::vector<Event>& track, Pool& pool) {
    std::ostringstream text;
    std::int64_t newest = 0;
    for (std::size_t begin = 0; begin < track.size(); begin += kBatch) {
        const std::size_t end = std::min(begin + kBatch, track.size());
        const std::vector<Event> batch(track.begin() + static_cast<std::ptrdiff_t>(begin),
                                       track.begin() + static_cast<std::ptrdiff_t>(end));
        for (const Records& records : pool.process(batch)) {
            for (const STBCompressedEvent& hangout : records) {
                text << EIDName::getEIDNameStr(hangout.eid) << " at " << cellOf(hangout.stb) << ", "
                     << clockOf(hangout.firstTime) << '\n';
            }
        }
        for (const Event& event : batch) {
            newest = std::max(newest, event.time);
        }
        pool.gc(newest);
    }
    return text.str();
}

} // namespace

int main() {
    // Rows and specs before the first event: whoever registers the first primary key has number 0,
    // the number that matches every event, and that has to be "ANY".
    Pool alone(1);
    const std::vector<Event> track = makeTrack();
    const std::string expected = run(track, alone);
    std::cout << track.size() << " events, " << alone.reported()
              << " records, the first: " << expected.substr(0, expected.find('\n')) << '\n'
              << "at most " << alone.mostItems() << " items after a gc\n";
    for (const std::size_t shards : {2U, 4U}) {
        Pool pool(shards);
        std::cout << shards << " shards: "
                  << (run(track, pool) == expected ? "the same records in the same order\n"
                                                   : "other records\n");
    }
}
