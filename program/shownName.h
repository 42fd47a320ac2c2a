#ifndef QORVEL_PROGRAM_SHOWNNAME_H
#define QORVEL_PROGRAM_SHOWNNAME_H

#include <string>

namespace program {

/// A text as it may be shown, which a database's name stands in: with "***" for each password, as
/// in "PG:host=h password=x" and "postgresql://user:x@h".
std::string shownName(const std::string& text);

/// Is it the name of a database of PostgreSQL and not of a file?
bool isPostgres(const std::string& name);

/// Is it an address whose password may be read in two ways? Who reads it in the other tells a part
/// of the password as a host or a port that is not there.
bool isAmbiguousAddress(const std::string& name);

} // namespace program

#endif
