#ifndef QORVEL_ENGINE_COLUMNS_TEXTVALUES_H
#define QORVEL_ENGINE_COLUMNS_TEXTVALUES_H

#include "engine/columns/Values.h"

#include <string_view>

namespace qorvel_engine {

/// A column of texts, read in place.
class TextValues : public Values {
public:
    /// A column that is null in every row.
    TextValues() noexcept = default;

    /// A text a row from `texts[first]` on; `validity` may be null.
    explicit TextValues(const std::string_view* texts, const void* validity = nullptr,
                        std::int64_t first = 0) noexcept
        : Values(texts, validity, first) {}

    /// The text of row i is the bytes from `offsets[first + i]` to before `offsets[first + i + 1]`.
    /// Offsets are not negative and do not descend.
    TextValues(const std::int32_t* offsets, const char* bytes, const void* validity = nullptr,
               std::int64_t first = 0) noexcept
        : Values(offsets, validity, first), bytes_(bytes), layout_(Layout::offsets32) {}
    /// The same with longer offsets.
    TextValues(const std::int64_t* offsets, const char* bytes, const void* validity = nullptr,
               std::int64_t first = 0) noexcept
        : Values(offsets, validity, first), bytes_(bytes), layout_(Layout::offsets64) {}

    /// One of Arrow's views. In a text of up to 12 bytes it stands itself from `prefix` on.
    struct ArrowView {
        std::int32_t length; ///< in bytes
        std::int32_t prefix; ///< the first bytes
        std::int32_t buffer; ///< which one the text is in
        std::int32_t offset; ///< where it begins there
    };
    /// The longest text that stands in its view, in bytes.
    static constexpr std::int32_t kLongestInView = 12;

    /// A view a row from the `first` on. Those that are not null stay within their buffers.
    static TextValues ofViews(const void* views, const void* const* buffers, const void* validity,
                              std::int64_t first) noexcept {
        TextValues texts(views, validity, first);
        texts.buffers_ = buffers;
        return texts;
    }

    /// The text of a row that is not null: any bytes, until they are checked.
    std::string_view text(std::int64_t row) const noexcept {
        switch (layout_) {
        case Layout::offsets32:
            return between<std::int32_t>(row);
        case Layout::offsets64:
            return between<std::int64_t>(row);
        case Layout::views:
            return viewed(row);
        default:
            return at<std::string_view>(row);
        }
    }

    /// All bytes of some rows, from..to, one text behind the other; nothing where they do not stand
    /// so, or where a row is null or empty.
    std::string_view textsOf(std::int64_t from, std::int64_t to) const noexcept {
        switch (hasAll() ? layout_ : Layout::texts) {
        case Layout::offsets32:
            return allBetween<std::int32_t>(from, to);
        case Layout::offsets64:
            return allBetween<std::int64_t>(from, to);
        default:
            return {};
        }
    }

private:
    enum class Layout : std::uint8_t { texts, offsets32, offsets64, views };

    TextValues(const void* views, const void* validity, std::int64_t first) noexcept
        : Values(views, validity, first), layout_(Layout::views) {}

    template <class Offset>
    std::string_view between(std::int64_t row) const noexcept {
        const auto begin = at<Offset>(row);
        const auto size = static_cast<std::size_t>(at<Offset>(row + 1) - begin);
        return size == 0 ? std::string_view() : std::string_view(bytes_ + begin, size);
    }

    template <class Offset>
    std::string_view allBetween(std::int64_t from, std::int64_t to) const noexcept {
        bool isAscending = true;
        for (std::int64_t row = from; row < to; ++row) {
            isAscending = isAscending & (at<Offset>(row) < at<Offset>(row + 1));
        }
        const auto begin = at<Offset>(from);
        return isAscending && from < to
                   ? std::string_view(bytes_ + begin,
                                      static_cast<std::size_t>(at<Offset>(to) - begin))
                   : std::string_view();
    }

    std::string_view viewed(std::int64_t row) const noexcept {
        const auto view = at<ArrowView>(row);
        const auto size = static_cast<std::size_t>(view.length);
        if (view.length > kLongestInView) {
            return {static_cast<const char*>(buffers_[view.buffer]) + view.offset, size};
        }
        return {placeOf(row, sizeof(ArrowView)) + offsetof(ArrowView, prefix), size};
    }

    const char* bytes_ = nullptr;
    const void* const* buffers_ = nullptr;
    Layout layout_ = Layout::texts;
};

} // namespace qorvel_engine

#endif
