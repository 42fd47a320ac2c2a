#ifndef QORVEL_PROGRAM_GDAL_GDALOPENING_H
#define QORVEL_PROGRAM_GDAL_GDALOPENING_H

#include <string>
#include <string_view>

class GDALDataset;

namespace program {

/// Opens an input for reading, with that driver alone. GDAL prints nothing from then on.
///
/// A file is kept from the network and from writing beside itself, and refused for what
/// sqliteFault() or shapeFault() tells.
/// @param input      a file, "-" for standard input, or a name that only the driver understands
/// @param isTrusted  the command line names the driver
/// Throws Failure(broken) when it cannot be opened, with GDAL's words if it has any, and
/// Failure(usage) for a driver that is not there. The caller closes the data set.
GDALDataset* openWithGdal(const std::string& input, const std::string& driver, bool isTrusted);

/// One sentence: what cannot be done with the input, and why in GDAL's words.
std::string gdalSentence(const std::string& input, std::string_view what, std::string words);

} // namespace program

#endif
