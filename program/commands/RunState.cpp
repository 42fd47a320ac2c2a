#include "program/commands/RunState.h"

#include "engine/columns/Fault.h"
#include "engine/run/Session.h"
#include "program/Failure.h"
#include "program/commands/BatchReader.h"
#include "program/commands/Rejects.h"
#include "program/commands/keptOptions.h"
#include "program/fileName.h"
#include "program/input/FixFilter.h"
#include "program/input/FixSource.h"
#include "program/output/TextFile.h"
#include "program/output/growingFormat.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

namespace program {

namespace {

constexpr std::int64_t kLongest =
    1'000'000'000; ///< ms between two states, lest the clock overflows

constexpr char kWrongValue[] = "The state is damaged: a value in it is wrong.";

// What is kept, by its names in docs/state-format.md.
constexpr char kOptions[] = "options";
constexpr char kInput[] = "input"; ///< offset, line, unit of times, rows
constexpr char kInputKeys[] = "input.keys";
constexpr char kInputMark[] = "input.mark";
constexpr char kInputFiles[] = "input.files"; ///< see InputPlace
constexpr char kInputWhole[] = "input.whole";
constexpr char kOutput[] = "output"; ///< length
constexpr char kOutputMark[] = "output.mark";
constexpr char kRejects[] = "rejects"; ///< how many, and the length of their file
constexpr char kRejectsMark[] = "rejects.mark";

/// Writes results behind those that stand in a file, which after a failure stays as it is.
class GrowingWriter : public ResultWriter {
public:
    GrowingWriter(std::shared_ptr<GrowingFile> file, std::shared_ptr<const TextFormat> format)
        : file_(std::move(file)), format_(std::move(format)) {}

    std::shared_ptr<const Renderer> renderer() const override { return format_; }
    void write(const ResultBatch& results) override { file_->write(results.text); }
    void flush() override {}
    void finish() override { file_->finish(); }
    std::string abandon() noexcept override { return {}; }

private:
    std::shared_ptr<GrowingFile> file_;
    std::shared_ptr<const TextFormat> format_;
};

} // namespace

RunState::RunState(const RunOptions& options, FixSource& source)
    : options_(options), source_(source),
      format_(growingFormat(options.output, schemaOf(options.analysis))),
      file_(options.state.file) {
    growingInput(source).leaveUnended();
    if (!options.rejectsFile.empty() &&
        (isWrittenDirectly(options.rejectsFile) || isPacked(options.rejectsFile))) {
        throw Failure(ExitCode::usage, "with --state the bad rows go into a file that grows: "
                                       "--rejects NAME.csv, not packed");
    }
    out_ = std::make_shared<GrowingFile>(options.output.file);
    if (!options.rejectsFile.empty()) {
        rejectsOut_ = std::make_shared<GrowingFile>(options.rejectsFile);
    }
    open();
}

std::unique_ptr<ResultWriter> RunState::makeWriter() const {
    return std::make_unique<GrowingWriter>(out_, format_);
}

/// After the output is this run's alone, and so the state.
void RunState::open() {
    const std::optional<std::string> bytes = file_.read();
    if (!bytes) {
        expectFresh(*out_);
        if (rejectsOut_) {
            expectFresh(*rejectsOut_);
        }
        return;
    }
    left_ = load(*bytes);
    expectSameOptions(options_);
    expectSameInput();
    expectSameFile(numbers(kOutputMark, 2), out_->name(), out_->mark(number(kOutput)));
    if (rejectsOut_) {
        expectSameFile(numbers(kRejectsMark, 2), rejectsOut_->name(),
                       rejectsOut_->mark(numbers(kRejects, 2)[1]));
    }
}

Checkpoint RunState::load(const std::string& bytes) const {
    try {
        return Checkpoint::load(bytes);
    } catch (const Fault& fault) {
        failDamaged(fault.what());
    }
}

void RunState::expectSameOptions(const RunOptions& options) const {
    const std::vector<std::string> before = texts(kOptions);
    const auto now = keptOptions(options);
    if (before.size() != now.size()) {
        failDamaged("The state is of another version.");
    }
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (before[i] != now[i].second) {
            throw Failure(ExitCode::usage,
                          file_.name() + " is the state of a run with another " + now[i].first +
                              ": go on with the same options, or begin with another --state and "
                              "another --out");
        }
    }
}

/// New files may have come, behind those that were read.
void RunState::expectSameInput() const {
    const GrowingInput& input = growingInput(source_);
    const InputPlace place = placeLeft();
    const std::vector<std::string> names = input.fileNames();
    expectSameNames(place.files, names);
    for (std::size_t i = 0; i < place.file(); ++i) {
        const auto whole =
            place.whole.begin() + static_cast<std::ptrdiff_t>(i * InputPlace::kWhole);
        expectSameFile(FileMark(whole + 1, whole + InputPlace::kWhole), names[i],
                       input.mark(i, *whole));
        if (std::error_code error; std::filesystem::file_size(names[i], error) != *whole) {
            throw Failure(ExitCode::broken,
                          names[i] +
                              " has grown since it was read to its end, and the run whose "
                              "state is in " +
                              file_.name() +
                              " went on with other files: add new rows to the last file or in a "
                              "new one, or begin with another --state and another --out");
        }
    }
    expectSameFile(numbers(kInputMark, 2), names[place.file()],
                   input.mark(place.file(), place.offset));
}

void RunState::expectSameNames(const std::vector<std::string>& before,
                               const std::vector<std::string>& now) const {
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (i >= now.size() || before[i] != now[i]) {
            throw Failure(ExitCode::usage,
                          before[i] + " was number " + std::to_string(i + 1) +
                              " of the files that the run read whose state is in " + file_.name() +
                              ", and now " + (i < now.size() ? now[i] : "none") +
                              " is: name the same files in the same order and new ones behind "
                              "them, or begin with another --state and another --out");
        }
    }
    if (rejectsOut_ && before.empty() == source_.isSeveral()) {
        throw Failure(ExitCode::usage,
                      rejectsOut_->name() + " was begun for " +
                          (before.empty() ? "one file" : "several files") +
                          ", and bad rows of several have the name of their file in front: begin "
                          "with another --state and another --out");
    }
}

void RunState::expectSameFile(const FileMark& before, const std::string& file,
                              const std::optional<FileMark>& mark) const {
    if (mark != before) {
        throw Failure(ExitCode::broken,
                      file + (mark ? " is another file than" : " is shorter than it was for") +
                          " the run whose state is in " + file_.name() +
                          ": put the right one there, or begin with another --state and another "
                          "--out");
    }
}

/// Nobody's results are written over because the name of the state was mistyped.
void RunState::expectFresh(const GrowingFile& file) const {
    if (!file.isEmpty()) {
        throw Failure(ExitCode::usage, file.name() + " is there already, and there is no state " +
                                           file_.name() +
                                           " to go on with it: remove it, or name another file");
    }
}

void RunState::begin(Session& session, FixFilter& filter, Rejects& rejects, BatchReader& reader) {
    const bool isNew = !left_ || number(kOutput) == 0;
    if (left_) {
        goOn(session, filter, rejects, reader);
    } else {
        save(session, filter, rejects, reader); // before anything stands in the output
    }
    if (isNew) {
        out_->write(format_->head());
    }
    if (!left_ || numbers(kRejects, 2)[1] == 0) {
        rejects.begin();
    }
    left_.reset();
}

void RunState::goOn(Session& session, FixFilter& filter, Rejects& rejects, BatchReader& reader) {
    try {
        session.load(left_->session);
    } catch (const Fault& fault) {
        throw Failure(ExitCode::usage, file_.name() + ": " + fault.what());
    }
    if (!filter.load(*left_)) {
        failDamaged(kWrongValue);
    }
    growingInput(source_).goTo(placeLeft());
    rejects.goOn(numbers(kRejects, 2)[0]);
    reader.goOn(numbers(kInput, 4)[3]);
    out_->cutTo(number(kOutput));
    if (rejectsOut_) {
        rejectsOut_->cutTo(numbers(kRejects, 2)[1]);
    }
}

void RunState::save(Session& session, const FixFilter& filter, const Rejects& rejects,
                    const BatchReader& reader) {
    const std::uint64_t length = out_->sync();
    const std::uint64_t rejectsLength = rejectsOut_ ? rejectsOut_->sync() : 0;
    const InputPlace place = growingInput(source_).place();
    Checkpoint kept;
    for (const auto& [name, value] : keptOptions(options_)) {
        kept.texts[kOptions].push_back(value);
    }
    kept.numbers[kInput] = {place.offset, place.line, static_cast<std::uint64_t>(place.timeUnit),
                            reader.rowsRead()};
    kept.texts[kInputKeys] = place.keys;
    kept.numbers[kInputMark] =
        expectMark(growingInput(source_).mark(place.file(), place.offset), source_.name());
    if (!place.files.empty()) {
        kept.texts[kInputFiles] = place.files;
        kept.numbers[kInputWhole] = place.whole;
    }
    kept.numbers[kOutput] = {length};
    kept.numbers[kOutputMark] = expectMark(out_->mark(length), out_->name());
    kept.numbers[kRejects] = {rejects.count(), rejectsLength};
    if (rejectsOut_) {
        kept.numbers[kRejectsMark] =
            expectMark(rejectsOut_->mark(rejectsLength), rejectsOut_->name());
    }
    filter.save(kept);
    kept.session = session.save();
    file_.replace(kept.save());
    due_ = Clock::now() + std::chrono::milliseconds(std::min(options_.state.every, kLongest));
}

InputPlace RunState::placeLeft() const {
    const std::vector<std::uint64_t>& input = numbers(kInput, 4);
    InputPlace place;
    place.offset = input[0];
    place.line = input[1];
    place.timeUnit = static_cast<TimeUnit>(input[2]);
    place.keys = texts(kInputKeys);
    place.files = texts(kInputFiles);
    if (!place.files.empty()) {
        place.whole = numbers(kInputWhole, place.file() * InputPlace::kWhole);
    }
    if (input[2] > static_cast<std::uint64_t>(TimeUnit::nanoseconds)) {
        failDamaged(kWrongValue);
    }
    return place;
}

std::uint64_t RunState::number(const std::string& name) const {
    return numbers(name, 1).front();
}

const std::vector<std::uint64_t>& RunState::numbers(const std::string& name,
                                                    std::size_t count) const {
    const auto found = left_->numbers.find(name);
    if (found == left_->numbers.end() || found->second.size() != count) {
        failDamaged("The state is that of something else.");
    }
    return found->second;
}

std::vector<std::string> RunState::texts(const std::string& name) const {
    const auto found = left_->texts.find(name);
    return found == left_->texts.end() ? std::vector<std::string>() : found->second;
}

void RunState::failDamaged(const std::string& sentence) const {
    std::string words = file_.name() + ": " + sentence;
    if (isThere(file_.previousName())) {
        words += " The one before it is kept: copy " + file_.previousName() + " to " +
                 file_.name() + " and start the same command again, which loses nothing";
    }
    throw Failure(ExitCode::broken, words);
}

} // namespace program
