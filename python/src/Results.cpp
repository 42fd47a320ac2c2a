#include "src/Results.h"

#include "engine/columns/Fault.h"
#include "engine/columns/Values.h"
#include "engine/columns/exportArrow.h"
#include "page/Page.h"
#include "src/capsules.h"
#include "src/faults.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <nanobind/stl/string.h>
#include <string_view>
#include <utility>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using namespace qorvel_engine; // NOLINT(google-build-using-namespace): whose tables these are

/// What a consumer reads from.
struct Stream {
    std::shared_ptr<const ResultSchema> schema;
    EntityKind kind;
    std::vector<SharedArray> batches;
    std::size_t next = 0;
};

Stream& streamOf(ArrowArrayStream* stream) {
    return *static_cast<Stream*>(stream->private_data);
}

/// Nothing but memory that runs out can go wrong.
template <class Work>
int codeOf(const Work& work) noexcept {
    try {
        work();
        return 0;
    } catch (...) {
        return ENOMEM;
    }
}

bool isTextColumn(const ResultColumn& about, EntityKind kind) {
    return about.kind == ResultKind::text ||
           (about.kind == ResultKind::entity && kind == EntityKind::text);
}

bool isReal(const ResultColumn& about) {
    return about.kind == ResultKind::degrees || about.kind == ResultKind::metres ||
           about.kind == ResultKind::hours;
}

std::string_view textAt(const ArrowArray& column, std::int64_t place) {
    const auto begin = loadAt<std::int32_t>(column.buffers[1], place);
    const auto end = loadAt<std::int32_t>(column.buffers[1], place + 1);
    return {static_cast<const char*>(column.buffers[2]) + begin,
            static_cast<std::size_t>(end - begin)};
}

nb::object valueAt(const ArrowArray& column, const ResultColumn& about, EntityKind kind,
                   std::int64_t row) {
    if (!Validity{column.buffers[0], column.offset}.has(row)) {
        return nb::none();
    }
    const void* const values = column.buffers[1];
    const std::int64_t place = column.offset + row;
    if (isTextColumn(about, kind)) {
        const std::string_view text = textAt(column, place);
        return nb::str(text.data(), text.size());
    }
    if (isReal(about)) {
        return nb::float_(loadAt<double>(values, place));
    }
    if (about.kind == ResultKind::entity && kind == EntityKind::uint64) {
        return nb::int_(loadAt<std::uint64_t>(values, place));
    }
    return nb::int_(loadAt<std::int64_t>(values, place));
}

/// A time box without an end is null in a table, and has a time in a page.
constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

void addTo(qorvel_page::PageColumn& to, const ArrowArray& column, EntityKind kind,
           std::int64_t row) {
    const ResultColumn& about = to.about();
    const void* const values = column.buffers[1];
    const std::int64_t place = column.offset + row;
    if (!Validity{column.buffers[0], column.offset}.has(row)) {
        about.kind == ResultKind::boxEnd ? to.addWhole(kEver) : to.addMissing();
    } else if (isTextColumn(about, kind)) {
        to.addText(textAt(column, place));
    } else if (isReal(about)) {
        to.addReal(loadAt<double>(values, place));
    } else if (about.kind != ResultKind::entity) {
        to.addWhole(loadAt<std::int64_t>(values, place));
    } else if (kind == EntityKind::uint64) {
        to.addText(std::to_string(loadAt<std::uint64_t>(values, place)));
    } else {
        to.addText(std::to_string(loadAt<std::int64_t>(values, place)));
    }
}

} // namespace

Results::Results(std::shared_ptr<const ResultSchema> schema, EntityKind kind)
    : schema_(std::move(schema)), kind_(kind) {}

void Results::add(ResultTable&& table) {
    const std::size_t rows = table.size();
    auto array = std::make_shared<ArrowArrayOwner>();
    exportArrow(std::move(table), array->fresh(), nullptr);
    batches_.push_back(std::move(array));
    size_ += rows;
}

std::vector<std::string> Results::columnNames() const {
    std::vector<std::string> names;
    for (const ResultColumn& column : schema_->columns) {
        names.push_back(column.name);
    }
    return names;
}

nb::object Results::stream() const {
    ArrowArrayStream stream{};
    stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) {
        return codeOf([&] { exportArrowSchema(*streamOf(self).schema, streamOf(self).kind, out); });
    };
    stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
        return codeOf([&] {
            Stream& from = streamOf(self);
            ArrowArrayOwner array;
            if (from.next < from.batches.size()) {
                array = shareArray(from.batches[from.next++]);
            }
            array.moveTo(out);
        });
    };
    stream.get_last_error = [](ArrowArrayStream*) { return "memory ran out"; };
    stream.release = [](ArrowArrayStream* self) {
        delete &streamOf(self);
        self->release = nullptr;
    };
    stream.private_data = std::make_unique<Stream>(Stream{schema_, kind_, batches_}).release();
    return makeCapsule(ArrowStreamOwner(stream));
}

nb::list Results::head(std::size_t count) const {
    nb::list rows;
    for (const SharedArray& batch : batches_) {
        for (std::int64_t row = 0; row < (*batch)->length && nb::len(rows) < count; ++row) {
            nb::list values;
            for (std::size_t column = 0; column < schema_->columns.size(); ++column) {
                values.append(
                    valueAt(*(*batch)->children[column], schema_->columns[column], kind_, row));
            }
            rows.append(nb::tuple(values));
        }
    }
    return rows;
}

nb::bytes Results::page(const nb::callable& compress, const std::string& tiles) const {
    if (!tiles.empty() && !qorvel_page::isTileAddress(tiles)) {
        refuseCall("Tiles want an address such as https://tiles.example.org/{z}/{x}/{y}.png.");
    }
    if (size_ > qorvel_page::kMostRows) {
        throw Fault(FaultCode::tooLarge, "A page takes at most " +
                                             std::to_string(qorvel_page::kMostRows) +
                                             " rows; hand so many on as a table.");
    }
    qorvel_page::Page page(*schema_);
    for (const SharedArray& batch : batches_) {
        for (std::size_t column = 0; column < schema_->columns.size(); ++column) {
            for (std::int64_t row = 0; row < (*batch)->length; ++row) {
                addTo(page.column(column), *(*batch)->children[column], kind_, row);
            }
        }
    }
    const auto compressed = [&compress](std::string_view bytes) {
        const auto packed = nb::cast<nb::bytes>(compress(nb::bytes(bytes.data(), bytes.size()), 9));
        return std::string(packed.c_str(), packed.size());
    };
    const std::string text = page.text(compressed, tiles);
    return nb::bytes(text.data(), text.size());
}

} // namespace qorvel_python
