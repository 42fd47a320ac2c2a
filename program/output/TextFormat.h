#ifndef QORVEL_PROGRAM_OUTPUT_TEXTFORMAT_H
#define QORVEL_PROGRAM_OUTPUT_TEXTFORMAT_H

#include "engine/run/Renderer.h"
#include "program/engineNames.h"

#include <string>
#include <string_view>

namespace program {

/// How results become text: a head, rows, an end.
class TextFormat : public Renderer {
public:
    virtual std::string head() const { return {}; }
    virtual std::string_view end() const { return {}; }

    /// What every row begins with and the first one must not: which that is, is known only when
    /// rows are written.
    virtual std::string_view separator() const { return {}; }
};

} // namespace program

#endif
