#ifndef QORVEL_ENGINE_RUN_DETAIL_CALLSESSION_H
#define QORVEL_ENGINE_RUN_DETAIL_CALLSESSION_H

#include "engine/columns/ArrowOwner.h"
#include "engine/columns/ObservationSchema.h"
#include "engine/run/Session.h"
#include "engine/run/detail/LastFault.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qorvel_engine::detail {

/// A session as C sees it. Its streams hold on to it, even when it was closed.
class CallSession {
public:
    void open(const char* question, const char* configuration, const char* options);
    void close() noexcept { session_.reset(); }

    void push(ArrowSchemaOwner schema, ArrowArrayOwner array,
              std::optional<std::int64_t> oldestToCome);
    void pushStream(ArrowStreamOwner stream);
    void flush() { session().flush(); }
    void finish() { session().finish(); }

    /// The bytes stay until the next of these calls.
    std::string_view save();
    std::string_view takeEntities(const char* const* names, std::size_t count);
    void load(const void* bytes, std::uint64_t size);
    void giveEntities(const void* bytes, std::uint64_t size);
    void forgetReportedBefore(std::int64_t time) { session().forgetReportedBefore(time); }

    /// Results, or rejects.
    void writeSchema(ArrowSchema* out);
    void writeNext(ArrowArray* out);
    void writeRejectSchema(ArrowSchema* out);
    void writeNextRejects(ArrowArray* out);

    void cancel() noexcept;
    RunFigures figures() const noexcept;

    /// Null beyond the last.
    const char* remark(std::size_t index);

    LastFault fault;

private:
    /// Throws the Fault `misuse` if it is not open.
    Session& session();
    void readSchema(const ArrowSchema& schema);
    void push(ArrowArrayOwner array, std::optional<std::int64_t> oldestToCome);
    template <class Export>
    void orEnd(const Export& write);

    std::unique_ptr<Session> session_;
    ColumnNames columns_;
    std::optional<ObservationSchema> schema_;
    std::vector<Remark> remarks_;
    std::string state_;
};

} // namespace qorvel_engine::detail

#endif
