#ifndef QORVEL_TESTING_SUPPORT_ARROWMAKER_H
#define QORVEL_TESTING_SUPPORT_ARROWMAKER_H

#include "engine/columns/TextValues.h"
#include "testing/support/ArrowColumn.h"

#include <algorithm>
#include <optional>
#include <random>

using ColumnPointer = std::unique_ptr<ArrowColumn>;
using Texts = std::vector<std::optional<std::string>>;

/// Puts values into Arrow's structures, and takes by chance each freedom that the layout leaves:
/// places before the first value, bits where nothing is null, nulls that are not counted, and
/// anything in the places of nulls.
class ArrowMaker {
public:
    explicit ArrowMaker(std::uint64_t seed) : chance(seed) {}

    std::size_t below(std::size_t end) { return static_cast<std::size_t>(chance() % end); }

    /// A column of numbers, stored as the type that the format is of.
    template <class Stored, class Value>
    ColumnPointer numbers(const char* format, const char* name,
                          const std::vector<std::optional<Value>>& values) {
        ColumnPointer column = begin(format, name, values);
        std::vector<Stored> stored(static_cast<std::size_t>(column->array.offset), Stored{7});
        for (const auto& value : values) {
            stored.push_back(value ? static_cast<Stored>(*value)
                                   : static_cast<Stored>(chance() % 100));
        }
        column->addBuffer(stored);
        column->show();
        return column;
    }

    /// A column of texts: utf8, large utf8 or utf8 view, chosen by chance unless it is told.
    ColumnPointer texts(const char* name, const Texts& values, const char* format = nullptr) {
        constexpr const char* kFormats[] = {"u", "U", "vu"};
        ColumnPointer column = begin(format == nullptr ? kFormats[below(3)] : format, name, values);
        if (column->format == "u") {
            addOffsets<std::int32_t>(*column, values);
        } else if (column->format == "U") {
            addOffsets<std::int64_t>(*column, values);
        } else {
            addViews(*column, values);
        }
        column->show();
        return column;
    }

    /// The same with a dictionary, which has a text that is not used and one that is null.
    template <class Index>
    ColumnPointer dictionary(const char* indexFormat, const char* name, const Texts& values,
                             const char* textFormat = nullptr) {
        Texts all = {"never used", std::nullopt};
        std::vector<std::optional<std::ptrdiff_t>> indices;
        for (const auto& value : values) {
            const auto place = std::find(all.begin(), all.end(), value) - all.begin();
            if (place == std::ssize(all)) {
                all.push_back(value);
            }
            const bool isNull = !value && below(2) == 0; // else it stands for a null
            indices.push_back(isNull ? std::nullopt : std::optional(place));
        }
        ColumnPointer column = numbers<Index>(indexFormat, name, indices);
        column->dictionary = texts("", all, textFormat);
        column->show();
        return column;
    }

    /// The length, the bits and the count of nulls; the offset is there before.
    template <class Value>
    void addValidity(ArrowColumn& column, const std::vector<std::optional<Value>>& values) {
        const auto nulls = std::count(values.begin(), values.end(), std::nullopt);
        column.array.length = std::ssize(values);
        column.array.null_count = below(2) == 0 ? -1 : nulls;
        const auto offset = static_cast<std::size_t>(column.array.offset);
        std::vector<std::uint8_t> bits((offset + values.size() + 7) / 8);
        for (std::size_t i = 0; i < offset + values.size(); ++i) {
            const bool isThere = i < offset ? below(2) == 0 : values[i - offset].has_value();
            bits[i / 8] = static_cast<std::uint8_t>(bits[i / 8] | (isThere ? 1U : 0U) << i % 8);
        }
        if (nulls == 0 && below(2) == 0) {
            column.buffers.push_back(nullptr);
        } else {
            column.addBuffer(bits);
        }
    }

    std::mt19937_64 chance;

private:
    template <class Value>
    ColumnPointer begin(const char* format, const char* name,
                        const std::vector<std::optional<Value>>& values) {
        auto column = std::make_unique<ArrowColumn>(format, name);
        column->array.offset = static_cast<std::int64_t>(below(20));
        addValidity(*column, values);
        return column;
    }

    template <class Offset>
    void addOffsets(ArrowColumn& column, const Texts& values) {
        std::string bytes(below(5), 'x');
        std::vector<Offset> offsets(static_cast<std::size_t>(column.array.offset) + 1,
                                    static_cast<Offset>(bytes.size()));
        for (const auto& value : values) {
            bytes += value.value_or("");
            offsets.push_back(static_cast<Offset>(bytes.size()));
        }
        column.addBuffer(offsets);
        column.addBuffer(bytes.data(), bytes.size());
    }

    void addViews(ArrowColumn& column, const Texts& values) {
        using View = qorvel_engine::TextValues::ArrowView;
        constexpr View kNone{-7, 7, 7, 7}; // no view, and not read
        std::string bytes[2] = {"", "x"};
        std::vector<View> views(static_cast<std::size_t>(column.array.offset), kNone);
        for (const auto& value : values) {
            View view = kNone;
            view.length = value ? static_cast<std::int32_t>(value->size()) : kNone.length;
            if (view.length > qorvel_engine::TextValues::kLongestInView) {
                view.buffer = static_cast<std::int32_t>(below(2));
                view.offset = static_cast<std::int32_t>(bytes[view.buffer].size());
                bytes[view.buffer] += *value;
            } else if (value) { // the text begins at the prefix, and may reach the end
                std::memcpy(reinterpret_cast<char*>(&view) + offsetof(View, prefix), value->data(),
                            value->size());
            }
            views.push_back(view);
        }
        column.addBuffer(views);
        column.addBuffer(bytes[0].data(), bytes[0].size());
        column.addBuffer(bytes[1].data(), bytes[1].size());
        column.addBuffer(std::vector<std::int64_t>{std::ssize(bytes[0]), std::ssize(bytes[1])});
    }
};

#endif
