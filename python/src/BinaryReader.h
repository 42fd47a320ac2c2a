#ifndef QORVEL_PYTHON_BINARYREADER_H
#define QORVEL_PYTHON_BINARYREADER_H

#include "engine/columns/arrow_c_data.h"

#include <cstdint>
#include <string_view>

namespace qorvel_python {

/// A column of texts or of bytes, read in place: utf8 or binary, large ones, and views.
class BinaryReader {
public:
    /// Throws the Fault `badColumn` for a type that is not read. Both structures stay as long as
    /// this.
    BinaryReader(const ArrowSchema& schema, const ArrowArray& array);

    /// Is that a type that is read?
    static bool reads(const ArrowSchema& schema);

    /// What is in a place counted from the start of the buffers. Throws the Fault `badColumn` for a
    /// contradiction.
    std::string_view at(std::int64_t place) const;

private:
    enum class Layout : std::uint8_t { offsets32, offsets64, views };

    template <class Offset>
    std::string_view between(std::int64_t place) const;
    std::string_view viewed(std::int64_t place) const;

    const ArrowSchema& schema_;
    const ArrowArray& array_;
    Layout layout_;
};

/// Throws the Fault `badColumn` that names the column.
void expectColumn(bool holds, const ArrowSchema& schema);

} // namespace qorvel_python

#endif
