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
#include <utility>

namespace program {

namespace {

constexpr std::int64_t kLongest =
    1'000'000'000; ///< ms between two states, lest the clock overflows

// What is kept, by its names in docs/state-format.md.
constexpr char kOptions[] = "options";
constexpr char kInput[] = "input"; ///< offset, line, unit of times, rows
constexpr char kInputKeys[] = "input.keys";
constexpr char kInputMark[] = "input.mark";
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

GrowingInput& growing(FixSource& source) {
    GrowingInput* const growing = source.growing();
    if (growing == nullptr) {
        throw Failure(ExitCode::usage,
                      "--state goes on with one file of CSV or NDJSON, not packed; " +
                          (source.isSeveral() ? "several files" : source.name()) +
                          " cannot be rewound to where a run ended");
    }
    return *growing;
}

using Mark = std::optional<std::vector<std::uint64_t>>;

std::vector<std::uint64_t> expectThere(const Mark& mark, const std::string& file) {
    if (!mark) {
        throw Failure(ExitCode::broken, file + " became shorter while it was in use");
    }
    return *mark;
}

} // namespace

RunState::RunState(const RunOptions& options, FixSource& source)
    : options_(options), source_(source),
      format_(growingFormat(options.output, schemaOf(options.analysis))),
      file_(options.state.file) {
    growing(source).leaveUnended();
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
    expectSameFile(kInputMark, source_.name(), growing(source_).mark(numbers(kInput, 4)[0]));
    expectSameFile(kOutputMark, out_->name(), out_->mark(number(kOutput)));
    if (rejectsOut_) {
        expectSameFile(kRejectsMark, rejectsOut_->name(),
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

void RunState::expectSameFile(const char* which, const std::string& file, const Mark& mark) const {
    if (!mark || *mark != numbers(which, mark->size())) {
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
    const std::vector<std::uint64_t>& input = numbers(kInput, 4);
    if (!filter.load(*left_) || input[2] > static_cast<std::uint64_t>(TimeUnit::nanoseconds)) {
        failDamaged("The state is damaged: a value in it is wrong.");
    }
    growing(source_).goTo({input[0], input[1], static_cast<TimeUnit>(input[2]), texts(kInputKeys)});
    rejects.goOn(numbers(kRejects, 2)[0]);
    reader.goOn(input[3]);
    out_->cutTo(number(kOutput));
    if (rejectsOut_) {
        rejectsOut_->cutTo(numbers(kRejects, 2)[1]);
    }
}

void RunState::save(Session& session, const FixFilter& filter, const Rejects& rejects,
                    const BatchReader& reader) {
    const std::uint64_t length = out_->sync();
    const std::uint64_t rejectsLength = rejectsOut_ ? rejectsOut_->sync() : 0;
    const InputPlace place = growing(source_).place();
    Checkpoint kept;
    for (const auto& [name, value] : keptOptions(options_)) {
        kept.texts[kOptions].push_back(value);
    }
    kept.numbers[kInput] = {place.offset, place.line, static_cast<std::uint64_t>(place.timeUnit),
                            reader.rowsRead()};
    kept.texts[kInputKeys] = place.keys;
    kept.numbers[kInputMark] = expectThere(growing(source_).mark(place.offset), source_.name());
    kept.numbers[kOutput] = {length};
    kept.numbers[kOutputMark] = expectThere(out_->mark(length), out_->name());
    kept.numbers[kRejects] = {rejects.count(), rejectsLength};
    if (rejectsOut_) {
        kept.numbers[kRejectsMark] =
            expectThere(rejectsOut_->mark(rejectsLength), rejectsOut_->name());
    }
    filter.save(kept);
    kept.session = session.save();
    file_.replace(kept.save());
    due_ = Clock::now() + std::chrono::milliseconds(std::min(options_.state.every, kLongest));
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
