#ifndef QORVEL_PROGRAM_INPUT_TEXTSOURCE_H
#define QORVEL_PROGRAM_INPUT_TEXTSOURCE_H

#include "program/Failure.h"
#include "program/input/ByteSource.h"
#include "program/input/FixReader.h"
#include "program/input/FixSource.h"

#include <memory>
#include <utility>

namespace program {

/// What the sources of rows of text have in common.
class TextSource : public FixSource {
public:
    bool isRepeatable() const override { return bytes_->isRepeatable(); }
    std::optional<double> shareRead() const override { return bytes_->shareRead(); }
    const std::string& name() const override { return bytes_->name(); }
    Assumed assumed() const override { return fixes_.assumed(); }

    void rewind() override {
        bytes_->rewind();
        fixes_.restart();
    }

protected:
    TextSource(std::unique_ptr<ByteSource> bytes, const InputOptions& options)
        : bytes_(std::move(bytes)), fixes_(options) {}

    [[noreturn]] void failEmpty() const { throw Failure(ExitCode::broken, name() + " is empty"); }

    static constexpr char kCutOff[] = "the input ends in the middle of a row";

    const std::unique_ptr<ByteSource> bytes_; ///< never null
    FixReader fixes_;
};

} // namespace program

#endif
