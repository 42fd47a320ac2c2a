// The program's readers: bytes as CSV, TSV or NDJSON, compressed or not. The first byte chooses.

#include "law.h"
#include "memoryFile.h"
#include "tools/Failure.h"
#include "tools/input/FixSource.h"

#include <cmath>
#include <vector>

namespace {

/// All rows: what is wrong with each, or where and when it is; at last how the input ended.
std::vector<std::string> readAll(host::FixSource& source) {
    std::vector<std::string> rows;
    try {
        for (host::Fix fix; source.next();) {
            const std::string fault = source.read(fix);
            const bool isPlace = std::abs(fix.latitude) <= 90.0 && std::abs(fix.longitude) <= 180.0;
            const bool isExact = !fix.accuracyM || *fix.accuracyM >= 0.0;
            LAW(!fault.empty() || (isPlace && isExact && fix.time >= 0 && !fix.entity.empty()));
            LAW(!fault.empty() || source.readTime() == fix.time);
            LAW(source.line() > 0);
            // In what words a time is refused hangs on the unit, which a later row may tell.
            rows.push_back(source.verbatim() +
                           (fault.empty() ? fix.entity + std::to_string(fix.time) : " bad"));
        }
        rows.emplace_back("end");
    } catch (const host::Failure& failure) {
        LAW(failure.code() == host::ExitCode::broken);
        rows.emplace_back(failure.what());
    }
    return rows;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr host::InputFormat kFormats[] = {host::InputFormat::csv, host::InputFormat::tsv,
                                              host::InputFormat::ndjson};
    if (size < 2) {
        return 0;
    }
    const MemoryFile file(data + 1, size - 1);
    host::InputOptions options;
    options.file = file.name();
    options.format = kFormats[data[0] % 3];
    options.readsKeys = data[0] / 3 % 2 == 0;
    options.timeUnit = static_cast<host::TimeUnit>(data[0] / 6 % 5);
    const auto source = host::openFixSource(options);
    const std::vector<std::string> first = readAll(*source);
    LAW(source->isRepeatable());
    source->rewind();
    LAW(readAll(*source) == first);
    return 0;
}
