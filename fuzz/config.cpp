// The program's configuration: whatever the file holds is either refused in words or works.

#include "engine/columns/Fault.h"
#include "engine/setup/Tables.h"
#include "law.h"
#include "memoryFile.h"
#include "program/engineNames.h"

#include <algorithm>

namespace {

void judge(const program::Config& config, program::ProcessorKind use) {
    const auto faults = program::checkConfig(config, use);
    const bool hasError =
        std::any_of(faults.begin(), faults.end(),
                    [](const program::ConfigFault& fault) { return fault.isError; });
    for (const program::ConfigFault& fault : faults) {
        LAW(!fault.sentence.empty());
    }
    try {
        const program::Tables library(config, use);
        LAW(!hasError);
        const MotionProcessor processor = qorvel_engine::makeProcessor(library);
        std::stringstream tags;
        LAW(processor.isValid(tags) && tags.str().empty());
    } catch (const program::Fault& fault) {
        LAW(hasError && fault.code() == program::FaultCode::badConfiguration);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const MemoryFile file(data, size);
    program::Config config;
    try {
        config = program::readConfig(file.name());
    } catch (const program::Fault& fault) {
        LAW(fault.code() == program::FaultCode::badConfiguration && fault.what()[0] != '\0');
        return 0;
    }
    for (const program::ProcessorKind use :
         {program::ProcessorKind::boxes, program::ProcessorKind::presence,
          program::ProcessorKind::hangouts}) {
        judge(config, use);
    }
    return 0;
}
