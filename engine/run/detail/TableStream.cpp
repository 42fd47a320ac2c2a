#include "engine/run/detail/TableStream.h"

#include "engine/run/detail/LastFault.h"

#include <utility>

namespace qorvel_engine::detail {

namespace {

struct TableStream {
    explicit TableStream(std::unique_ptr<TableSource> theSource) : source(std::move(theSource)) {}

    std::unique_ptr<TableSource> source;
    LastFault fault;
};

TableStream& streamOf(ArrowArrayStream* stream) {
    return *static_cast<TableStream*>(stream->private_data);
}

int writeSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    TableStream& self = streamOf(stream);
    self.fault.guard([&] { self.source->writeSchema(out); });
    return self.fault.asErrno();
}

int writeNext(ArrowArrayStream* stream, ArrowArray* out) {
    TableStream& self = streamOf(stream);
    self.fault.guard([&] {
        *out = ArrowArray{}; // released: the end
        self.source->writeNext(out);
    });
    return self.fault.asErrno();
}

const char* lastError(ArrowArrayStream* stream) {
    return streamOf(stream).fault.sentence();
}

void release(ArrowArrayStream* stream) {
    delete &streamOf(stream);
    stream->release = nullptr;
}

} // namespace

void writeStream(std::unique_ptr<TableSource> source, ArrowArrayStream* out) {
    auto stream = std::make_unique<TableStream>(std::move(source));
    *out = {writeSchema, writeNext, lastError, release, stream.release()};
}

} // namespace qorvel_engine::detail
