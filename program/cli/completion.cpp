#include "program/cli/completion.h"

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace program {

namespace {

constexpr char kHead[] = R"(# bash completion for qorvel
_qorvel() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local path= words= word
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* ]] || case "$path/$word" in
)";

constexpr char kMiddle[] = R"(        esac
    done
    case "$path $previous" in
)";

constexpr char kChoose[] = R"(    esac
    if [[ -z $words ]]; then
        case "$path" in
)";

constexpr char kTail[] = R"(        esac
        [[ $current == -* || -z $path || $path == /geohash ]] || words=
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -o bashdefault -F _qorvel qorvel
)";

/// What a choice takes, as CLI11 describes it: "TEXT:{a,b,c}".
std::string choices(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t open = type.find('{');
    const std::size_t close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) {
        return "";
    }
    std::string words = type.substr(open + 1, close - open - 1);
    for (char& c : words) {
        c = c == ',' ? ' ' : c;
    }
    return words;
}

/// Calls `visit(path, app)` for the program and each command below it; paths as "/geohash/encode".
template <typename Visit>
void visitCommands(const CLI::App& app, const std::string& path, const Visit& visit) {
    visit(path, app);
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        if (!command->get_name().empty()) { // else a group of options
            visitCommands(*command, path + '/' + command->get_name(), visit);
        }
    }
}

std::string wordsOf(const CLI::App& app) {
    std::string words;
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        words += command->get_name() + ' ';
    }
    for (const CLI::Option* option : app.get_options(nullptr)) {
        for (const std::string& name : option->get_lnames()) {
            words += "--" + name + ' ';
        }
    }
    return words;
}

} // namespace

std::string completionScript(const CLI::App& app) {
    std::string paths;
    std::string values;
    std::string names;
    visitCommands(app, "", [&](const std::string& path, const CLI::App& command) {
        if (!path.empty()) {
            paths += "            " + path + ") path=" + path + " ;;\n";
        }
        names += "            '" + path + "') words='" + wordsOf(command) + "' ;;\n";
        for (const CLI::Option* option : command.get_options(nullptr)) {
            const std::string known = choices(*option);
            if (!known.empty()) {
                values += "        '" + path + " --" + option->get_lnames().front() + "') words='" +
                          known + "' ;;\n";
            }
        }
    });
    return kHead + paths + kMiddle + values + kChoose + names + kTail;
}

} // namespace program
