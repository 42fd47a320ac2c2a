#ifndef QORVEL_PROGRAM_INPUT_FILEKIND_H
#define QORVEL_PROGRAM_INPUT_FILEKIND_H

#include <string_view>

namespace program {

/// What no text begins like that is read here, told by its first bytes.
struct FileKind {
    std::string_view magic;
    const char* sentence; ///< what it is, and what to do: goes on from "FILE is "
};

/// The kind of a file that begins so; null for what may be a text of rows.
const FileKind* fileKindOf(std::string_view begin);

/// Whether more bytes could make it one of the kinds.
bool mayBecomeFileKind(std::string_view begin);

} // namespace program

#endif
