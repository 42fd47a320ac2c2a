// Space boxes: coordinates to codes and back, interleaving, comparison and hash, geohash text.

#include "Bytes.h"
#include "access.h"
#include "law.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"

#include <tuple>

namespace {

using Access = UtilG2TestAccess;

constexpr std::uint64_t kHalf = std::uint64_t{1} << 63U;

auto fields(const SpaceBox& box) {
    return std::make_tuple(box.getFirst64Bits(), box.getSecond64Bits(), box.getGeoHashBitDepth());
}

/// Bit 0 is the first, the most significant one.
bool bitOf(const SpaceBox& box, unsigned bit) {
    const std::uint64_t word = bit < 64 ? box.getFirst64Bits() : box.getSecond64Bits();
    return (word << bit % 64 & kHalf) != 0;
}

void fuzzCodes(double x, std::uint64_t code) {
    std::uint64_t encoded = 0;
    LAW(Access::encode(x, encoded) == !(x < -1.0 || x >= 1.0));
    if (x >= -1.0 && x < 1.0 && std::abs(x) >= 0x1p-74) { // shifts wrap below
        const auto scaled = static_cast<std::int64_t>(std::ldexp(x, 63));
        LAW(encoded == kHalf + static_cast<std::uint64_t>(scaled));
    }
    double decoded = 7.0;
    LAW(Access::decode(code, decoded) && Access::encode(decoded, encoded));
    const std::uint64_t size = code >= kHalf ? code - kHalf : kHalf - code;
    const std::uint64_t kept = code >= kHalf ? encoded - kHalf : kHalf - encoded;
    LAW(kept <= size && size - kept <= size >> 52U); // the leading bits
}

void fuzzPoint(double lat, double lon, std::uint32_t depth) {
    std::uint64_t codes[2] = {};
    const bool latKnown = Access::encode(lat / 90.0, codes[1]);
    const bool known = Access::encode(lon / 180.0, codes[0]) && latKnown;
    SpaceBox box(UINT64_C(1), UINT64_C(2), 3U);
    SpaceBox whole(box);
    LAW(UtilG2::pointToSpaceBox(lat, lon, depth, box) == known);
    LAW(UtilG2::pointToSpaceBox(lat, lon, whole) == known);
    LAW(fields(known ? box : SpaceBox()) == fields(SpaceBox(lat, lon, depth)));
    whole.setGeoHashBitDepth(known ? depth : 3U);
    LAW(fields(box) == fields(whole));
    SpaceBox interleaved;
    Access::interleave(codes[1], codes[0], depth, interleaved);
    for (unsigned bit = 0; bit < 128; ++bit) { // longitude and latitude take turns
        LAW(bitOf(interleaved, bit) == ((codes[bit % 2] << bit / 2 & kHalf) != 0));
    }
    LAW(!known || fields(box) == fields(interleaved));
}

void fuzzBoxes(const SpaceBox& left, const SpaceBox& right, std::uint32_t depth) {
    unsigned common = 0;
    while (common < 128 && bitOf(left, common) == bitOf(right, common)) {
        ++common;
    }
    LAW(left.equals(right, depth) == right.equals(left, depth));
    LAW(depth > 128 || left.equals(right, depth) == (common >= depth));
    LAW(!(left == right) || left.hashCode() == right.hashCode());
    SpaceBox copy;
    copy = left;
    LAW(fields(copy) == fields(left));

    const std::uint32_t kept = std::min(left.getGeoHashBitDepth(), 128U);
    const std::string text = left.toASCIIString();
    std::string printed = "old";
    std::stringstream errors;
    LAW(QorvelMotionProcessorAPI::toString(left, printed, errors) == 0 && printed == text);
    LAW(text.size() == (kept + 4) / 5 &&
        tagsOf(left).empty() == (left.getGeoHashBitDepth() == kept));
    LAW(kept % 5 != 0 || (kept > 60 && kept < 115) || SpaceBox(text).equals(left, kept));
    double lat = 1000.0;
    double lon = 1000.0;
    LAW(QorvelMotionProcessorAPI::getCentroid(left, lat, lon, errors) == 0);
    LAW(std::abs(lat) <= 90.0 && std::abs(lon) <= 180.0);
    LAW(kept > 80 || SpaceBox(lat, lon, kept).equals(left, kept));
}

void fuzzText(const std::string& text) {
    SpaceBox box(UINT64_C(1), UINT64_C(2), 3U);
    const bool read = UtilG2::stringToSpaceBox(text, box);
    LAW(fields(SpaceBox(text)) == fields(box));
    LAW(box.getGeoHashBitDepth() == (read || text.size() > 26 ? 5 * text.size() : UINT32_MAX));
    const std::string printed = UtilG2::spaceBoxToString(box);
    const bool isWhole = text.find('\0') == std::string::npos;
    if (read && isWhole && (text.size() <= 12 || (text.size() >= 23 && text.size() <= 25))) {
        LAW(fields(SpaceBox(printed)) == fields(box) && printed.size() == text.size());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const std::uint32_t depth = bytes.count();
    const auto first = bytes.whole<std::uint64_t>();
    const auto second = bytes.whole<std::uint64_t>();
    const auto flip = std::uint64_t{1} << bytes.take(1) % 64;
    const SpaceBox other{bytes.pick({first, first ^ flip}), bytes.pick({second, second ^ flip}),
                         bytes.pick({depth, depth + 1})};
    fuzzCodes(bytes.number(1.0), first);
    const double lat = bytes.number(90.0);
    fuzzPoint(lat, bytes.number(180.0), depth);
    fuzzBoxes(SpaceBox(first, second, depth), other, bytes.count());
    fuzzText(bytes.text());
    return 0;
}
