#ifndef QORVEL_PYTHON_SOURCE_H
#define QORVEL_PYTHON_SOURCE_H

#include "engine/columns/ArrowOwner.h"
#include "engine/columns/ObservationSchema.h"
#include "src/derivedColumns.h"

#include <cstdint>
#include <memory>
#include <nanobind/nanobind.h>
#include <optional>
#include <string>
#include <vector>

namespace qorvel_python {

/// A batch as it came, with the columns that were made of others; read in place.
class InputBatch {
public:
    /// Throws the Fault `badColumn` for a batch that is not of the schema.
    InputBatch(qorvel_engine::ArrowArrayOwner array, const ArrowSchema& schema,
               const std::vector<Derivation>& derivations);

    std::int64_t size() const { return view_.length; }

    /// The most entries that a dictionary of one of the columns has.
    std::int64_t longestDictionary() const;

    /// Some of the rows, as a structure that this batch keeps owning.
    ArrowArray slice(std::int64_t from, std::int64_t size) const;

private:
    void derive(const ArrowSchema& schema, const std::vector<Derivation>& derivations);

    qorvel_engine::ArrowArrayOwner array_;
    ArrowArray view_{};
    std::vector<ArrowArray> columns_;
    std::vector<ArrowArray*> pointers_;
    std::vector<RealColumn> derived_;
    std::vector<unsigned char> rows_; ///< the bits that say which rows there are, from the first on
    std::vector<const void*> buffers_;
};

/// A table of Python's, batch by batch.
class Source {
public:
    /// Takes over what a capsule "arrow_array_stream" holds.
    explicit Source(const nanobind::capsule& stream);
    /// The same for a table in one piece.
    Source(const nanobind::capsule& schema, const nanobind::capsule& array);
    Source(qorvel_engine::ArrowSchemaOwner schema, qorvel_engine::ArrowArrayOwner array);
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    /// Of each column its name, its type as Arrow writes it, and the name and the metadata of its
    /// extension, if it has one.
    nanobind::list columns() const;

    /// Which column is what, by the names of the fields: "entity", "lat", "lon", "time",
    /// "accuracy", "primary_key", "secondary_key"; "point" in place of a latitude and a longitude;
    /// "hdop" in place of an accuracy.
    void choose(const nanobind::dict& columns);

    /// The columns of all batches.
    const qorvel_engine::ObservationSchema& observations() const;

    /// The next batch; none after the last. The lock of Python's need not be held.
    std::shared_ptr<const InputBatch> next();

private:
    qorvel_engine::ArrowSchemaOwner schema_;
    qorvel_engine::ArrowStreamOwner stream_;
    qorvel_engine::ArrowArrayOwner array_;
    std::vector<Derivation> derivations_;
    std::optional<qorvel_engine::ObservationSchema> observations_;
};

} // namespace qorvel_python

#endif
