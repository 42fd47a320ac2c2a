#ifndef QORVEL_PYTHON_DERIVEDCOLUMNS_H
#define QORVEL_PYTHON_DERIVEDCOLUMNS_H

#include "engine/columns/arrow_c_data.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qorvel_python {

/// What a column of real numbers is made of another one for.
enum class Part : std::uint8_t {
    x,      ///< the longitude of points
    y,      ///< the latitude of points
    number, ///< integers as they are
    hdop    ///< metres that a dilution of precision stands for
};

/// A column that is made of another one.
struct Derivation {
    std::size_t place; ///< of the other one
    Part part;
    std::string name;
};

/// Numbers with a bit each that says whether there is one.
struct RealColumn {
    std::vector<double> values;
    std::vector<unsigned char> validity;
};

/// Are these points that can be read: GeoArrow's, separated or interleaved, or WKB?
bool isPoint(const ArrowSchema& schema);

/// Are these integers?
bool isWhole(const ArrowSchema& schema);

/// The rows of `array` from its offset on. A point that cannot be read is NaN. Throws the Fault
/// `badColumn` for a type that is not read.
RealColumn deriveColumn(const ArrowSchema& schema, const ArrowArray& array, Part part);

} // namespace qorvel_python

#endif
