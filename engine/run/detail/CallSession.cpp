#include "engine/run/detail/CallSession.h"

#include "engine/columns/exportArrow.h"
#include "engine/run/detail/CallOptions.h"

#include <cerrno>
#include <utility>

namespace qorvel_engine::detail {

namespace {

void expect(bool holds, const char* otherwise) {
    if (!holds) {
        throw Fault(FaultCode::misuse, otherwise);
    }
}

/// What a stream's function returned.
void expectDone(int result, ArrowStreamOwner& stream) {
    if (result == ENOMEM) {
        throw std::bad_alloc();
    }
    if (result != 0) {
        const char* const why =
            stream->get_last_error == nullptr ? nullptr : stream->get_last_error(stream.get());
        throw Fault(FaultCode::badColumn, std::string("The stream of observations has failed: ") +
                                              (why == nullptr ? "it does not say why" : why) + '.');
    }
}

std::string_view viewOf(const void* bytes, std::uint64_t size) {
    expect(bytes != nullptr || size == 0, "There are no bytes of a state.");
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

} // namespace

void CallSession::open(const char* question, const char* configuration, const char* options) {
    expect(question != nullptr && configuration != nullptr,
           "A session needs a question and a configuration.");
    CallOptions read = readCallOptions(question, options == nullptr ? "" : options);
    session_ =
        std::make_unique<Session>(read.analysis, readConfigText(configuration), read.session);
    columns_ = std::move(read.columns);
}

void CallSession::push(ArrowSchemaOwner schema, ArrowArrayOwner array,
                       std::optional<std::int64_t> oldestToCome) {
    session();
    if (schema) {
        readSchema(*schema);
    }
    push(std::move(array), oldestToCome);
}

void CallSession::pushStream(ArrowStreamOwner stream) {
    session();
    expect(stream && stream->get_schema != nullptr && stream->get_next != nullptr,
           "There is no stream, or it lacks a function.");
    ArrowSchemaOwner schema;
    expectDone(stream->get_schema(stream.get(), schema.fresh()), stream);
    readSchema(*schema);
    for (;;) {
        ArrowArrayOwner array;
        expectDone(stream->get_next(stream.get(), array.fresh()), stream);
        if (!array) {
            return;
        }
        push(std::move(array), std::nullopt);
    }
}

void CallSession::readSchema(const ArrowSchema& schema) {
    schema_.emplace(ObservationSchema(schema, columns_));
}

void CallSession::push(ArrowArrayOwner array, std::optional<std::int64_t> oldestToCome) {
    expect(schema_.has_value(), "The first push needs a schema.");
    const auto owner = std::make_shared<ArrowArrayOwner>(std::move(array));
    session().push(schema_->bind(**owner), owner, oldestToCome);
}

std::string_view CallSession::save() {
    state_ = session().save();
    return state_;
}

std::string_view CallSession::takeEntities(const char* const* names, std::size_t count) {
    std::vector<std::string> wanted;
    for (std::size_t i = 0; i < count; ++i) {
        expect(names != nullptr && names[i] != nullptr, "The name of an entity is missing.");
        wanted.emplace_back(names[i]);
    }
    state_ = session().takeEntities(wanted);
    return state_;
}

void CallSession::load(const void* bytes, std::uint64_t size) {
    session().load(viewOf(bytes, size));
}

void CallSession::giveEntities(const void* bytes, std::uint64_t size) {
    session().giveEntities(viewOf(bytes, size));
}

void CallSession::writeSchema(ArrowSchema* out) {
    const std::shared_ptr<const EntityNames> names = session().names();
    expect(names != nullptr,
           "What the results are is known from the first push on, or after the end.");
    exportArrowSchema(session().schema(), names->kind(), out);
}

void CallSession::writeNext(ArrowArray* out) {
    std::optional<ResultBatch> results = session().take();
    if (results) {
        orEnd([&] { exportArrow(std::move(results->table), out, nullptr); });
    }
}

void CallSession::writeRejectSchema(ArrowSchema* out) {
    exportArrowSchema(rejectSchema(), EntityKind::text, out);
}

void CallSession::writeNextRejects(ArrowArray* out) {
    const std::vector<Reject> rejects = session().takeRejects();
    if (!rejects.empty()) {
        orEnd([&] { exportArrow(makeRejectTable(rejects), out, nullptr); });
    }
}

/// What was taken and cannot be handed on would be missing unnoticed.
template <class Export>
void CallSession::orEnd(const Export& write) {
    try {
        write();
    } catch (...) {
        close();
        throw;
    }
}

void CallSession::cancel() noexcept {
    if (session_ != nullptr) {
        session_->cancel();
    }
}

RunFigures CallSession::figures() const noexcept {
    return session_ == nullptr ? RunFigures() : session_->figures();
}

const char* CallSession::remark(std::size_t index) {
    if (remarks_.empty()) {
        remarks_ = session().remarks();
    }
    return index < remarks_.size() ? remarks_[index].sentence.c_str() : nullptr;
}

Session& CallSession::session() {
    expect(session_ != nullptr, "The session is not open.");
    return *session_;
}

} // namespace qorvel_engine::detail
