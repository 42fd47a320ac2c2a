#ifndef QORVEL_PYTHON_TABLEBUILDER_H
#define QORVEL_PYTHON_TABLEBUILDER_H

#include "src/Source.h"

#include <cstdint>
#include <memory>
#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>
#include <string>
#include <vector>

namespace qorvel_python {

/// An array of one dimension, read where it stands.
template <class Value>
using Values =
    nanobind::ndarray<const Value, nanobind::ndim<1>, nanobind::c_contig, nanobind::device::cpu>;

/// Puts a table together from arrays and sequences, none of which it copies but texts.
///
/// Every function that adds throws the Fault `badColumn` for a column of another length than those
/// before it.
class TableBuilder {
public:
    TableBuilder() = default;
    TableBuilder(const TableBuilder&) = delete;
    TableBuilder& operator=(const TableBuilder&) = delete;

    /// Numbers; one that is not a number is missing.
    void addReals(const std::string& name, const Values<double>& values);
    /// Whole numbers, or times as Arrow's `format` has them. Of times the least is missing.
    void addWholes(const std::string& name, const std::string& format,
                   const Values<std::int64_t>& values);
    void addUnsigned(const std::string& name, const Values<std::uint64_t>& values);
    /// A sequence of texts; what is none is missing.
    void addTexts(const std::string& name, const nanobind::sequence& values);
    /// What the capsules "arrow_schema" and "arrow_array" hold.
    void addArrow(const std::string& name, const nanobind::capsule& schema,
                  const nanobind::capsule& array);

    /// The table. None of it is left here.
    std::unique_ptr<Source> build();

private:
    template <class Value>
    void addNumbers(const std::string& name, const std::string& format, const Values<Value>& values,
                    std::vector<char> validity);
    void add(qorvel_engine::ArrowSchemaOwner schema, qorvel_engine::ArrowArrayOwner array);

    std::vector<qorvel_engine::ArrowSchemaOwner> schemas_;
    std::vector<qorvel_engine::ArrowArrayOwner> arrays_;
};

} // namespace qorvel_python

#endif
