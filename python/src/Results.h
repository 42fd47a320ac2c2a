#ifndef QORVEL_PYTHON_RESULTS_H
#define QORVEL_PYTHON_RESULTS_H

#include "engine/columns/EntityNames.h"
#include "engine/columns/ResultTable.h"
#include "src/shareArray.h"

#include <cstddef>
#include <memory>
#include <nanobind/nanobind.h>
#include <string>
#include <vector>

namespace qorvel_python {

/// A table of results. It may be handed on as often as one likes, without a copy.
class Results {
public:
    /// None yet.
    Results(std::shared_ptr<const qorvel_engine::ResultSchema> schema,
            qorvel_engine::EntityKind kind);

    /// Appends rows of the same schema.
    void add(qorvel_engine::ResultTable&& table);

    /// How many rows there are.
    std::size_t size() const { return size_; }

    /// The name of the results, such as "stays".
    std::string name() const { return schema_->name; }

    /// The names of the columns.
    std::vector<std::string> columnNames() const;

    /// A fresh stream of all rows, as a capsule.
    nanobind::object stream() const;

    /// Up to so many of the first rows, a tuple each.
    nanobind::list head(std::size_t count) const;

    /// The page that shows all rows on a map, in UTF-8. `compress` is what zlib.compress is;
    /// `tiles` is an address that isTileAddress takes, or empty. Throws the Fault `misuse` for
    /// another, and `tooLarge` for more rows than a page takes.
    nanobind::bytes page(const nanobind::callable& compress, const std::string& tiles) const;

private:
    std::shared_ptr<const qorvel_engine::ResultSchema> schema_;
    qorvel_engine::EntityKind kind_;
    std::vector<SharedArray> batches_;
    std::size_t size_ = 0;
};

} // namespace qorvel_python

#endif
