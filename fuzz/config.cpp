// The program's configuration: whatever the file holds is either refused in words or works.

#include "law.h"
#include "memoryFile.h"
#include "tools/Failure.h"
#include "tools/setup/Library.h"

#include <algorithm>

namespace {

void judge(const host::Config& config, host::Use use) {
    const auto faults = host::checkConfig(config, use);
    const bool hasError = std::any_of(faults.begin(), faults.end(),
                                      [](const host::ConfigFault& fault) { return fault.isError; });
    for (const host::ConfigFault& fault : faults) {
        LAW(!fault.sentence.empty());
    }
    try {
        const host::Library library(config, use);
        LAW(!hasError);
        const MotionProcessor processor = library.makeProcessor();
        std::stringstream tags;
        LAW(processor.isValid(tags) && tags.str().empty());
    } catch (const host::Failure& failure) {
        LAW(hasError && failure.code() == host::ExitCode::usage);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const MemoryFile file(data, size);
    host::Config config;
    try {
        config = host::readConfig(file.name());
    } catch (const host::Failure& failure) {
        LAW(failure.code() == host::ExitCode::usage && failure.what()[0] != '\0');
        return 0;
    }
    for (const host::Use use : {host::Use::boxes, host::Use::presence, host::Use::hangouts}) {
        judge(config, use);
    }
    return 0;
}
