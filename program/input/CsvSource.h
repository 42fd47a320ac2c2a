#ifndef QORVEL_PROGRAM_INPUT_CSVSOURCE_H
#define QORVEL_PROGRAM_INPUT_CSVSOURCE_H

#include "program/input/CsvReader.h"
#include "program/input/TextSource.h"

namespace program {

/// Rows of CSV, or of its kin with another delimiter, behind a header.
class CsvSource : public TextSource {
public:
    /// @param delimiter  none: the one that the header's fields have between them
    CsvSource(std::unique_ptr<ByteSource> bytes, const InputOptions& options,
              std::optional<char> delimiter)
        : TextSource(std::move(bytes), options), delimiter_(delimiter) {}

    bool next() override;
    std::string read(Fix& fix) override;
    std::optional<std::int64_t> readTime() override;
    std::uint64_t line() const override { return reader_->line(); }
    std::string verbatim() const override { return std::string(reader_->verbatim()); }
    bool isDrained() const override { return !reader_ || reader_->isDrained(); }
    void rewind() override;
    void takeUnended() override;
    InputPlace place() const override;
    void goTo(const InputPlace& place) override;

private:
    bool readHeader();
    bool isComplete() const { return reader_->fieldCount() == fieldCount_; }
    void readTexts();

    std::optional<char> delimiter_;
    std::optional<CsvReader> reader_; ///< none before the header
    std::size_t fieldCount_ = 0;
    std::vector<std::pair<std::size_t, std::size_t>>
        taken_; ///< of FixTexts, and of the row's fields
    FixTexts texts_;
};

} // namespace program

#endif
