#ifndef QORVEL_PROGRAM_GDAL_SQLITEFAULT_H
#define QORVEL_PROGRAM_GDAL_SQLITEFAULT_H

#include <string>

namespace program {

/// Why an SQLite file, GeoPackages among them, is not to be read; empty if it is. Nothing in it is
/// run to find out, and nothing is written beside it.
///
/// Refused are files with changes that only a writer can bring in (a journal beside them), with
/// virtual tables that reach out of the file, and, unless the command line vouches for them, with
/// queries of their own: views and computed columns.
/// @param file       absolute
/// @param isTrusted  the command line names the driver
std::string sqliteFault(const std::string& file, bool isTrusted);

} // namespace program

#endif
