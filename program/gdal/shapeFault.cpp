#include "program/gdal/shapeFault.h"

#include "program/Interrupt.h"
#include "program/fileName.h"
#include "program/input/ByteSource.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace program {

namespace {

constexpr std::uint64_t kMostUnpacked = std::uint64_t{1} << 30;
constexpr std::uint64_t kMostJson = std::uint64_t{1} << 20;
constexpr int kMostElements = 64;

/// Follows a text of JSON as far as GDAL does, which objects to what is none. Only what is called a
/// FeatureCollection, and nothing else before, is taken feature by feature.
class JsonShape {
public:
    /// Returns what is wrong, or null.
    const char* take(char c) {
        (inFeatures_ ? feature_ : rest_) += 1;
        if (inString_) {
            if (takeOfString(c)) {
                return "a text in it holds a NUL (\\u0000), which no name has";
            }
        } else {
            takeMark(c);
        }
        return feature_ > kMostJson ? "it has a feature longer than 1 MiB"
               : rest_ > kMostJson  ? "it has more than 1 MiB outside of the features of a "
                                      "FeatureCollection"
                                    : nullptr;
    }

    const char* end() const {
        return anyFeature_ && type_ != "FeatureCollection"
                   ? "it has features, but its type is not FeatureCollection"
                   : nullptr;
    }

private:
    /// Whether the text now holds a NUL.
    bool takeOfString(char c) {
        constexpr std::size_t kLongestWord = 20;
        if (depth_ == 1 && word_.size() < kLongestWord && c != '"') {
            word_ += c;
        }
        if (digits_ > 0) { // of \uXXXX
            zeros_ += c == '0' ? 1 : 0;
            return --digits_ == 0 && zeros_ == 4;
        }
        if (isEscaped_) {
            isEscaped_ = false;
            digits_ = c == 'u' ? 4 : 0;
            zeros_ = 0;
        } else if (c == '\\') {
            isEscaped_ = true;
        } else if (c == '"') {
            inString_ = false;
            noteType();
        }
        return false;
    }

    void takeMark(char c) {
        switch (c) {
        case '"':
            inString_ = true;
            word_.clear();
            break;
        case '{':
        case '[':
            ++depth_;
            inFeatures_ = inFeatures_ || (depth_ == 2 && c == '[' && key_ == "features");
            anyFeature_ = anyFeature_ || inFeatures_;
            break;
        case '}':
        case ']':
            --depth_;
            inFeatures_ = inFeatures_ && depth_ > 1;
            break;
        case ':':
            key_ = depth_ == 1 ? word_ : key_;
            break;
        case ',':
            feature_ = depth_ == 2 ? 0 : feature_;
            key_ = depth_ == 1 ? "" : key_;
            break;
        default:
            break;
        }
    }

    void noteType() {
        if (depth_ == 1 && key_ == "type") {
            type_ = type_.empty() ? word_ : "several";
        }
    }

    std::uint64_t feature_ = 0; ///< bytes of the current one
    std::uint64_t rest_ = 0;    ///< bytes outside of features
    int depth_ = 0;
    bool inFeatures_ = false;
    bool anyFeature_ = false;
    bool inString_ = false;
    bool isEscaped_ = false;
    int digits_ = 0;
    int zeros_ = 0;
    std::string word_; ///< the last string of the outermost object, as it is written
    std::string key_;  ///< of the outermost object, whose value is being read
    std::string type_;
};

/// Follows a text of XML in an encoding that has ASCII in single bytes.
class XmlShape {
public:
    const char* take(char c) {
        if (c == '\0') {
            return "it holds a NUL: its text is UTF-16, where UTF-8 is wanted";
        }
        const char* fault = step(c);
        before_ = last_;
        last_ = c;
        return depth_ > kMostElements ? "its elements nest too deep" : fault;
    }

    static const char* end() { return nullptr; }

private:
    enum class Place { text, begin, declaration, element, value, close, comment, data, processing };

    const char* step(char c) {
        switch (place_) {
        case Place::text:
            place_ = c == '<' ? Place::begin : Place::text;
            break;
        case Place::begin:
            begin(c);
            break;
        case Place::declaration:
            return declare(c);
        case Place::element:
            takeOfElement(c);
            break;
        case Place::value:
            place_ = c == quote_ ? Place::element : Place::value;
            break;
        case Place::close:
            endIf(c == '>', 1);
            break;
        case Place::comment:
            endIf(c == '>' && last_ == '-' && before_ == '-', 0);
            break;
        case Place::data:
            endIf(c == '>' && last_ == ']' && before_ == ']', 0);
            break;
        case Place::processing:
            endIf(c == '>' && last_ == '?', 0);
            break;
        }
        return nullptr;
    }

    void endIf(bool ends, int closed) {
        place_ = ends ? Place::text : place_;
        depth_ -= ends ? closed : 0;
    }

    void begin(char c) {
        place_ = c == '!'   ? Place::declaration
                 : c == '?' ? Place::processing
                 : c == '/' ? Place::close
                            : Place::element;
        depth_ += place_ == Place::element ? 1 : 0;
        declared_.clear();
    }

    const char* declare(char c) {
        constexpr std::string_view kComment = "--";
        constexpr std::string_view kData = "[CDATA[";
        declared_ += c;
        if (declared_ == kComment) {
            place_ = Place::comment;
        } else if (declared_ == kData) {
            place_ = Place::data;
        } else if (!kComment.starts_with(declared_) && !kData.starts_with(declared_)) {
            return "it declares a document type, which tracks do not need: delete that";
        }
        return nullptr;
    }

    void takeOfElement(char c) {
        if (c == '"' || c == '\'') {
            quote_ = c;
            place_ = Place::value;
        } else {
            endIf(c == '>', last_ == '/' ? 1 : 0);
        }
    }

    Place place_ = Place::text;
    int depth_ = 0;
    char quote_ = '"';
    char last_ = ' ';
    char before_ = ' ';
    std::string declared_;
};

struct AnyShape {
    static const char* take(char) { return nullptr; }
    static const char* end() { return nullptr; }
};

template <typename Shape>
std::string faultOf(ByteSource& source, bool isBounded) {
    Shape shape;
    std::vector<char> piece(std::size_t{1} << 16);
    std::uint64_t size = 0;
    while (const std::size_t got = source.read(piece.data(), piece.size())) {
        size += got;
        if (isBounded && size > kMostUnpacked) {
            return "it unpacks to more than 1 GiB: unpack it with gunzip";
        }
        for (std::size_t i = 0; i < got; ++i) {
            if (const char* fault = shape.take(piece[i])) {
                return fault;
            }
        }
    }
    const char* fault = interrupted() ? nullptr : shape.end();
    return fault == nullptr ? "" : fault;
}

} // namespace

std::string shapeFault(const std::string& file, const std::string& driver) {
    ByteSource source(file);
    const bool isBounded = isPacked(file);
    if (!source.isRepeatable()) { // what is read is gone
        return {};
    }
    if (driver == "GeoJSON") {
        return faultOf<JsonShape>(source, isBounded);
    }
    if (driver == "GPX") {
        return faultOf<XmlShape>(source, isBounded);
    }
    return isBounded ? faultOf<AnyShape>(source, isBounded) : "";
}

} // namespace program
