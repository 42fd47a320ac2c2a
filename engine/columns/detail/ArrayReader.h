#ifndef QORVEL_ENGINE_COLUMNS_DETAIL_ARRAYREADER_H
#define QORVEL_ENGINE_COLUMNS_DETAIL_ARRAYREADER_H

#include "engine/columns/RealValues.h"
#include "engine/columns/TextColumn.h"
#include "engine/columns/TimeValues.h"
#include "engine/columns/arrow_c_data.h"
#include "engine/columns/detail/ArrowType.h"

#include <string>

namespace qorvel_engine::detail {

/// Rows of a table that are read: `count` of them, from `first` on.
struct Rows {
    std::int64_t first;
    std::int64_t count;
};

/// Throws the Fault `badColumn` with a sentence that begins with the column.
[[noreturn]] void refuse(const std::string& column, const std::string& what);

/// Reads one of Arrow's arrays in place, after a look at everything about it that can be seen to be
/// wrong. All that a reader gives out lies within the buffers as lengths and offsets declare them.
class ArrayReader {
public:
    /// Checks what arrays of all types have. The column's name is for faults, and must stay.
    ArrayReader(const ArrowArray& array, ArrowType type, const std::string& column);

    /// A struct's rows, and which of them are there.
    Rows tableRows() const { return {array_.offset, array_.length}; }
    Validity tableValidity() const { return {validity(), array_.offset}; }
    /// A struct's child.
    const ArrowArray& child(std::int64_t place) const;

    /// The rows of a struct's child, of the type that the reader was made for.
    WholeValues wholes(Rows rows) const;
    RealValues reals(Rows rows) const;
    TimeValues times(Rows rows) const;
    /// The same; `dictionaryType` is `none` for texts that stand in their rows.
    TextColumn texts(Rows rows, ArrowType dictionaryType) const;

private:
    void checkCounts() const;
    void checkPointers() const;
    void expect(bool holds, const char* what) const;
    std::int64_t expectedBuffers() const;
    const void* validity() const { return array_.n_buffers > 0 ? array_.buffers[0] : nullptr; }
    const void* buffer(std::int64_t number) const { return array_.buffers[number]; }

    std::int64_t start(Rows rows) const;
    TextValues plainTexts(Rows rows) const;
    template <class Offset>
    TextValues textsByOffsets(Rows rows) const;
    TextValues textsByViews(Rows rows) const;
    TextColumn textsByIndex(Rows rows, ArrowType dictionaryType) const;

    const ArrowArray& array_;
    const ArrowType type_;
    const std::string& column_;
};

} // namespace qorvel_engine::detail

#endif
