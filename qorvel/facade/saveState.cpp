#include "qorvel/facade/saveState.h"

#include "qorvel/base/StateFrame.h"
#include "qorvel/base/StateReader.h"
#include "qorvel/base/StateWriter.h"
#include "qorvel/base/underLock.h"
#include "qorvel/facade/QorvelMotionProcessorAPI.h"
#include "qorvel/facade/loadState.h"
#include "qorvel/hangout/detail/HangoutDetectorState.h"
#include "qorvel/model/EIDName.h"
#include "qorvel/model/detail/check.h"
#include "qorvel/model/detail/registeredNames.h"
#include "qorvel/processor/detail/MotionProcessorState.h"
#include "qorvel/processor/detail/ProcessorSnapshot.h"
#include "qorvel/processor/detail/StateKeys.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

QORVEL_BEGIN_NAMESPACE

namespace {

using qorvel_detail::Configuration;
using qorvel_detail::DetectorState;
using qorvel_detail::ProcessorState;
using qorvel_detail::StateFault;
using qorvel_detail::StateFrame;
using qorvel_detail::StateNeed;
using qorvel_detail::StateReader;
using qorvel_detail::stateTag;
using qorvel_detail::StateWriter;

constexpr std::uint32_t kProcessor = stateTag("PROC");
constexpr std::uint32_t kDetector = stateTag("HANG");
constexpr std::uint32_t kEntities = stateTag("ENTS");
constexpr std::uint32_t kDetectors = stateTag("DETE");

/// What has a number by the host or by a name.
enum class Form : std::uint8_t { number = 0, name = 1 };

void saveName(const std::string* name, std::uint64_t number, StateWriter& out) {
    out.u8(static_cast<std::uint8_t>(name == nullptr ? Form::number : Form::name));
    if (name == nullptr) {
        out.u64(number);
    } else {
        out.text(*name);
    }
}

std::uint64_t loadEntityName(StateReader& in) {
    if (!in.flag()) {
        return in.u64();
    }
    const std::string name(in.text());
    return in.isGood() ? EIDName::getEIDNameInt(name) : 0;
}

/// By their names, then by the numbers that are none's: numbers given to names are others
/// elsewhere.
void sortByName(std::vector<std::uint64_t>& eids) {
    std::sort(eids.begin(), eids.end(), [](std::uint64_t left, std::uint64_t right) {
        const std::string* const one = qorvel_detail::registeredEntity(left);
        const std::string* const other = qorvel_detail::registeredEntity(right);
        if (one == nullptr || other == nullptr) {
            return one == other ? left < right : one != nullptr;
        }
        return *one < *other;
    });
}

/// Each entity with what `saveOne` writes of it.
template <class SaveOne>
void saveEntities(std::vector<std::uint64_t> eids, StateWriter& out, const SaveOne& saveOne) {
    sortByName(eids);
    out.beginSection(kEntities, StateNeed::critical);
    out.u64(eids.size());
    for (const std::uint64_t eid : eids) {
        saveName(qorvel_detail::registeredEntity(eid), eid, out);
        const std::size_t begin = out.beginLength();
        saveOne(eid);
        out.endLength(begin);
    }
    out.endSection();
}

/// False unless each is there once, and all is read. Names and numbers may be mixed so that two
/// become one.
template <class LoadOne>
bool loadEntities(StateReader in, const LoadOne& loadOne) {
    constexpr std::size_t kLeastSize = 1 + 8 + 8;
    std::vector<std::uint64_t> eids;
    for (std::uint64_t left = in.count(kLeastSize); left > 0 && in.isGood(); --left) {
        eids.push_back(loadEntityName(in));
        StateReader body(in.text());
        if (in.isGood()) {
            loadOne(eids.back(), body);
            in.expect(body.isDone());
        }
    }
    std::sort(eids.begin(), eids.end());
    return in.isDone() && std::adjacent_find(eids.begin(), eids.end()) == eids.end();
}

void saveBox(const SpaceBox& box, StateWriter& out) {
    out.u64(box.getFirst64Bits());
    out.u64(box.getSecond64Bits());
    out.u32(box.getGeoHashBitDepth());
}

void saveRow(const STBAssignmentRow& row, StateWriter& out) {
    const auto numberOf = [](std::int32_t id) { return static_cast<std::uint64_t>(id); };
    saveName(qorvel_detail::registeredPrimaryKey(row.primaryKeyId), numberOf(row.primaryKeyId),
             out);
    saveName(qorvel_detail::registeredSecondaryKey(row.secondaryKeyId),
             numberOf(row.secondaryKeyId), out);
    saveName(qorvel_detail::registeredMaster(row.masterId), numberOf(row.masterId), out);
    out.u64(row.spaceBoxes.size());
    for (const SpaceBox& box : row.spaceBoxes) {
        saveBox(box, out);
    }
    out.u32(row.maxTimeTolerance);
    for (const double value : {row.maxSpaceTolerance, row.latitude, row.longitude, row.radius,
                               row.spaceToleranceFactor, row.timeToleranceFactor}) {
        out.f64(value);
    }
}

void saveMaster(const STBMasterRow* master, StateWriter& out) {
    out.u8(master == nullptr ? 0 : 1);
    if (master != nullptr) {
        out.u32(master->stbSpec.geoHashBitDepth);
        out.u32(master->stbSpec.count);
        out.u32(master->stbSpec.unit);
    }
}

void saveSpec(const STBCompressionSpec& spec, StateWriter& out) {
    saveName(qorvel_detail::registeredPrimaryKey(static_cast<std::int32_t>(spec.primaryKeyId)),
             spec.primaryKeyId, out);
    saveName(qorvel_detail::registeredSecondaryKey(static_cast<std::int32_t>(spec.secondaryKeyId)),
             spec.secondaryKeyId, out);
    saveName(qorvel_detail::registeredMaster(static_cast<std::int32_t>(spec.masterId)),
             spec.masterId, out);
    out.u32(spec.windowMillis);
    out.u32(spec.minCount);
    out.f64(spec.ratio);
}

/// Of all that results hang on, by names: the rows and the specs in their order, each with its
/// master row.
std::uint64_t fingerprintOf(const Configuration& configuration) {
    StateWriter out;
    out.u64(configuration.rowCount());
    for (std::uint32_t number = 0; number < configuration.rowCount(); ++number) {
        const Configuration::Row& row = configuration.row(number);
        saveRow(row.tests.row(), out);
        saveMaster(row.master, out);
    }
    out.u64(configuration.specs().size());
    for (const STBCompressionSpec& spec : configuration.specs()) {
        saveSpec(spec, out);
        saveMaster(configuration.masterRow(spec.masterId), out);
    }
    return qorvel_detail::stateFingerprint(out.bytes());
}

/// The locks of all detectors of a processor. As underLock has it, without a guard.
template <class Work>
void underLocks(const ProcessorState& processor, const Work& work) {
    const auto each = [&processor](const auto& visit) {
        for (std::size_t number = 0; number < processor.detectorNumbers(); ++number) {
            if (const DetectorState* const detector = processor.detector(number)) {
                visit(detector->lock());
            }
        }
    };
    each([](StbSimpleMutex& lock) { lock.lock(); });
    work();
    each([](StbSimpleMutex& lock) { lock.unlock(); });
}

void saveProcessor(const ProcessorState& processor, StateWriter& out) {
    out.begin(kProcessor, fingerprintOf(processor.configuration()));
    out.beginSection(kDetectors, StateNeed::critical);
    out.u64(processor.detectorNumbers());
    for (std::size_t number = 0; number < processor.detectorNumbers(); ++number) {
        out.u8(processor.detector(number) == nullptr ? 0 : 1);
    }
    out.endSection();
    underLocks(processor, [&] {
        qorvel_detail::ProcessorSnapshot snapshot(processor);
        saveEntities(snapshot.entities(), out, [&](std::uint64_t eid) { snapshot.save(eid, out); });
    });
}

/// Of the configuration, and lost ones.
bool loadDetectors(StateReader in, ProcessorState& processor) {
    const std::size_t own = processor.detectorNumbers();
    const std::uint64_t count = in.count(1);
    in.expect(count >= own);
    for (std::size_t number = 0; number < count && in.isGood(); ++number) {
        if (in.flag()) {
            processor.makeDetector(number);
        } else {
            in.expect(number < own);
        }
    }
    return in.isDone();
}

bool loadProcessor(const StateFrame& frame, ProcessorState& processor) {
    const qorvel_detail::StateKeys keys(processor.configuration());
    return loadDetectors(frame.section(kDetectors), processor) &&
           loadEntities(frame.section(kEntities), [&](std::uint64_t eid, StateReader& in) {
               qorvel_detail::loadEntity(processor, keys, eid, in, true);
           });
}

/// The bytes of a state: as many as it says it has, in pieces, so that what it says costs nothing.
std::string readBytes(std::istream& in) {
    constexpr std::uint64_t kPiece = std::uint64_t{1} << 20U;
    std::string bytes;
    const auto readTo = [&](std::uint64_t size) {
        while (bytes.size() < size && in.good()) {
            const std::size_t before = bytes.size();
            bytes.resize(before + static_cast<std::size_t>(std::min(size - before, kPiece)));
            in.read(bytes.data() + before, static_cast<std::streamsize>(bytes.size() - before));
            bytes.resize(before + static_cast<std::size_t>(in.gcount()));
        }
    };
    readTo(qorvel_detail::kStateHeaderSize);
    qorvel_detail::StateHeader header;
    if (header.read(bytes) == StateFault::none) {
        readTo(header.length);
    }
    return bytes;
}

bool report(StateFault fault, std::stringstream& errors) {
    switch (fault) {
    case StateFault::none:
        return true;
    case StateFault::noState:
        return qorvel_detail::check(false, "ERROR_STATE_1,", errors);
    case StateFault::newer:
        return qorvel_detail::check(false, "ERROR_STATE_2,", errors);
    case StateFault::cutShort:
        return qorvel_detail::check(false, "ERROR_STATE_3,", errors);
    case StateFault::otherKind:
        return qorvel_detail::check(false, "ERROR_STATE_5,", errors);
    case StateFault::otherConfiguration:
        return qorvel_detail::check(false, "ERROR_STATE_6,", errors);
    case StateFault::unknownSection:
        return qorvel_detail::check(false, "ERROR_STATE_7,", errors);
    default:
        return qorvel_detail::check(false, "ERROR_STATE_4,", errors);
    }
}

/// The registries have no lock of their own.
template <class Work>
auto underRegistryLock(const Work& work) {
    return qorvel_detail::underLock(*QorvelMotionProcessorAPI::__stbMutex, work);
}

bool write(const std::string& bytes, std::ostream& out) {
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return out.good();
}

} // namespace

/// The one that sees the insides of both.
class QORVEL_NO_EXPORT StateFile {
public:
    static bool save(const MotionProcessor& processor, std::ostream& out) {
        StateWriter state;
        underRegistryLock([&] { saveProcessor(*processor.state_, state); });
        return write(state.finish(), out);
    }

    static bool save(const HangoutDetector& detector, std::ostream& out) {
        StateWriter state;
        const DetectorState& tables = *detector.state_;
        state.begin(kDetector, 0);
        underRegistryLock([&] {
            qorvel_detail::underLock(tables.lock(), [&] {
                std::vector<std::uint64_t> eids;
                tables.addEntities(eids);
                std::sort(eids.begin(), eids.end());
                eids.erase(std::unique(eids.begin(), eids.end()), eids.end());
                saveEntities(std::move(eids), state,
                             [&](std::uint64_t eid) { tables.save(eid, state); });
            });
        });
        return write(state.finish(), out);
    }

    static StateFault load(MotionProcessor& processor, const std::string& bytes) {
        return underRegistryLock([&] {
            const auto& configuration = processor.state_->sharedConfiguration();
            StateFrame frame;
            const StateFault fault = frame.read(bytes, kProcessor, fingerprintOf(*configuration),
                                                {kDetectors, kEntities});
            if (fault != StateFault::none) {
                return fault;
            }
            auto loaded = std::make_unique<MotionProcessor::State>(configuration);
            if (!loadProcessor(frame, *loaded)) {
                return StateFault::damaged;
            }
            processor.state_ = std::move(loaded);
            return StateFault::none;
        });
    }

    static StateFault load(HangoutDetector& detector, const std::string& bytes) {
        return underRegistryLock([&] {
            StateFrame frame;
            const StateFault fault = frame.read(bytes, kDetector, 0, {kEntities});
            if (fault != StateFault::none) {
                return fault;
            }
            DetectorState loaded;
            const auto loadOne = [&](std::uint64_t eid, StateReader& in) { loaded.load(eid, in); };
            if (!loadEntities(frame.section(kEntities), loadOne)) {
                return StateFault::damaged;
            }
            DetectorState& tables = *detector.state_;
            qorvel_detail::underLock(tables.lock(), [&] { tables.takeTables(loaded); });
            return StateFault::none;
        });
    }
};

bool saveState(const MotionProcessor& processor, std::ostream& out) {
    return StateFile::save(processor, out);
}

bool saveState(const HangoutDetector& detector, std::ostream& out) {
    return StateFile::save(detector, out);
}

bool loadState(MotionProcessor& processor, std::istream& in, std::stringstream& errors) {
    return report(StateFile::load(processor, readBytes(in)), errors);
}

bool loadState(HangoutDetector& detector, std::istream& in, std::stringstream& errors) {
    return report(StateFile::load(detector, readBytes(in)), errors);
}

QORVEL_END_NAMESPACE
