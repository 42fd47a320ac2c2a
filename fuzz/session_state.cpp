// Anything as the state of a session, as that of entities given to it, and as a checkpoint: it is
// refused in words and nothing has changed; or it is taken, is saved as the same bytes again and
// again, and work goes on with it, the same with several threads.

#include "engine/columns/Fault.h"
#include "engine/qorvel_engine.h"
#include "engine/run/Checkpoint.h"
#include "law.h"
#include "mendState.h"
#include "testing/support/SessionWay.h"

#include <map>
#include <utility>

namespace {

using namespace qorvel_engine;

std::unique_ptr<Session> openRendered(std::size_t way, unsigned threads) {
    Way rendered = savedWays()[way];
    rendered.renderer = std::make_shared<LineRenderer>();
    return open(rendered, threads);
}

void push(Session& session, std::uint64_t seed, std::string& lines) {
    constexpr std::size_t kRows = 12;
    const RowColumns columns(makeRowStream(seed, kRows), EntityKind::text);
    const bool isOtherKind =
        codeOf([&] { session.push(columns.slice(0, kRows)); }) == QORVEL_ENGINE_MISUSE;
    LAW(!isOtherKind || session.names()->kind() != EntityKind::text);
    session.flush();
    while (const std::optional<ResultBatch> results = session.take()) {
        lines += results->text;
    }
    session.takeRejects();
}

/// What it finds from here on.
std::string goOn(Session& session) {
    std::string lines;
    push(session, 5, lines);
    session.forgetReportedBefore(100 * kStreamMinute);
    push(session, 6, lines);
    session.finish();
    while (const std::optional<ResultBatch> results = session.take()) {
        lines += results->text;
    }
    return lines;
}

/// What was taken is the same in another session, with other threads, and so is what is found.
void check(Session& session, std::size_t way) {
    const std::string state = session.save();
    const auto other = openRendered(way, 2);
    other->load(state);
    LAW(other->save() == state);
    LAW(session.entitiesRemembered() == other->entitiesRemembered());
    LAW(goOn(session) == goOn(*other));
}

/// A session that waits for a state, with its own; after one that it refused, it is as before.
class Waiting {
public:
    Waiting(std::size_t way, bool knowsSome) : way_(way), knowsSome_(knowsSome) {}

    template <class Take>
    void offer(const Take& take) {
        if (session_ == nullptr) {
            session_ = openRendered(way_, 1);
            if (knowsSome_) {
                std::string lines;
                push(*session_, 4, lines);
            }
            state_ = session_->save();
        }
        const int code = codeOf([&] { take(*session_); });
        if (code == 0) {
            check(*std::exchange(session_, nullptr), way_);
        } else {
            LAW(code == QORVEL_ENGINE_BAD_STATE || (knowsSome_ && code == QORVEL_ENGINE_MISUSE));
            LAW(session_->save() == state_);
        }
    }

private:
    std::size_t way_;
    bool knowsSome_;
    std::unique_ptr<Session> session_;
    std::string state_;
};

Waiting& waiting(std::size_t way, bool knowsSome) {
    static std::map<std::pair<std::size_t, bool>, Waiting> all;
    return all.try_emplace({way, knowsSome}, way, knowsSome).first->second;
}

std::uint64_t fingerprintOf(std::size_t way) {
    static std::map<std::size_t, std::uint64_t> all;
    if (!all.contains(way)) {
        const std::string state = openRendered(way, 1)->save();
        all[way] = qorvel_detail::StateReader(std::string_view(state).substr(24)).u64();
    }
    return all[way];
}

void loadCheckpoint(const std::string& bytes) {
    Checkpoint loaded;
    const int code = codeOf([&] { loaded = Checkpoint::load(bytes); });
    LAW(code >= 0);
    if (code == 0) {
        const std::string again = loaded.save();
        LAW(Checkpoint::load(again).save() == again);
    }
}

/// Makes a header, but for one in four inputs.
void mend(std::string& bytes, const char* kind, std::uint64_t fingerprint, std::uint8_t how,
          std::initializer_list<const char*> sections) {
    if (how % 4 == 0 || bytes.size() < qorvel_detail::kStateHeaderSize) {
        return;
    }
    qorvel_detail::StateWriter header;
    header.begin(0, fingerprint);
    bytes.replace(0, qorvel_detail::kStateHeaderSize, header.bytes());
    bytes.replace(12, 4, kind, 4);
    if (how % 4 > 1) {
        mendLengths(bytes, sections);
    }
    mendCheckSums(bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string bytes(reinterpret_cast<const char*>(data), size - 1);
    const std::size_t ways = savedWays().size();
    const auto what = static_cast<std::uint8_t>(data[size - 1] / 4);
    const auto how = static_cast<std::uint8_t>(data[size - 1] % 4);
    const std::size_t way = what % ways;
    if (what < ways) {
        mend(bytes, "SESS", fingerprintOf(way), how, {"RUN_", "ENTS", "SHAR"});
        waiting(way, false).offer([&](Session& session) { session.load(bytes); });
    } else if (what < 3 * ways) {
        const bool knowsSome = what >= 2 * ways;
        mend(bytes, "SOME", fingerprintOf(way), how, {"ENTS"});
        if (savedWays()[way].question != Question::encounters) {
            waiting(way, knowsSome).offer([&](Session& session) { session.giveEntities(bytes); });
        }
    } else {
        mend(bytes, "CHKP", 0, how, {"NUMS", "TEXT", "SESS"});
        loadCheckpoint(bytes);
    }
    return 0;
}
