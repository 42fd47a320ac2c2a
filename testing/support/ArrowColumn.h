#ifndef QORVEL_TESTING_SUPPORT_ARROWCOLUMN_H
#define QORVEL_TESTING_SUPPORT_ARROWCOLUMN_H

#include "engine/columns/arrow_c_data.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A column or a table in Arrow's structures, which a test may falsify. Each buffer is a block of
/// its own, exactly as long as what is in it, and not aligned: a sanitizer sees what is read
/// beyond.
struct ArrowColumn {
    ArrowColumn(std::string theFormat, std::string theName)
        : format(std::move(theFormat)), name(std::move(theName)) {}

    void addBuffer(const void* bytes, std::size_t size) {
        memory.push_back(std::make_unique<char[]>(size + 1));
        char* const place = memory.back().get() + 1;
        if (size > 0) {
            std::memcpy(place, bytes, size);
        }
        buffers.push_back(place);
    }
    template <class Value>
    void addBuffer(const std::vector<Value>& values) {
        addBuffer(values.data(), values.size() * sizeof(Value));
    }

    /// Makes the structures say what was put together. To be called again after a change.
    void show() {
        schema.format = format.c_str();
        schema.name = name.c_str();
        schema.release = [](ArrowSchema* released) { released->release = nullptr; };
        array.release = [](ArrowArray* released) { released->release = nullptr; };
        array.n_buffers = static_cast<std::int64_t>(buffers.size());
        array.buffers = buffers.data();
        schemas.clear();
        arrays.clear();
        for (const auto& child : children) {
            schemas.push_back(&child->schema);
            arrays.push_back(&child->array);
        }
        schema.n_children = array.n_children = static_cast<std::int64_t>(children.size());
        schema.children = schemas.data();
        array.children = arrays.data();
        schema.dictionary = dictionary == nullptr ? nullptr : &dictionary->schema;
        array.dictionary = dictionary == nullptr ? nullptr : &dictionary->array;
    }

    std::string format;
    std::string name;
    ArrowSchema schema{};
    ArrowArray array{};
    std::vector<std::unique_ptr<char[]>> memory;
    std::vector<const void*> buffers;
    std::vector<std::unique_ptr<ArrowColumn>> children;
    std::unique_ptr<ArrowColumn> dictionary;
    std::vector<ArrowSchema*> schemas;
    std::vector<ArrowArray*> arrays;
};

#endif
