#include "program/gdal/OgrFormats.h"

namespace program {

/// For tests and fuzzers, which carry all of it in themselves.
const GdalFormats& gdalFormats() {
    static const OgrFormats formats;
    return formats;
}

} // namespace program
