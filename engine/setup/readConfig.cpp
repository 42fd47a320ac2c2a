#include "engine/columns/Fault.h"
#include "engine/setup/Config.h"
#include "engine/setup/detail/tomlNesting.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <toml++/toml.h>
#include <type_traits>

namespace qorvel_engine {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20;
/// Each assignment is held against each spec.
constexpr std::size_t kMostEntries = 2000;

std::uint32_t lineOf(const toml::source_region& region) {
    return static_cast<std::uint32_t>(region.begin.line);
}

std::string quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}

/// What a value was expected to be, and is not.
std::invalid_argument wants(const char* what) {
    return std::invalid_argument(std::string("want ") + what);
}

// What a node of the file is as a member of Config. Each throws std::invalid_argument.

void take(const toml::node& node, std::string& text) {
    if (!node.is_string()) {
        throw wants("a text between quotes");
    }
    text = node.as_string()->get();
}

void take(const toml::node& node, std::uint32_t& count) {
    constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
    const toml::value<std::int64_t>* whole = node.as_integer();
    if (whole == nullptr || whole->get() < 0 || whole->get() > kMost) {
        throw wants("a whole number from 0 to 4294967295");
    }
    count = static_cast<std::uint32_t>(whole->get());
}

void take(const toml::node& node, double& number) {
    if (!node.is_number()) {
        throw wants("a number");
    }
    number = node.is_integer() ? static_cast<double>(node.as_integer()->get())
                               : node.as_floating_point()->get();
}

void take(const toml::node& node, Span& span) {
    std::string text;
    take(node, text);
    try {
        span = readSpan(text);
    } catch (const std::invalid_argument& wrong) {
        throw std::invalid_argument(quoted(text) + ": " + wrong.what());
    }
}

void take(const toml::node& node, std::list<std::string>& texts) {
    if (!node.is_array()) {
        throw wants(R"(a list of texts, as in ["u0qj6", "u0qj7"])");
    }
    for (const toml::node& element : *node.as_array()) {
        take(element, texts.emplace_back());
    }
}

/// A key of a table, and how its value gets into an entry of Config.
template <typename Entry>
struct Key {
    const char* name;
    void (*set)(const toml::node&, Entry&);
};

template <typename Entry, auto Member>
void set(const toml::node& node, Entry& entry) {
    take(node, entry.*Member);
}

using Master = Config::Master;
using Assignment = Config::Assignment;
using Spec = Config::Spec;

const std::vector<Key<Master>> kMasterKeys = {
    {"name", set<Master, &Master::name>},
    {"cell_length", set<Master, &Master::cellLength>},
    {"box", set<Master, &Master::box>},
};

const std::vector<Key<Assignment>> kAssignmentKeys = {
    {"primary_key", set<Assignment, &Assignment::primaryKey>},
    {"secondary_key", set<Assignment, &Assignment::secondaryKey>},
    {"max_space_tolerance", set<Assignment, &Assignment::maxSpaceTolerance>},
    {"max_time_tolerance", set<Assignment, &Assignment::maxTimeTolerance>},
    {"master", set<Assignment, &Assignment::master>},
    {"geohashes", set<Assignment, &Assignment::geohashes>},
    {"latitude", set<Assignment, &Assignment::latitude>},
    {"longitude", set<Assignment, &Assignment::longitude>},
    {"radius", set<Assignment, &Assignment::radius>},
    {"space_factor", set<Assignment, &Assignment::spaceFactor>},
    {"time_factor", set<Assignment, &Assignment::timeFactor>},
};

const std::vector<Key<Spec>> kSpecKeys = {
    {"primary_key", set<Spec, &Spec::primaryKey>},
    {"secondary_key", set<Spec, &Spec::secondaryKey>},
    {"master", set<Spec, &Spec::master>},
    {"window", set<Spec, &Spec::window>},
    {"min_count", set<Spec, &Spec::minCount>},
    {"ratio", set<Spec, &Spec::ratio>},
};

/// How many characters must be put in, left out or exchanged to make one text the other.
std::size_t editDistance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = i;
    }
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, diagonal + 1, exchanged});
        }
    }
    return row.back();
}

/// The known name that is meant most likely.
template <typename Named>
std::string nearest(std::string_view name, const std::vector<Named>& known) {
    return std::min_element(known.begin(), known.end(),
                            [name](const Named& one, const Named& other) {
                                return editDistance(name, one.name) <
                                       editDistance(name, other.name);
                            })
        ->name;
}

/// Reads the tables of one file and collects what is wrong with them.
class Reader {
public:
    explicit Reader(Config& config) : config_(config) {}

    void read(const toml::table& root) {
        for (const auto& [key, node] : root) {
            const auto kind =
                std::find_if(kKinds.begin(), kKinds.end(),
                             [name = key.str()](const Kind& known) { return known.name == name; });
            if (kind == kKinds.end()) {
                fault(lineOf(key.source()), quoted(key.str()) + " is not known; did you mean [[" +
                                                nearest(key.str(), kKinds) + "]]?");
            } else if (!node.is_array_of_tables() && !isEmptyArray(node)) {
                fault(lineOf(key.source()), "want [[" + std::string(key.str()) +
                                                "]], in two brackets, and its keys below");
            } else if ((entries_ += node.as_array()->size()) > kMostEntries) {
                fault(lineOf(key.source()), "there are more than 2000 entries in all; several "
                                            "files, each with its own run, can have more");
            } else {
                (this->*kind->read)(*node.as_array());
            }
        }
        fillInMaster(config_.assignments);
        fillInMaster(config_.presence);
        fillInMaster(config_.hangouts);
        sortByLine(faults_);
    }

    const std::vector<ConfigFault>& faults() const { return faults_; }

private:
    struct Kind {
        const char* name;
        void (Reader::*read)(const toml::array&);
    };
    static const std::vector<Kind> kKinds;

    static bool isEmptyArray(const toml::node& node) {
        return node.is_array() && node.as_array()->empty();
    }

    void fault(std::uint32_t line, const std::string& sentence) {
        faults_.push_back({true, line, sentence, ""});
    }

    void readMasters(const toml::array& tables) {
        readEntries(tables, kMasterKeys, config_.masters);
        for (const toml::node& node : tables) {
            if (tables.size() > 1 && !node.as_table()->contains("name")) {
                fault(lineOf(node.source()), "one of several masters needs a name");
            }
        }
    }

    void readAssignments(const toml::array& tables) {
        readEntries(tables, kAssignmentKeys, config_.assignments);
        for (const toml::node& node : tables) {
            const toml::table& table = *node.as_table();
            const bool hasCentre = table.contains("latitude");
            if (table.contains("longitude") != hasCentre || table.contains("radius") != hasCentre) {
                fault(lineOf(table.source()),
                      "latitude, longitude and radius (metres) go together");
            }
        }
    }

    void readPresence(const toml::array& tables) {
        readEntries(tables, kSpecKeys, config_.presence);
    }

    void readHangouts(const toml::array& tables) {
        readEntries(tables, kSpecKeys, config_.hangouts);
    }

    template <typename Entry>
    void readEntries(const toml::array& tables, const std::vector<Key<Entry>>& keys,
                     std::vector<Entry>& entries) {
        for (const toml::node& node : tables) {
            Entry& entry = entries.emplace_back();
            entry.line = lineOf(node.source());
            if constexpr (!std::is_same_v<Entry, Master>) {
                entry.master.clear(); // told by fillInMaster
            }
            for (const auto& [name, value] : *node.as_table()) {
                readKey(name, value, keys, entry);
            }
        }
    }

    template <typename Entry>
    void readKey(const toml::key& name, const toml::node& value,
                 const std::vector<Key<Entry>>& keys, Entry& entry) {
        const auto key =
            std::find_if(keys.begin(), keys.end(), [text = name.str()](const Key<Entry>& known) {
                return known.name == text;
            });
        if (key == keys.end()) {
            fault(lineOf(name.source()), quoted(name.str()) + " is not known; did you mean " +
                                             nearest(name.str(), keys) + "?");
            return;
        }
        try {
            key->set(value, entry);
        } catch (const std::invalid_argument& wrong) {
            fault(lineOf(value.source()), std::string(name.str()) + ": " + wrong.what());
        }
    }

    /// Where there is but one master, it need not be named.
    template <typename Entry>
    void fillInMaster(std::vector<Entry>& entries) {
        for (Entry& entry : entries) {
            if (entry.master.empty() && config_.masters.size() == 1) {
                entry.master = config_.masters.front().name;
            } else if (entry.master.empty() && !config_.masters.empty()) {
                fault(entry.line, "needs a master, since there are several");
            }
        }
    }

    Config& config_;
    std::size_t entries_ = 0;
    std::vector<ConfigFault> faults_;
};

const std::vector<Reader::Kind> Reader::kKinds = {
    {"master", &Reader::readMasters},
    {"assignment", &Reader::readAssignments},
    {"presence", &Reader::readPresence},
    {"hangout", &Reader::readHangouts},
};

/// Of a file that never ends as well as of one that is too long, no more is read.
std::string slurp(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text;
    std::array<char, 4096> piece;
    while (text.size() <= kMostBytes &&
           (stream.read(piece.data(), piece.size()) || stream.gcount() > 0)) {
        text.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
    }
    if (!stream.is_open() || stream.bad()) {
        throw Fault(FaultCode::misuse, "cannot read " + file + ": " + std::strerror(errno));
    }
    return text;
}

[[noreturn]] void refuse(const std::string& file, std::uint32_t line, std::string_view what) {
    throw Fault(FaultCode::badConfiguration, describe({true, line, std::string(what), ""}, file),
                {}, line);
}

toml::table parse(const std::string& text, const std::string& file) {
    if (text.size() > kMostBytes) {
        refuse(file, 0, "is longer than 1 MiB, which no configuration is");
    }
    if (const auto line = tooDeepLine(text)) {
        refuse(file, *line, "brackets or dots nest too deep here; is a bracket not closed?");
    }
    try {
        return toml::parse(text, file);
    } catch (const toml::parse_error& error) {
        refuse(file, lineOf(error.source()), error.description());
    }
}

} // namespace

Config readConfigText(const std::string& text, const std::string& file) {
    Config config;
    config.file = file;
    Reader reader(config);
    reader.read(parse(text, file));
    throwErrors(reader.faults(), file);
    return config;
}

Config readConfig(const std::string& file) {
    return readConfigText(slurp(file), file);
}

} // namespace qorvel_engine
