#ifndef QORVEL_PROGRAM_INPUT_TEXTSOURCE_H
#define QORVEL_PROGRAM_INPUT_TEXTSOURCE_H

#include "program/Failure.h"
#include "program/input/ByteSource.h"
#include "program/input/FixReader.h"
#include "program/input/FixSource.h"

namespace program {

/// What the sources of rows of text have in common.
class TextSource : public FixSource {
public:
    bool isRepeatable() const override { return bytes_.isRepeatable(); }
    std::optional<double> shareRead() const override { return bytes_.shareRead(); }
    const std::string& name() const override { return bytes_.name(); }
    std::vector<std::string> remarks() const override { return fixes_.remarks(); }

    void rewind() override {
        bytes_.rewind();
        fixes_.restart();
    }

protected:
    explicit TextSource(const InputOptions& options) : bytes_(options.file), fixes_(options) {}

    [[noreturn]] void failEmpty() const { throw Failure(ExitCode::broken, name() + " is empty"); }

    static constexpr char kCutOff[] = "the input ends in the middle of a row";

    ByteSource bytes_;
    FixReader fixes_;
};

} // namespace program

#endif
