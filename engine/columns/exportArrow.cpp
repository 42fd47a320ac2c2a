#include "engine/columns/exportArrow.h"

#include "engine/columns/ArrowOwner.h"
#include "engine/columns/Fault.h"
#include "engine/columns/Values.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace qorvel_engine {

namespace {

/// The children of a structure, and the list of them that it points at. Each is released with the
/// structure, unless it was moved out before.
template <class Structure>
class Children {
public:
    explicit Children(std::vector<ArrowOwner<Structure>> children)
        : children_(std::move(children)) {
        for (ArrowOwner<Structure>& child : children_) {
            pointers_.push_back(child.get());
        }
    }

    void show(Structure& parent) {
        parent.n_children = static_cast<std::int64_t>(pointers_.size());
        parent.children = pointers_.data();
    }

private:
    std::vector<ArrowOwner<Structure>> children_;
    std::vector<Structure*> pointers_;
};

/// What a structure points at, deleted with it.
template <class Structure, class Holder>
ArrowOwner<Structure> handOver(Structure structure, std::unique_ptr<Holder> holder) {
    structure.private_data = holder.release();
    structure.release = [](Structure* released) {
        delete static_cast<Holder*>(released->private_data);
        released->release = nullptr;
    };
    return ArrowOwner<Structure>(structure);
}

using Metadata = std::initializer_list<std::pair<std::string_view, std::string_view>>;

/// Arrow's encoding: the number of pairs, then of each text its length and its bytes.
std::string encoded(const Metadata& pairs) {
    std::string bytes;
    const auto addNumber = [&bytes](std::size_t number) {
        const auto narrow = static_cast<std::int32_t>(number);
        char raw[sizeof(narrow)];
        std::memcpy(raw, &narrow, sizeof(narrow));
        bytes.append(raw, sizeof(raw));
    };
    addNumber(pairs.size());
    for (const auto& [key, value] : pairs) {
        for (const std::string_view text : {key, value}) {
            addNumber(text.size());
            bytes += text;
        }
    }
    return bytes;
}

struct SchemaHolder {
    std::string format;
    std::string name;
    std::string metadata;
    Children<ArrowSchema> children;
};

ArrowSchemaOwner makeSchema(std::string format, std::string name, const Metadata& metadata,
                            bool isNullable, std::vector<ArrowSchemaOwner> children) {
    auto holder = std::make_unique<SchemaHolder>(
        SchemaHolder{std::move(format), std::move(name), encoded(metadata),
                     Children<ArrowSchema>(std::move(children))});
    ArrowSchema schema{};
    schema.format = holder->format.c_str();
    schema.name = holder->name.c_str();
    schema.metadata = holder->metadata.data();
    schema.flags = isNullable ? ARROW_FLAG_NULLABLE : 0;
    holder->children.show(schema);
    return handOver(schema, std::move(holder));
}

std::string formatOf(ResultKind kind, EntityKind entityKind, bool isLarge) {
    switch (kind) {
    case ResultKind::entity:
        if (entityKind != EntityKind::text) {
            return entityKind == EntityKind::int64 ? "l" : "L";
        }
        break;
    case ResultKind::text:
        break;
    case ResultKind::whole:
        return "l";
    case ResultKind::degrees:
    case ResultKind::metres:
    case ResultKind::hours:
        return "g";
    case ResultKind::time:
    case ResultKind::boxEnd:
        return "tsm:UTC";
    }
    return isLarge ? "U" : "u";
}

/// `isLarge` has a flag for each column: are its texts longer than 32 bits can count?
ArrowSchemaOwner makeSchema(const ResultSchema& results, EntityKind entityKind,
                            const std::vector<bool>& isLarge) {
    std::vector<ArrowSchemaOwner> children;
    for (const ResultColumn& column : results.columns) {
        children.push_back(makeSchema(formatOf(column.kind, entityKind, isLarge[children.size()]),
                                      column.name,
                                      {{"unit", column.unit}, {"description", column.description}},
                                      column.isNullable || column.kind == ResultKind::boxEnd, {}));
    }
    return makeSchema("+s", results.name,
                      {{"name", results.name}, {"description", results.description}}, false,
                      std::move(children));
}

} // namespace

namespace detail {

/// Takes the columns out of a table.
class TableExporter {
public:
    explicit TableExporter(ResultTable& table)
        : schema_(table.schema_), names_(table.names_), columns_(table.columns_.size()),
          size_(table.size_) {
        columns_.swap(table.columns_);
        table.clear();
    }

    ArrowArrayOwner takeArray() {
        std::vector<ArrowArrayOwner> children;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            children.push_back(takeColumn(std::move(columns_[i]), schema_->columns[i]));
        }
        auto holder = std::make_unique<ArrayHolder>(std::move(children));
        return finish({nullptr}, 0, std::move(holder));
    }

    /// Of each column, are its texts longer than 32 bits can count? After takeArray.
    const std::vector<bool>& isLarge() const { return isLarge_; }

private:
    using Column = ResultTable::Column;

    struct ArrayHolder {
        explicit ArrayHolder(Column theColumn) : column(std::move(theColumn)), children({}) {}
        explicit ArrayHolder(std::vector<ArrowArrayOwner> theChildren)
            : children(std::move(theChildren)) {}

        Column column;
        std::vector<const void*> buffers;
        Children<ArrowArray> children;
    };

    ArrowArrayOwner finish(std::vector<const void*> buffers, std::int64_t nullCount,
                           std::unique_ptr<ArrayHolder> holder) const {
        holder->buffers = std::move(buffers);
        ArrowArray array{};
        array.length = static_cast<std::int64_t>(size_);
        array.null_count = nullCount;
        array.n_buffers = static_cast<std::int64_t>(holder->buffers.size());
        array.buffers = holder->buffers.data();
        holder->children.show(array);
        return handOver(array, std::move(holder));
    }

    ArrowArrayOwner takeColumn(Column column, const ResultColumn& description) {
        isLarge_.push_back(false);
        const ResultKind kind = description.kind;
        const bool isText = kind == ResultKind::text ||
                            (kind == ResultKind::entity && names_->kind() == EntityKind::text);
        if (kind == ResultKind::entity) {
            nameEntities(column);
        }
        if (kind == ResultKind::boxEnd) {
            openEverlasting(column, description.isNullable);
        }
        if (isText) {
            isLarge_.back() = makeOffsets(column);
        }
        auto holder = std::make_unique<ArrayHolder>(std::move(column));
        const Column& held = holder->column;
        const void* const validity = held.validity.empty() ? nullptr : held.validity.data();
        const void* const values = held.reals.empty() ? static_cast<const void*>(held.wholes.data())
                                                      : static_cast<const void*>(held.reals.data());
        std::vector<const void*> buffers{validity, values};
        if (isText) {
            buffers.push_back(held.bytes.data());
        }
        return finish(std::move(buffers), nullCount(held), std::move(holder));
    }

    /// Puts integers in the place of numbers, or where names are texts writes these down.
    void nameEntities(Column& column) const {
        for (std::int64_t& value : column.wholes) {
            const auto number = static_cast<std::uint64_t>(value);
            if (names_->kind() == EntityKind::text) {
                const std::string_view name = names_->text(number);
                column.bytes.insert(column.bytes.end(), name.begin(), name.end());
                value = static_cast<std::int64_t>(column.bytes.size());
            } else {
                value = static_cast<std::int64_t>(names_->bits(number));
            }
        }
    }

    /// Makes null what lasts for ever.
    void openEverlasting(Column& column, bool isNullable) const {
        if (!isNullable) {
            column.validity.assign((size_ + 7) / 8, 0xFF);
        }
        for (std::size_t row = 0; row < size_; ++row) {
            if (isEver(column.wholes[row])) {
                column.validity[row / 8] =
                    static_cast<std::uint8_t>(column.validity[row / 8] & ~(1U << row % 8));
            }
        }
    }

    /// From the ends of texts the offsets, with a 0 in front; those of 32 bits in the same memory.
    static bool makeOffsets(Column& column) {
        column.wholes.insert(column.wholes.begin(), 0);
        if (column.wholes.back() > std::numeric_limits<std::int32_t>::max()) {
            return true;
        }
        void* const memory = column.wholes.data();
        auto* const narrow = static_cast<char*>(memory);
        for (std::size_t i = 0; i < column.wholes.size(); ++i) {
            const auto offset = static_cast<std::int32_t>(column.wholes[i]);
            std::memcpy(narrow + i * sizeof(offset), &offset, sizeof(offset));
        }
        return false;
    }

    std::int64_t nullCount(const Column& column) const {
        if (column.validity.empty()) {
            return 0;
        }
        const Validity validity{column.validity.data(), 0};
        std::int64_t count = 0;
        for (std::int64_t row = 0; row < static_cast<std::int64_t>(size_); ++row) {
            count += validity.has(row) ? 0 : 1;
        }
        return count;
    }

    std::shared_ptr<const ResultSchema> schema_;
    std::shared_ptr<const EntityNames> names_;
    std::vector<Column> columns_;
    std::size_t size_;
    std::vector<bool> isLarge_;
};

} // namespace detail

void exportArrow(ResultTable&& table, ArrowArray* array, ArrowSchema* schema) {
    detail::TableExporter exporter(table);
    ArrowArrayOwner exported = exporter.takeArray();
    const std::vector<bool>& isLarge = exporter.isLarge();
    if (schema != nullptr) {
        makeSchema(table.schema(), table.names().kind(), isLarge).moveTo(schema);
    } else if (std::find(isLarge.begin(), isLarge.end(), true) != isLarge.end()) {
        throw Fault(FaultCode::tooLarge, "A column of results has 2 GiB of text or more.");
    }
    exported.moveTo(array);
}

void exportArrowSchema(const ResultSchema& results, EntityKind entityKind, ArrowSchema* schema) {
    makeSchema(results, entityKind, std::vector<bool>(results.columns.size())).moveTo(schema);
}

} // namespace qorvel_engine
