#include "src/Source.h"

#include "engine/columns/Fault.h"
#include "engine/columns/Values.h"
#include "src/capsules.h"
#include "src/faults.h"
#include "src/shareArray.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <nanobind/stl/string.h>
#include <new>
#include <string_view>
#include <utility>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using qorvel_engine::ArrowArrayOwner;
using qorvel_engine::ArrowSchemaOwner;
using qorvel_engine::loadAt;
using qorvel_engine::Validity;

/// What structures have for a release that are owned elsewhere: without any, they would count as
/// released.
void releaseNothing(ArrowArray* array) {
    array->release = nullptr;
}
void releaseNoSchema(ArrowSchema* schema) {
    schema->release = nullptr;
}

std::string nameOf(const ArrowSchema& schema) {
    return schema.name == nullptr ? "" : schema.name;
}

/// A text of a column's metadata, which are a number of pairs, and of each text its length and its
/// bytes; empty if there is none.
std::string metadataOf(const ArrowSchema& schema, std::string_view key) {
    const char* at = schema.metadata;
    if (at == nullptr) {
        return {};
    }
    const auto number = [&at] {
        const auto value = loadAt<std::int32_t>(at, 0);
        at += sizeof(value);
        return value;
    };
    const auto text = [&] {
        const auto size = static_cast<std::size_t>(std::max(0, number()));
        const std::string_view found(at, size);
        at += size;
        return found;
    };
    for (std::int32_t pairs = number(); pairs > 0; --pairs) {
        const std::string_view found = text();
        const std::string_view value = text();
        if (found == key) {
            return std::string(value);
        }
    }
    return {};
}

void expectTable(const ArrowSchema& schema) {
    if (schema.format == nullptr || std::string_view(schema.format) != "+s" ||
        schema.n_children < 0 || (schema.n_children > 0 && schema.children == nullptr)) {
        refuseColumn("The stream is none of a table: it has to have columns.");
    }
}

std::size_t placeOf(const ArrowSchema& schema, const std::string& name) {
    std::size_t found = static_cast<std::size_t>(schema.n_children);
    for (std::int64_t child = schema.n_children; child-- > 0;) {
        if (nameOf(*schema.children[child]) == name) {
            found = static_cast<std::size_t>(child);
        }
    }
    if (found == static_cast<std::size_t>(schema.n_children)) {
        throw qorvel_engine::Fault(qorvel_engine::FaultCode::missingColumn,
                                   "There is no column \"" + name + "\".");
    }
    return found;
}

bool hasColumn(const ArrowSchema& schema, const std::string& name) {
    return std::any_of(schema.children, schema.children + schema.n_children,
                       [&name](const ArrowSchema* child) { return nameOf(*child) == name; });
}

/// The schema with the derived columns, all of them float64.
qorvel_engine::ObservationSchema readSchema(const ArrowSchema& schema,
                                            const std::vector<Derivation>& derivations,
                                            const qorvel_engine::ColumnNames& names) {
    std::vector<ArrowSchemaOwner> derived;
    std::vector<ArrowSchema*> children(schema.children, schema.children + schema.n_children);
    for (const Derivation& derivation : derivations) {
        derived.push_back(makeSchema("g", derivation.name));
    }
    for (ArrowSchemaOwner& owner : derived) {
        children.push_back(owner.get());
    }
    ArrowSchema whole = schema;
    whole.children = children.data();
    whole.n_children = static_cast<std::int64_t>(children.size());
    whole.release = releaseNoSchema;
    return qorvel_engine::ObservationSchema(whole, names);
}

void expectShape(bool holds) {
    if (!holds) {
        refuseColumn("A batch of the table is not as its schema says.");
    }
}

bool fitsOffset(const ArrowArray& table, const ArrowArray* column) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 4;
    return column != nullptr && column->offset >= 0 && column->length >= 0 &&
           column->offset <= kMost && column->length >= table.offset + table.length;
}

} // namespace

InputBatch::InputBatch(ArrowArrayOwner array, const ArrowSchema& schema,
                       const std::vector<Derivation>& derivations)
    : array_(std::move(array)), view_(*array_) {
    view_.release = releaseNothing;
    if (!derivations.empty()) {
        derive(schema, derivations);
    }
}

/// The offset of the whole moves into the columns, so that those made here need none.
void InputBatch::derive(const ArrowSchema& schema, const std::vector<Derivation>& derivations) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 4;
    expectShape(view_.offset >= 0 && view_.length >= 0 && view_.offset <= kMost &&
                view_.length <= kMost && view_.n_children == schema.n_children &&
                view_.n_buffers == 1 && view_.buffers != nullptr);
    for (std::int64_t child = 0; child < view_.n_children; ++child) {
        expectShape(fitsOffset(view_, view_.children[child]));
        columns_.push_back(*view_.children[child]);
        columns_.back().offset += view_.offset;
        columns_.back().length = view_.length;
        columns_.back().null_count = -1;
    }
    for (const Derivation& derivation : derivations) {
        const std::size_t place = derivation.place;
        derived_.push_back(deriveColumn(*schema.children[place], columns_[place], derivation.part));
    }
    const auto size = static_cast<std::size_t>(view_.length);
    if (view_.buffers[0] != nullptr) {
        const Validity present{view_.buffers[0], view_.offset};
        rows_.resize(size / 8 + 1);
        for (std::size_t row = 0; row < size; ++row) {
            rows_[row / 8] = static_cast<unsigned char>(
                rows_[row / 8] | (present.has(static_cast<std::int64_t>(row)) ? 1U : 0U)
                                     << row % 8);
        }
    }
    buffers_ = {rows_.empty() ? nullptr : rows_.data()};
    for (const RealColumn& column : derived_) {
        buffers_.insert(buffers_.end(), {column.validity.data(), column.values.data()});
    }
    for (std::size_t i = 0; i < derived_.size(); ++i) {
        ArrowArray column{};
        column.length = view_.length;
        column.null_count = -1;
        column.n_buffers = 2;
        column.buffers = buffers_.data() + 1 + 2 * i;
        column.release = releaseNothing;
        columns_.push_back(column);
    }
    for (ArrowArray& column : columns_) {
        pointers_.push_back(&column);
    }
    view_.offset = 0;
    view_.buffers = buffers_.data();
    view_.children = pointers_.data();
    view_.n_children = static_cast<std::int64_t>(pointers_.size());
}

std::int64_t InputBatch::longestDictionary() const {
    std::int64_t longest = 0;
    for (std::int64_t child = 0; child < view_.n_children; ++child) {
        const ArrowArray* const column = view_.children[child];
        if (column != nullptr && column->dictionary != nullptr) {
            longest = std::max(longest, column->dictionary->length);
        }
    }
    return longest;
}

ArrowArray InputBatch::slice(std::int64_t from, std::int64_t size) const {
    ArrowArray part = view_;
    if (from == 0 && size == view_.length) {
        return part;
    }
    part.offset += from;
    part.length = size;
    part.null_count = part.null_count == 0 ? 0 : -1;
    return part;
}

Source::Source(const nb::capsule& stream) : stream_(takeCapsule<ArrowArrayStream>(stream)) {
    if (stream_->get_schema == nullptr || stream_->get_next == nullptr ||
        stream_->get_schema(stream_.get(), schema_.fresh()) != 0) {
        refuseColumn("The table's stream has no schema.");
    }
    expectTable(*schema_);
}

Source::Source(const nb::capsule& schema, const nb::capsule& array)
    : Source(takeCapsule<ArrowSchema>(schema), takeCapsule<ArrowArray>(array)) {}

Source::Source(ArrowSchemaOwner schema, ArrowArrayOwner array)
    : schema_(std::move(schema)), array_(std::move(array)) {
    expectTable(*schema_);
}

nb::list Source::columns() const {
    nb::list columns;
    for (std::int64_t child = 0; child < schema_->n_children; ++child) {
        const ArrowSchema& column = *schema_->children[child];
        columns.append(nb::make_tuple(nameOf(column), column.format == nullptr ? "" : column.format,
                                      metadataOf(column, "ARROW:extension:name"),
                                      metadataOf(column, "ARROW:extension:metadata")));
    }
    return columns;
}

void Source::choose(const nb::dict& columns) {
    const auto named = [&columns](const char* field) {
        return columns.contains(field) ? nb::cast<std::string>(columns[field]) : std::string();
    };
    const auto derived = [this](const std::string& from, Part part) {
        std::string name = from + (part == Part::y ? ".y" : ".x");
        while (hasColumn(*schema_, name)) {
            name += '\'';
        }
        derivations_.push_back({placeOf(*schema_, from), part, name});
        return name;
    };
    derivations_.clear();
    qorvel_engine::ColumnNames names{named("entity"),       named("lat"),      named("lon"),
                                     named("time"),         named("accuracy"), named("primary_key"),
                                     named("secondary_key")};
    if (const std::string point = named("point"); !point.empty()) {
        if (!isPoint(*schema_->children[placeOf(*schema_, point)])) {
            refuseColumn("The column \"" + point +
                         "\" has no points: want GeoArrow points or WKB.");
        }
        names.latitude = derived(point, Part::y);
        names.longitude = derived(point, Part::x);
    }
    for (std::string* const name : {&names.latitude, &names.longitude, &names.accuracy}) {
        if (!name->empty() && hasColumn(*schema_, *name) &&
            isWhole(*schema_->children[placeOf(*schema_, *name)])) {
            *name = derived(*name, Part::number);
        }
    }
    if (const std::string hdop = named("hdop"); !hdop.empty()) {
        names.accuracy = derived(hdop, Part::hdop);
    }
    observations_.emplace(readSchema(*schema_, derivations_, names));
}

const qorvel_engine::ObservationSchema& Source::observations() const {
    return *observations_;
}

std::shared_ptr<const InputBatch> Source::next() {
    ArrowArrayOwner array = std::move(array_);
    if (stream_) {
        const int code = stream_->get_next(stream_.get(), array.fresh());
        if (code == ENOMEM) {
            throw std::bad_alloc();
        }
        if (code != 0) {
            const char* const why = stream_->get_last_error == nullptr
                                        ? nullptr
                                        : stream_->get_last_error(stream_.get());
            refuseColumn(std::string("The table could not be read: ") +
                         (why == nullptr ? "its stream does not say why." : why));
        }
    }
    if (!array) {
        return nullptr;
    }
    return std::make_shared<const InputBatch>(std::move(array), *schema_, derivations_);
}

} // namespace qorvel_python
