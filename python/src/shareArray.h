#ifndef QORVEL_PYTHON_SHAREARRAY_H
#define QORVEL_PYTHON_SHAREARRAY_H

#include "engine/columns/ArrowOwner.h"

#include <memory>
#include <string>
#include <vector>

namespace qorvel_python {

using SharedArray = std::shared_ptr<const qorvel_engine::ArrowArrayOwner>;

/// Another structure for the same buffers, which stay until the last such structure is released.
/// Throws std::bad_alloc.
qorvel_engine::ArrowArrayOwner shareArray(const SharedArray& array);

/// A column whose buffers stand in memory of its own.
struct ColumnBuffers {
    std::int64_t length = 0;
    std::int64_t nullCount = 0;
    std::vector<std::vector<char>> buffers; ///< as the type has them; one that is empty is absent
};

/// Hands the buffers on.
qorvel_engine::ArrowArrayOwner makeArray(ColumnBuffers column);

/// The same for buffers that something else keeps in memory; `kept` is given up with the array.
qorvel_engine::ArrowArrayOwner makeArray(std::int64_t length, std::int64_t nullCount,
                                         std::vector<const void*> buffers,
                                         std::shared_ptr<const void> kept);

/// A schema without children, or with those given.
qorvel_engine::ArrowSchemaOwner
makeSchema(const std::string& format, const std::string& name,
           std::vector<qorvel_engine::ArrowSchemaOwner> children = {});

/// A struct with the columns, all of that length.
qorvel_engine::ArrowArrayOwner makeStruct(std::int64_t length,
                                          std::vector<qorvel_engine::ArrowArrayOwner> columns);

} // namespace qorvel_python

#endif
