// The program's readers: bytes as CSV, TSV or NDJSON, compressed or not. The first byte chooses.

#include "law.h"
#include "memoryFile.h"
#include "program/Failure.h"
#include "program/input/FixBatch.h"
#include "program/input/FixSource.h"

#include <vector>

namespace {

/// All rows: what is wrong with each, or where and when it is; at last how the input ended.
std::vector<std::string> readAll(program::FixSource& source) {
    std::vector<std::string> rows;
    try {
        for (program::Fix fix; source.next();) {
            const std::string fault = source.read(fix);
            program::FixBatch batch;
            batch.append(fix);
            // What is read without a fault, the engine takes: one list has all bad rows.
            LAW(!fault.empty() || batch.observations().check(0) == qorvel_engine::RowReason::none);
            LAW(!fault.empty() || source.readTime() == fix.time);
            LAW(source.line() > 0);
            // In what words a time is refused hangs on the unit, which a later row may tell.
            rows.push_back(source.verbatim() +
                           (fault.empty() ? fix.entity + std::to_string(fix.time) : " bad"));
        }
        rows.emplace_back("end");
    } catch (const program::Failure& failure) {
        LAW(failure.code() == program::ExitCode::broken);
        rows.emplace_back(failure.what());
    }
    return rows;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr program::InputFormat kFormats[] = {
        program::InputFormat::csv, program::InputFormat::tsv, program::InputFormat::ndjson};
    if (size < 2) {
        return 0;
    }
    const MemoryFile file(data + 1, size - 1);
    program::InputOptions options;
    options.file = file.name();
    options.format = kFormats[data[0] % 3];
    options.readsKeys = data[0] / 3 % 2 == 0;
    options.timeUnit = static_cast<program::TimeUnit>(data[0] / 6 % 5);
    const auto source = program::openFixSource(options);
    const std::vector<std::string> first = readAll(*source);
    LAW(source->isRepeatable());
    source->rewind();
    LAW(readAll(*source) == first);
    return 0;
}
