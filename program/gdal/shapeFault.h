#ifndef QORVEL_PROGRAM_GDAL_SHAPEFAULT_H
#define QORVEL_PROGRAM_GDAL_SHAPEFAULT_H

#include <string>

namespace program {

/// Why a file of GDAL's text formats, GeoJSON or GPX, or a packed file of any, is not for it; empty
/// if it is. GDAL holds in memory what does not come feature by feature, so this reads the file
/// once beforehand and refuses
///  - what is packed and unpacks to more than 1 GiB;
///  - GeoJSON with a feature longer than 1 MiB, with more than 1 MiB outside of the features of a
///    collection, and with a NUL in a text, behind which GDAL would see nothing;
///  - GPX with elements nested deeper than 64, or with a document type, which could multiply it.
/// Throws Failure(broken) when it cannot be read.
std::string shapeFault(const std::string& file, const std::string& driver);

} // namespace program

#endif
