#include "program/commands/configText.h"

#include "engine/setup/cellSize.h"
#include "engine/setup/numberText.h"

#include "qorvel/geohash/UtilG2.h"

namespace program {

namespace {

std::string sizeText(std::uint32_t bits, double latitude) {
    const CellSize size = cellSize(bits, latitude);
    return roundedText(size.widthMetres) + " m x " + roundedText(size.heightMetres) + " m";
}

std::string keysText(const std::string& primaryKey, const std::string& secondaryKey) {
    return "primary " + primaryKeyText(primaryKey) + ", secondary \"" + secondaryKey + '"';
}

} // namespace

std::string entryName(const char* kind, std::size_t index, std::uint32_t line) {
    const std::string name = kind + (' ' + std::to_string(index + 1));
    return line == 0 ? name : name + " (line " + std::to_string(line) + ')';
}

std::string primaryKeyText(const std::string& key) {
    return key == "ANY" ? "any" : '"' + key + '"';
}

std::string areaText(const Config::Assignment& assignment) {
    std::string text;
    for (const std::string& geohash : assignment.geohashes) {
        text += (text.empty() ? "in " : ", ") + geohash;
    }
    return text.empty() ? "everywhere" : text;
}

std::string radiusText(const Config::Assignment& assignment) {
    if (assignment.radius >= Config::Assignment::kWholeEarth) {
        return "anywhere";
    }
    return "within " + numberText(assignment.radius) + " m of " + numberText(assignment.latitude) +
           ", " + numberText(assignment.longitude);
}

std::string toleranceText(const Config::Assignment& assignment) {
    return assignment.maxSpaceTolerance >= std::numeric_limits<double>::max()
               ? "any"
               : numberText(assignment.maxSpaceTolerance) + " m";
}

std::string masterText(const Config::Master& master) {
    const std::uint32_t bits = master.cellLength * UtilG2::_BITS_PER_GEOHASH_CHAR;
    return "  name       \"" + master.name + "\"\n  cells      " +
           std::to_string(master.cellLength) + " characters: " + sizeText(bits, 0.0) +
           " at the equator, " + sizeText(bits, 47.0) + " at 47 degrees\n  time box   " +
           master.box.text() + '\n';
}

std::string assignmentText(const Config::Assignment& assignment) {
    return "  master     \"" + assignment.master + "\"\n  keys       " +
           keysText(assignment.primaryKey, assignment.secondaryKey) + "\n  distance   " +
           radiusText(assignment) + "\n  area       " + areaText(assignment) + "\n  tolerance  " +
           toleranceText(assignment) + ", " + std::to_string(assignment.maxTimeTolerance) +
           " ms at most; times " + numberText(assignment.spaceFactor) + " and " +
           numberText(assignment.timeFactor) + '\n';
}

std::string specText(const Config::Spec& spec, ProcessorKind use) {
    const bool isStay = use == ProcessorKind::hangouts;
    return "  master     \"" + spec.master + "\"\n  keys       primary " +
           primaryKeyText(spec.primaryKey) + "\n  wanted     " + std::to_string(spec.minCount) +
           " fixes or more " + (isStay ? "over at least " : "within ") + spec.window.text() +
           "; in a box at least the ratio " + numberText(spec.ratio) +
           (isStay ? " of that count\n" : " of them\n");
}

} // namespace program
