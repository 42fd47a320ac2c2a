#include "engine/setup/Config.h"

#include "engine/columns/Fault.h"

#include "qorvel/base/keys.h"

#include <algorithm>

namespace qorvel_engine {

std::string anyPrimaryKey() {
    return qorvel_detail::kAnyKey;
}

const std::vector<Config::Spec>& Config::specs(ProcessorKind kind) const {
    static const std::vector<Spec> none;
    return kind == ProcessorKind::presence   ? presence
           : kind == ProcessorKind::hangouts ? hangouts
                                             : none;
}

std::string describe(const ConfigFault& fault, const std::string& file) {
    std::string text = file;
    if (!file.empty()) {
        text += fault.line == 0 ? ": " : ", line " + std::to_string(fault.line) + ": ";
    }
    text += (fault.isError ? "" : "warning: ") + fault.sentence;
    return fault.tags.empty() ? text : text + " [" + fault.tags + "]";
}

void sortByLine(std::vector<ConfigFault>& faults) {
    std::stable_sort(
        faults.begin(), faults.end(),
        [](const ConfigFault& one, const ConfigFault& other) { return one.line < other.line; });
}

std::string describeErrors(const std::vector<ConfigFault>& faults, const std::string& file) {
    std::string text;
    for (const ConfigFault& fault : faults) {
        if (fault.isError) {
            text += text.empty() ? "" : "\n";
            text += describe(fault, file);
        }
    }
    return text;
}

void throwErrors(const std::vector<ConfigFault>& faults, const std::string& file) {
    const std::string sentences = describeErrors(faults, file);
    if (sentences.empty()) {
        return;
    }
    std::string tags;
    std::uint32_t line = 0;
    for (const ConfigFault& fault : faults) {
        if (fault.isError) {
            tags += fault.tags;
            line = line == 0 ? fault.line : line;
        }
    }
    throw Fault(FaultCode::badConfiguration, sentences, tags, line);
}

} // namespace qorvel_engine
