#include "engine/qorvel_engine.h"
#include "engine/run/detail/CallSession.h"
#include "engine/run/detail/TableStream.h"

#include "qorvel/version.h"

#include <memory>
#include <new>
#include <string_view>
#include <utility>

using qorvel_engine::ArrowArrayOwner;
using qorvel_engine::ArrowSchemaOwner;
using qorvel_engine::ArrowStreamOwner;
using qorvel_engine::Fault;
using qorvel_engine::FaultCode;
using qorvel_engine::RunFigures;
using qorvel_engine::detail::CallSession;
using qorvel_engine::detail::LastFault;
using qorvel_engine::detail::TableSource;

struct qorvel_engine_session {
    std::shared_ptr<CallSession> call;
};

namespace {

/// Does the work of a call with a session, if there is one.
template <class Work>
std::int32_t guard(qorvel_engine_session* session, const Work& work) noexcept {
    if (session == nullptr) {
        return QORVEL_ENGINE_MISUSE;
    }
    CallSession& call = *session->call;
    return call.fault.guard([&] { work(call); });
}

/// Takes over what a pointer leads to, if it does.
template <class Owner, class Structure>
Owner takeOver(Structure* structure) noexcept {
    return structure == nullptr ? Owner() : Owner(*structure);
}

class ResultSource : public TableSource {
public:
    explicit ResultSource(std::shared_ptr<CallSession> call) : call_(std::move(call)) {}
    void writeSchema(ArrowSchema* out) override { call_->writeSchema(out); }
    void writeNext(ArrowArray* out) override { call_->writeNext(out); }

private:
    std::shared_ptr<CallSession> call_;
};

class RejectSource : public TableSource {
public:
    explicit RejectSource(std::shared_ptr<CallSession> call) : call_(std::move(call)) {}
    void writeSchema(ArrowSchema* out) override { call_->writeRejectSchema(out); }
    void writeNext(ArrowArray* out) override { call_->writeNextRejects(out); }

private:
    std::shared_ptr<CallSession> call_;
};

template <class Source>
std::int32_t writeStream(qorvel_engine_session* session, ArrowArrayStream* out) noexcept {
    return guard(session, [&](CallSession&) {
        if (out == nullptr) {
            throw Fault(FaultCode::misuse, "There is no place for the stream.");
        }
        qorvel_engine::detail::writeStream(std::make_unique<Source>(session->call), out);
    });
}

template <class Make>
void writeBytes(const void** bytes, std::uint64_t* size, const Make& make) {
    if (bytes == nullptr || size == nullptr) {
        throw Fault(FaultCode::misuse, "There is no place for the bytes.");
    }
    const std::string_view made = make();
    *bytes = made.data();
    *size = made.size();
}

} // namespace

const char* qorvel_engine_version(void) {
    return QORVEL_VERSION;
}

int32_t qorvel_engine_open(const char* question, const char* configuration, const char* options,
                           qorvel_engine_session** session) {
    if (session == nullptr) {
        return QORVEL_ENGINE_MISUSE;
    }
    *session = nullptr;
    try {
        *session = new qorvel_engine_session{std::make_shared<CallSession>()};
    } catch (const std::bad_alloc&) {
        return QORVEL_ENGINE_OUT_OF_MEMORY;
    }
    return guard(*session, [&](CallSession& call) { call.open(question, configuration, options); });
}

int32_t qorvel_engine_push(qorvel_engine_session* session, ArrowSchema* schema, ArrowArray* array,
                           int64_t oldest_to_come) {
    auto ownSchema = takeOver<ArrowSchemaOwner>(schema);
    auto ownArray = takeOver<ArrowArrayOwner>(array);
    return guard(session, [&](CallSession& call) {
        call.push(std::move(ownSchema), std::move(ownArray),
                  oldest_to_come < 0 ? std::nullopt : std::optional(oldest_to_come));
    });
}

int32_t qorvel_engine_push_stream(qorvel_engine_session* session, ArrowArrayStream* stream) {
    auto own = takeOver<ArrowStreamOwner>(stream);
    return guard(session, [&](CallSession& call) { call.pushStream(std::move(own)); });
}

int32_t qorvel_engine_flush(qorvel_engine_session* session) {
    return guard(session, [](CallSession& call) { call.flush(); });
}

int32_t qorvel_engine_finish(qorvel_engine_session* session) {
    return guard(session, [](CallSession& call) { call.finish(); });
}

int32_t qorvel_engine_results(qorvel_engine_session* session, ArrowArrayStream* out) {
    return writeStream<ResultSource>(session, out);
}

int32_t qorvel_engine_rejects(qorvel_engine_session* session, ArrowArrayStream* out) {
    return writeStream<RejectSource>(session, out);
}

int32_t qorvel_engine_save(qorvel_engine_session* session, const void** bytes, uint64_t* size) {
    return guard(session,
                 [&](CallSession& call) { writeBytes(bytes, size, [&] { return call.save(); }); });
}

int32_t qorvel_engine_load(qorvel_engine_session* session, const void* bytes, uint64_t size) {
    return guard(session, [&](CallSession& call) { call.load(bytes, size); });
}

int32_t qorvel_engine_take_entities(qorvel_engine_session* session, const char* const* entities,
                                    size_t count, const void** bytes, uint64_t* size) {
    return guard(session, [&](CallSession& call) {
        writeBytes(bytes, size, [&] { return call.takeEntities(entities, count); });
    });
}

int32_t qorvel_engine_give_entities(qorvel_engine_session* session, const void* bytes,
                                    uint64_t size) {
    return guard(session, [&](CallSession& call) { call.giveEntities(bytes, size); });
}

int32_t qorvel_engine_forget_reported_before(qorvel_engine_session* session, int64_t time) {
    return guard(session, [&](CallSession& call) { call.forgetReportedBefore(time); });
}

void qorvel_engine_cancel(qorvel_engine_session* session) {
    if (session != nullptr) {
        session->call->cancel();
    }
}

void qorvel_engine_progress(const qorvel_engine_session* session, qorvel_engine_figures* out) {
    if (out != nullptr) {
        const RunFigures figures = session == nullptr ? RunFigures() : session->call->figures();
        *out = {figures.pushed, figures.processed,  figures.rejected,
                figures.late,   figures.outOfOrder, figures.results};
    }
}

const char* qorvel_engine_remark(qorvel_engine_session* session, size_t index) {
    const char* remark = nullptr;
    guard(session, [&](CallSession& call) { remark = call.remark(index); });
    return remark;
}

const qorvel_engine_fault* qorvel_engine_last_fault(const qorvel_engine_session* session) {
    return session == nullptr ? &LastFault::outOfMemory() : &session->call->fault.told();
}

void qorvel_engine_close(qorvel_engine_session* session) {
    if (session != nullptr) {
        session->call->close();
        delete session;
    }
}
