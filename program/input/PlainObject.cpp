#include "program/input/PlainObject.h"

#include "program/input/LineBuffer.h"

#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace program {

namespace {

/// How many bytes are looked at together.
constexpr std::ptrdiff_t kBlock = 16;
static_assert(kBlock <= LineBuffer::kPadding);

/// A number as long as that is finite.
constexpr std::ptrdiff_t kLongestNumber = 100;

/// Of that many bytes a bit each, the lowest for the first: may it not stand within a plain text?
std::uint32_t marksIn(const char* bytes) {
#ifdef __SSE2__
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i marks = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('"')),
                                                    _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'))),
                                       _mm_cmplt_epi8(block, _mm_set1_epi8(' '))); // signed
    return static_cast<std::uint32_t>(_mm_movemask_epi8(marks));
#else
    std::uint32_t marks = 0;
    for (std::ptrdiff_t i = 0; i < kBlock; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        const bool isMark = byte == '"' || byte == '\\' || byte < ' ' || byte >= 0x80;
        marks |= (isMark ? 1U : 0U) << i;
    }
    return marks;
#endif
}

/// Goes through a row whose last byte, a brace, ends all that may run on to it.
struct Walk {
    const char* at;
    const char* last;

    void skipBlanks() {
        while (*at == ' ' || *at == '\t') {
            ++at;
        }
    }

    bool take(char wanted) {
        if (*at != wanted) {
            return false;
        }
        ++at;
        return true;
    }

    bool takeText(std::string_view& text) {
        if (!take('"')) {
            return false;
        }
        const char* const begin = at;
        std::uint32_t marks = 0;
        while (at < last && (marks = marksIn(at)) == 0) {
            at += kBlock;
        }
        at += std::countr_zero(marks | 1U << kBlock);
        if (at >= last || *at != '"') {
            return false;
        }
        text = {begin, static_cast<std::size_t>(at - begin)};
        ++at;
        return true;
    }

    bool takeDigits() {
        const char* const begin = at;
        while (*at >= '0' && *at <= '9') {
            ++at;
        }
        return at != begin;
    }

    bool takeNumber(std::string_view& number) {
        const char* const begin = at;
        take('-');
        const bool isWhole = take('0') ? *at < '0' || *at > '9' : takeDigits();
        if (!isWhole || (take('.') && !takeDigits()) || at - begin > kLongestNumber) {
            return false;
        }
        number = {begin, static_cast<std::size_t>(at - begin)};
        return true;
    }
};

} // namespace

bool PlainObject::read(std::string_view row) {
    members_.clear();
    if (row.size() < 2 || row.front() != '{' || row.back() != '}') {
        return false;
    }
    Walk walk{row.data() + 1, row.data() + row.size() - 1};
    do {
        Member member;
        walk.skipBlanks();
        if (!walk.takeText(member.key)) {
            return false;
        }
        walk.skipBlanks();
        if (!walk.take(':')) {
            return false;
        }
        walk.skipBlanks();
        if (*walk.at == '"' ? !walk.takeText(member.value) : !walk.takeNumber(member.value)) {
            return false;
        }
        walk.skipBlanks();
        members_.push_back(member);
    } while (walk.take(','));
    return walk.at == walk.last;
}

} // namespace program
