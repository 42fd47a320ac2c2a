#include "tools/setup/Config.h"

#include <algorithm>

namespace host {

const std::vector<Config::Spec>& Config::specs(Use use) const {
    static const std::vector<Spec> none;
    return use == Use::presence ? presence : use == Use::hangouts ? hangouts : none;
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

} // namespace host
