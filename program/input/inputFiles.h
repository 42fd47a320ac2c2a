#ifndef QORVEL_PROGRAM_INPUT_INPUTFILES_H
#define QORVEL_PROGRAM_INPUT_INPUTFILES_H

#include "program/input/InputOptions.h"

#include <string>
#include <vector>

namespace program {

/// What the names of an input stand for, in their order: "-" and databases themselves, as do files;
/// a pattern (*, ?, [abc]) the files that fit it; a folder all files in it and below whose names
/// tell a format, links to folders and what begins with "." or "_" left out. Patterns and folders
/// in the order of their names. A folder is left to a driver that the options name.
/// Throws Failure(broken) for a pattern or folder without a file, and for one with more than a
/// million.
std::vector<std::string> inputFiles(const InputOptions& options);

/// Does the name tell what is inside: .csv, .ndjson, .gpx and the like, also in front of .gz?
bool tellsFormat(const std::string& file);

} // namespace program

#endif
