#ifndef QORVEL_PROGRAM_INPUT_TEXTSOURCE_H
#define QORVEL_PROGRAM_INPUT_TEXTSOURCE_H

#include "program/Failure.h"
#include "program/input/ByteSource.h"
#include "program/input/FixReader.h"
#include "program/input/FixSource.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace program {

/// What the sources of rows of text have in common.
class TextSource : public FixSource, public GrowingInput {
public:
    GrowingInput* growing() override { return bytes_->isGrowing() ? this : nullptr; }
    std::vector<std::string> fileNames() const override { return {name()}; }
    std::optional<FileMark> mark(std::size_t /*file*/, std::uint64_t length) const override {
        return bytes_->mark(length);
    }
    std::uint64_t bytesRead() const override { return bytes_->bytesRead(); }
    void leaveUnended() override { leavesUnended_ = true; }
    void takeUnended() override { leavesUnended_ = false; }
    InputPlace place() const override {
        InputPlace place;
        place.offset = from_.offset;
        place.line = from_.line;
        place.timeUnit = fixes_.timeUnit();
        place.keys = fixes_.columns().adopted();
        return place;
    }
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

    [[noreturn]] void failEmpty() const {
        throw Failure(ExitCode::broken,
                      name() + (leavesUnended_ ? " has no complete line yet" : " is empty"));
    }

    void goOn(const InputPlace& place) {
        from_ = place;
        fixes_.goOn(place.timeUnit, place.keys);
    }

    static constexpr char kCutOff[] = "the input ends in the middle of a row";

    const std::unique_ptr<ByteSource> bytes_; ///< never null
    FixReader fixes_;
    InputPlace from_; ///< where it was begun
    bool leavesUnended_ = false;
};

} // namespace program

#endif
