// Sessions from C with tables in which anything may be a lie: every call says in words what is
// wrong, structures are released once, no row and no result is lost, and with two threads
// everything is as with one.

#include "anyTable.h"
#include "engine/columns/ArrowOwner.h"
#include "engine/qorvel_engine.h"
#include "law.h"
#include "testing/support/counted.h"

#include <map>

namespace {

using namespace qorvel_engine;
using Tables = std::vector<std::unique_ptr<ArrowColumn>>;

const char* const kConfiguration = R"(
[[master]]
box = "1 hours"
[[assignment]]
[[presence]]
window = "10 minutes"
min_count = 2
ratio = 0.1
[[hangout]]
window = "10 minutes"
min_count = 2
ratio = 0.1
)";

/// What one run says: the codes of its calls, and the columns of its results, one after the other.
struct Told {
    std::vector<std::int32_t> codes;
    std::map<std::string, std::string> columns;
    std::uint64_t rows = 0;

    bool operator==(const Told&) const = default;

    void add(const ArrowSchema& schema, const ArrowArray& column) {
        std::string& all = columns[schema.name];
        const std::string format = schema.format;
        for (std::int64_t row = 0; row < column.length; ++row) {
            if (format == "u") {
                const auto* const offsets = static_cast<const std::int32_t*>(column.buffers[1]);
                all.append(static_cast<const char*>(column.buffers[2]) + offsets[row],
                           static_cast<const char*>(column.buffers[2]) + offsets[row + 1]);
                all += '\n';
            } else {
                all.append(static_cast<const char*>(column.buffers[1]) + 8 * row, 8);
            }
        }
    }
};

/// All of a stream of results or rejects; returns how many rows there are.
template <class Open>
std::uint64_t read(qorvel_engine_session* session, const Open& open, Told& told) {
    ArrowArrayStream memory;
    LAW(open(session, &memory) == 0);
    ArrowStreamOwner stream(memory);
    ArrowSchemaOwner schema;
    LAW(stream->get_schema(stream.get(), schema.fresh()) == 0);
    std::uint64_t rows = 0;
    for (;;) {
        ArrowArrayOwner array;
        LAW(stream->get_next(stream.get(), array.fresh()) == 0);
        if (!array) {
            return rows;
        }
        LAW(array->length > 0 && array->n_children == schema->n_children);
        rows += static_cast<std::uint64_t>(array->length);
        for (std::int64_t child = 0; child < array->n_children; ++child) {
            told.add(*schema->children[child], *array->children[child]);
        }
    }
}

void checkFault(qorvel_engine_session* session, std::int32_t code) {
    const qorvel_engine_fault& fault = *qorvel_engine_last_fault(session);
    LAW(fault.code == code && (*fault.sentence == '\0') == (code == 0));
    LAW(code == 0 || code == QORVEL_ENGINE_BAD_COLUMN || code == QORVEL_ENGINE_MISSING_COLUMN ||
        code == QORVEL_ENGINE_MISUSE); // entities of another kind, or no schema yet
}

Told run(const char* question, const std::string& options, const Tables& tables,
         std::uint64_t shape) {
    Told told;
    int live = 0;
    qorvel_engine_session* session = nullptr;
    LAW(qorvel_engine_open(question, kConfiguration, options.c_str(), &session) == 0);
    for (const auto& table : tables) {
        ArrowSchema schema = counted(table->schema, live);
        ArrowArray array = counted(table->array, live);
        const auto oldest = static_cast<std::int64_t>(shape % 5) * 1000000 - 1;
        told.codes.push_back(qorvel_engine_push(session, &schema, &array, oldest));
        checkFault(session, told.codes.back());
        LAW(schema.release == nullptr && array.release == nullptr);
        shape /= 5;
    }
    LAW(qorvel_engine_finish(session) == 0);
    LAW(live == 0);
    qorvel_engine_figures figures;
    qorvel_engine_progress(session, &figures);
    LAW(read(session, qorvel_engine_results, told) == figures.results);
    LAW(read(session, qorvel_engine_rejects, told) == figures.rejected);
    LAW(figures.pushed == figures.processed + figures.rejected);
    told.rows = figures.pushed;
    qorvel_engine_close(session);
    return told;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const char* const question =
        bytes.pick({"boxes", "presence", "hangouts", "stays", "encounters", "places"});
    const std::string options = bytes.pick({"", "late=0\n", "late=ever\n", "last_figures=1\n"});
    const std::uint64_t shape = bytes.take(2);
    Tables tables;
    do {
        tables.push_back(anyTable(bytes));
    } while (!bytes.empty() && tables.size() < 8);
    LAW(run(question, options, tables, shape) ==
        run(question, options + "threads=2", tables, shape));
    return 0;
}
