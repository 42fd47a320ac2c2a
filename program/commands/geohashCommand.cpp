#include "program/commands/geohashCommand.h"

#include "engine/setup/Config.h"
#include "engine/setup/cellSize.h"
#include "engine/setup/numberText.h"
#include "program/Interrupt.h"
#include "program/engineNames.h"
#include "program/input/LineBuffer.h"
#include "program/input/number.h"
#include "program/output/CellBounds.h"
#include "program/output/TextFile.h"
#include "program/tell.h"

#include "qorvel/qorvel.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>

namespace program {

namespace {

constexpr std::uint32_t kMostBits = 128;
constexpr std::size_t kLongestWithNeighbours = 12; ///< characters; then doubles become too coarse

Failure refusal(const std::string& sentence) {
    return {ExitCode::usage, sentence};
}

/// Is it a geohash about which nothing need be said?
bool isPlain(const std::string& text, const SpaceBox& cell) {
    return !text.empty() && text.size() <= kLongestWithNeighbours &&
           cell.getGeoHashBitDepth() == UtilG2::_BITS_PER_GEOHASH_CHAR * text.size() &&
           text.find('\0') == std::string::npos;
}

SpaceBox readCell(const std::string& text) {
    const SpaceBox cell(text);
    if (isPlain(text, cell)) {
        return cell;
    }
    const std::optional<ConfigFault> fault = judgeGeohash(text);
    if (fault && !text.empty()) {
        throw refusal(fault->sentence + (fault->isError ? " [" + fault->tags + "]" : ""));
    }
    return cell;
}

/// As numberText, without a text of its own.
void appendNumber(std::string& text, double number) {
    char digits[32]; // of which 24 are needed at most
    text.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
}

struct Centre {
    explicit Centre(const SpaceBox& cell) {
        thread_local std::stringstream errors; // asked for by the library, never written, and dear
        QorvelMotionProcessorAPI::getCentroid(cell, latitude, longitude, errors);
    }

    void append(std::string& text) const {
        appendNumber(text, latitude);
        text += ',';
        appendNumber(text, longitude);
    }

    double latitude = 0.0;
    double longitude = 0.0;
};

void encode(const GeohashOptions& options, std::string& text) {
    if (options.bits > kMostBits) {
        throw refusal("a cell has 0 to 128 bits, which are up to 25 characters");
    }
    SpaceBox cell;
    if (std::isnan(options.latitude) || std::isnan(options.longitude) ||
        !UtilG2::pointToSpaceBox(options.latitude, options.longitude, options.bits, cell)) {
        throw refusal("no cell holds " + numberText(options.latitude) + ", " +
                      numberText(options.longitude) +
                      ": latitude is -90 to below 90, longitude -180 to below 180 degrees");
    }
    text += cell.toASCIIString();
    text += '\n';
}

void decode(const SpaceBox& cell, std::string& text) {
    const CellBounds bounds = cellBounds(cell);
    const Centre centre(cell);
    const CellSize size = cellSize(cell.getGeoHashBitDepth(), centre.latitude);
    text += cell.toASCIIString() + ',' + std::to_string(cell.getGeoHashBitDepth()) + ',';
    centre.append(text);
    for (const double side : {bounds.south, bounds.west, bounds.north, bounds.east}) {
        text += ',';
        appendNumber(text, side);
    }
    text += ',' + roundedText(size.heightMetres) + ',' + roundedText(size.widthMetres) + '\n';
}

/// The cell of the same size that many cells to the north and east; none beyond a pole.
std::string neighbour(const SpaceBox& cell, int north, int east) {
    const Centre centre(cell);
    const CellSize size = cellSize(cell.getGeoHashBitDepth(), centre.latitude);
    double longitude = centre.longitude + east * size.longitudeDegrees;
    longitude += longitude < -180.0 ? 360.0 : longitude >= 180.0 ? -360.0 : 0.0;
    SpaceBox found;
    return UtilG2::pointToSpaceBox(centre.latitude + north * size.latitudeDegrees, longitude,
                                   cell.getGeoHashBitDepth(), found)
               ? found.toASCIIString()
               : "";
}

void neighbours(const SpaceBox& cell, std::string& text) {
    if (cell.getGeoHashBitDepth() > UtilG2::_BITS_PER_GEOHASH_CHAR * kLongestWithNeighbours) {
        throw refusal("neighbours are told of geohashes of up to 12 characters");
    }
    for (const int north : {1, 0, -1}) {
        for (const int east : {-1, 0, 1}) {
            text += neighbour(cell, north, east) + (east < 1 ? ',' : '\n');
        }
    }
}

/// Of one question, without a header.
void appendAnswer(const GeohashOptions& options, std::string& text) {
    switch (options.task) {
    case GeohashOptions::Task::encode:
        return encode(options, text);
    case GeohashOptions::Task::decode:
        return decode(readCell(options.text), text);
    case GeohashOptions::Task::neighbours:
        return neighbours(readCell(options.text), text);
    case GeohashOptions::Task::centroid:
        Centre(readCell(options.text)).append(text);
        text += '\n';
    }
}

const char* headerOf(GeohashOptions::Task task) {
    return task == GeohashOptions::Task::decode
               ? "geohash,bits,lat,lon,south,west,north,east,height_m,width_m\n"
               : "";
}

/// The questions that standard input holds, line by line.
class Lines {
public:
    explicit Lines(const GeohashOptions& options)
        : asked_(options), bytes_("-"), lines_(bytes_), output_("-", "") {}

    ExitCode operator()() {
        output_.write(headerOf(asked_.task));
        do {
            for (std::string_view line = lines_.takeLine(); !line.empty();
                 line = lines_.takeLine()) {
                take(line);
            }
            output_.flush();
        } while (lines_.readOn());
        const std::string_view rest = lines_.takeRest();
        if (!rest.empty() && !interrupted()) { // which would have cut it off
            take(rest);
        }
        output_.finish();
        return refused_ > 0 ? ExitCode::someRejected : ExitCode::done;
    }

private:
    void take(std::string_view line) {
        try {
            ask(line.substr(0, line.find_last_not_of("\r\n") + 1));
            answer_.clear();
            appendAnswer(asked_, answer_);
        } catch (const Failure& failure) {
            answer_ = '\n';
            refuse(failure.what());
        }
        output_.write(answer_);
        lines_.endRow();
    }

    void ask(std::string_view line) {
        if (asked_.task == GeohashOptions::Task::encode) {
            const std::size_t mark = line.find_first_of(",;\t|");
            const std::size_t between =
                mark < line.size() ? mark : line.find(' ', line.find_first_not_of(' '));
            if (between >= line.size() ||
                !readNumber(plainNumber(line.substr(0, between)), asked_.latitude) ||
                !readNumber(plainNumber(line.substr(between + 1)), asked_.longitude)) {
                throw refusal("want a latitude and a longitude, as in 47.3712,8.5401");
            }
        } else if (line.empty()) {
            throw refusal("want a geohash");
        } else {
            asked_.text = line;
        }
    }

    void refuse(const std::string& why) {
        constexpr std::uint64_t kMostTold = 10;
        ++refused_;
        if (refused_ <= kMostTold) {
            tell("standard input, line " + std::to_string(lines_.rowLine()) + ": " + why);
        } else if (refused_ == kMostTold + 1) {
            tell("more lines are bad, and have an empty line for an answer");
        }
    }

    GeohashOptions asked_;
    ByteSource bytes_;
    LineBuffer lines_;
    TextFile output_;
    std::string answer_;
    std::uint64_t refused_ = 0;
};

} // namespace

std::string answerGeohash(const GeohashOptions& options) {
    std::string text = headerOf(options.task);
    appendAnswer(options, text);
    return text;
}

ExitCode runGeohash(const GeohashOptions& options) {
    if (options.isByLine) {
        return Lines(options)();
    }
    print(answerGeohash(options));
    return ExitCode::done;
}

} // namespace program
