#include "src/shareArray.h"

#include <utility>

namespace qorvel_python {

namespace {

using qorvel_engine::ArrowArrayOwner;
using qorvel_engine::ArrowOwner;
using qorvel_engine::ArrowSchemaOwner;

/// What a structure points at, and goes with it.
template <class Structure>
struct Holder {
    std::vector<ArrowOwner<Structure>> children;
    std::vector<Structure*> pointers;
    ArrowOwner<Structure> dictionary;
    std::vector<const void*> buffers;
    std::shared_ptr<const void> kept;
    std::string format;
    std::string name;
};

template <class Structure>
ArrowOwner<Structure> handOver(Structure structure, std::unique_ptr<Holder<Structure>> holder) {
    for (ArrowOwner<Structure>& child : holder->children) {
        holder->pointers.push_back(child.get());
    }
    structure.n_children = static_cast<std::int64_t>(holder->pointers.size());
    structure.children = holder->pointers.data();
    structure.dictionary = holder->dictionary ? holder->dictionary.get() : nullptr;
    structure.private_data = holder.release();
    structure.release = [](Structure* released) {
        delete static_cast<Holder<Structure>*>(released->private_data);
        released->release = nullptr;
    };
    return ArrowOwner<Structure>(structure);
}

ArrowArrayOwner shareStructure(const ArrowArray& array, const std::shared_ptr<const void>& owner) {
    auto holder = std::make_unique<Holder<ArrowArray>>();
    holder->kept = owner;
    for (std::int64_t child = 0; child < array.n_children; ++child) {
        holder->children.push_back(shareStructure(*array.children[child], owner));
    }
    if (array.dictionary != nullptr) {
        holder->dictionary = shareStructure(*array.dictionary, owner);
    }
    return handOver(array, std::move(holder)); // the list of buffers stays the owner's
}

} // namespace

ArrowArrayOwner shareArray(const SharedArray& array) {
    return shareStructure(**array, array);
}

ArrowArrayOwner makeArray(ColumnBuffers column) {
    const auto kept =
        std::make_shared<const std::vector<std::vector<char>>>(std::move(column.buffers));
    std::vector<const void*> buffers;
    for (const std::vector<char>& buffer : *kept) {
        buffers.push_back(buffer.empty() ? nullptr : buffer.data());
    }
    return makeArray(column.length, column.nullCount, std::move(buffers), kept);
}

ArrowArrayOwner makeArray(std::int64_t length, std::int64_t nullCount,
                          std::vector<const void*> buffers, std::shared_ptr<const void> kept) {
    auto holder = std::make_unique<Holder<ArrowArray>>();
    holder->buffers = std::move(buffers);
    holder->kept = std::move(kept);
    ArrowArray array{};
    array.length = length;
    array.null_count = nullCount;
    array.n_buffers = static_cast<std::int64_t>(holder->buffers.size());
    array.buffers = holder->buffers.data();
    return handOver(array, std::move(holder));
}

ArrowSchemaOwner makeSchema(const std::string& format, const std::string& name,
                            std::vector<ArrowSchemaOwner> children) {
    auto holder = std::make_unique<Holder<ArrowSchema>>();
    holder->format = format;
    holder->name = name;
    holder->children = std::move(children);
    ArrowSchema schema{};
    schema.format = holder->format.c_str();
    schema.name = holder->name.c_str();
    schema.flags = ARROW_FLAG_NULLABLE;
    return handOver(schema, std::move(holder));
}

ArrowArrayOwner makeStruct(std::int64_t length, std::vector<ArrowArrayOwner> columns) {
    auto holder = std::make_unique<Holder<ArrowArray>>();
    holder->children = std::move(columns);
    holder->buffers = {nullptr};
    ArrowArray array{};
    array.length = length;
    array.n_buffers = 1;
    array.buffers = holder->buffers.data();
    return handOver(array, std::move(holder));
}

} // namespace qorvel_python
