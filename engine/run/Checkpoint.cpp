#include "engine/run/Checkpoint.h"

#include "engine/run/detail/refuseState.h"

#include "qorvel/base/StateFrame.h"

namespace qorvel_engine {

namespace {

using detail::expectGood;
using qorvel_detail::StateNeed;
using qorvel_detail::StateReader;
using qorvel_detail::stateTag;
using qorvel_detail::StateWriter;

constexpr std::uint32_t kCheckpoint = stateTag("CHKP");
constexpr std::uint32_t kNumbers = stateTag("NUMS");
constexpr std::uint32_t kTexts = stateTag("TEXT");
constexpr std::uint32_t kSession = stateTag("SESS");

constexpr std::uint64_t kNoFingerprint = 0; // that of the configuration is the session's

void put(std::uint64_t number, StateWriter& out) {
    out.u64(number);
}

void put(const std::string& text, StateWriter& out) {
    out.text(text);
}

void get(StateReader& in, std::uint64_t& number) {
    number = in.u64();
}

void get(StateReader& in, std::string& text) {
    text = in.text();
}

template <class Value>
void saveAll(std::uint32_t section, const std::map<std::string, std::vector<Value>>& all,
             StateWriter& out) {
    out.beginSection(section, StateNeed::critical);
    out.u64(all.size());
    for (const auto& [name, values] : all) {
        out.text(name);
        out.u64(values.size());
        for (const Value& value : values) {
            put(value, out);
        }
    }
    out.endSection();
}

template <class Value>
void loadAll(StateReader in, std::map<std::string, std::vector<Value>>& all) {
    constexpr std::size_t kLeast = 8;
    for (std::uint64_t left = in.count(2 * kLeast); left > 0 && in.isGood(); --left) {
        const std::string name(in.text());
        in.expect(all.empty() || name > all.rbegin()->first);
        std::vector<Value>& values = all[name];
        for (std::uint64_t more = in.count(kLeast); more > 0 && in.isGood(); --more) {
            get(in, values.emplace_back());
        }
    }
    expectGood(in.isDone());
}

} // namespace

std::string Checkpoint::save() const {
    StateWriter out;
    out.begin(kCheckpoint, kNoFingerprint);
    saveAll(kNumbers, numbers, out);
    saveAll(kTexts, texts, out);
    out.beginSection(kSession, StateNeed::critical);
    out.text(session);
    out.endSection();
    return out.finish();
}

Checkpoint Checkpoint::load(std::string_view bytes) {
    const qorvel_detail::StateFrame frame =
        detail::frameOf(bytes, kCheckpoint, kNoFingerprint, {kNumbers, kTexts, kSession});
    Checkpoint checkpoint;
    loadAll(frame.section(kNumbers), checkpoint.numbers);
    loadAll(frame.section(kTexts), checkpoint.texts);
    StateReader session = frame.section(kSession);
    checkpoint.session = session.text();
    expectGood(session.isDone());
    return checkpoint;
}

} // namespace qorvel_engine
