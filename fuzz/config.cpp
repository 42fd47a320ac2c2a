// The program's configuration: whatever the file holds is either refused in words or works.

#include "engine/columns/Fault.h"
#include "law.h"
#include "memoryFile.h"
#include "tools/setup/engineNames.h"
#include "tools/setup/makeProcessor.h"

#include <algorithm>

namespace {

void judge(const host::Config& config, host::ProcessorKind use) {
    const auto faults = host::checkConfig(config, use);
    const bool hasError = std::any_of(faults.begin(), faults.end(),
                                      [](const host::ConfigFault& fault) { return fault.isError; });
    for (const host::ConfigFault& fault : faults) {
        LAW(!fault.sentence.empty());
    }
    try {
        const host::Tables library(config, use);
        LAW(!hasError);
        const MotionProcessor processor = host::makeProcessor(library);
        std::stringstream tags;
        LAW(processor.isValid(tags) && tags.str().empty());
    } catch (const host::Fault& fault) {
        LAW(hasError && fault.code() == host::FaultCode::badConfiguration);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const MemoryFile file(data, size);
    host::Config config;
    try {
        config = host::readConfig(file.name());
    } catch (const host::Fault& fault) {
        LAW(fault.code() == host::FaultCode::badConfiguration && fault.what()[0] != '\0');
        return 0;
    }
    for (const host::ProcessorKind use : {host::ProcessorKind::boxes, host::ProcessorKind::presence,
                                          host::ProcessorKind::hangouts}) {
        judge(config, use);
    }
    return 0;
}
