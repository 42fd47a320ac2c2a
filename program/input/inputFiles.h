#ifndef QORVEL_PROGRAM_INPUT_INPUTFILES_H
#define QORVEL_PROGRAM_INPUT_INPUTFILES_H

#include "program/input/InputOptions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace program {

/// What is to be read, and what is not, though it lies in a folder that is.
struct InputFiles {
    std::vector<std::string> names;
    std::uint64_t withoutFormat = 0; ///< files whose names tell none
    std::uint64_t linkedFolders = 0; ///< links, which might lead round in circles
};

/// What the names of an input stand for, in their order: "-" and databases themselves, as do files;
/// a pattern (*, ?, [abc]) the files that fit it; a folder all files in it and below whose names
/// tell a format, links to folders and what begins with "." or "_" left out. Patterns and folders
/// in the order of their names. A folder is left to a driver that the options name.
/// Throws Failure(broken) for a pattern or folder without a file, and for one with more than a
/// million.
InputFiles inputFiles(const InputOptions& options);

/// Does the name tell what is inside: .csv, .ndjson, .gpx and the like, also in front of .gz?
bool tellsFormat(const std::string& file);

} // namespace program

#endif
