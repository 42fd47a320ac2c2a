#ifndef QORVEL_ENGINE_RUN_DETAIL_TABLESTREAM_H
#define QORVEL_ENGINE_RUN_DETAIL_TABLESTREAM_H

#include "engine/columns/arrow_c_data.h"

#include <memory>

namespace qorvel_engine::detail {

/// Where the tables of an Arrow stream come from.
class TableSource {
public:
    TableSource() = default;
    TableSource(const TableSource&) = delete;
    TableSource& operator=(const TableSource&) = delete;
    virtual ~TableSource() = default;

    /// The schema of all tables.
    virtual void writeSchema(ArrowSchema* out) = 0;

    /// The next table, or nothing.
    virtual void writeNext(ArrowArray* out) = 0;
};

/// Writes a stream whose functions turn what the source throws into numbers of errno.
void writeStream(std::unique_ptr<TableSource> source, ArrowArrayStream* out);

} // namespace qorvel_engine::detail

#endif
