#include "program/input/fileKind.h"

#include <algorithm>
#include <iterator>

namespace program {

namespace {

using namespace std::string_view_literals;

constexpr FileKind kKinds[] = {
    {"PAR1"sv, "a Parquet file: name it .parquet, or convert it to CSV or NDJSON"},
    {"ARROW1"sv, "an Arrow file: name it .arrow, or convert it to CSV or NDJSON"},
    {"SQLite format 3\0"sv, "an SQLite database: name it .gpkg if it is a GeoPackage, else say "
                            "--gdal-driver SQLite"},
    {"fgb\3"sv, "a FlatGeobuf file: name it .fgb"},
    {"PK\3\4"sv, "a zip archive or a spreadsheet: unzip it, or save it as CSV"},
    {"\xD0\xCF\x11\xE0"sv, "a document or a spreadsheet: save it as CSV"},
    {"\x1F\x8B"sv, "packed by gzip twice: unpack it once with gunzip"},
    {"BZh9"sv, "packed by bzip2: unpack it with bunzip2"},
    {"\xFD"
     "7zXZ\0"sv,
     "packed by xz: unpack it with unxz"},
    {"\x28\xB5\x2F\xFD"sv, "packed by Zstandard: unpack it with unzstd"},
    {"7z\xBC\xAF"sv, "a 7z archive: unpack it"},
    {"\xFF\xFE"sv, "text in UTF-16: convert it to UTF-8, as with iconv -f UTF-16 -t UTF-8"},
    {"\xFE\xFF"sv, "text in UTF-16: convert it to UTF-8, as with iconv -f UTF-16 -t UTF-8"},
    {"<"sv, "XML or HTML: name it .gpx if it is GPX; what else GDAL can read is told with "
            "--gdal-driver"},
};

} // namespace

const FileKind* fileKindOf(std::string_view begin) {
    const auto* kind =
        std::find_if(std::begin(kKinds), std::end(kKinds),
                     [begin](const FileKind& known) { return begin.starts_with(known.magic); });
    return kind == std::end(kKinds) ? nullptr : kind;
}

bool mayBecomeFileKind(std::string_view begin) {
    return std::any_of(std::begin(kKinds), std::end(kKinds), [begin](const FileKind& known) {
        return begin.size() < known.magic.size() && known.magic.starts_with(begin);
    });
}

} // namespace program
