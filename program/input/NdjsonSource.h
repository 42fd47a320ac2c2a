#ifndef QORVEL_PROGRAM_INPUT_NDJSONSOURCE_H
#define QORVEL_PROGRAM_INPUT_NDJSONSOURCE_H

#include "program/input/LineBuffer.h"
#include "program/input/TextSource.h"

#include <memory>

namespace program {

/// One JSON object a line; numbers may also be texts. The first object stands for a header: it
/// must have all keys that are needed or that options name. Others may come later.
class NdjsonSource : public TextSource {
public:
    NdjsonSource(std::unique_ptr<ByteSource> bytes, const InputOptions& options);
    ~NdjsonSource() override;

    bool next() override;
    std::string read(Fix& fix) override;
    std::optional<std::int64_t> readTime() override;
    std::uint64_t line() const override { return lines_->rowLine(); }
    std::string verbatim() const override { return std::string(row_); }
    bool isDrained() const override { return !lines_ || !lines_->hasLine(); }
    void rewind() override;
    InputPlace place() const override;
    void goTo(const InputPlace& place) override;

private:
    struct Parser; ///< keeps the JSON library out of here

    bool takeRow();
    std::string_view takeLine();
    void learnKeys();
    const std::string& fault();

    std::optional<LineBuffer> lines_; ///< none before the first row
    bool anyRow_ = false;
    std::string_view row_;
    bool hasEnded_ = false;  ///< all of the input has been read, if not taken
    bool isUnended_ = false; ///< the current row, by a line end
    bool isParsed_ = false;  ///< the current row
    std::unique_ptr<Parser> parser_;
};

} // namespace program

#endif
