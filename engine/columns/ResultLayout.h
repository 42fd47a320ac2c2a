#ifndef QORVEL_ENGINE_COLUMNS_RESULTLAYOUT_H
#define QORVEL_ENGINE_COLUMNS_RESULTLAYOUT_H

#include "engine/columns/ResultTable.h"
#include "engine/export.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qorvel_engine {

namespace detail {

/// T, and whether it may be missing.
template <class T>
struct Member {
    using Value = T;
    static constexpr bool isOptional = false;
};
template <class T>
struct Member<std::optional<T>> {
    using Value = T;
    static constexpr bool isOptional = true;
};

/// Throws the Fault `misuse` for columns without a name and names that two have.
QORVEL_ENGINE_EXPORT void checkNames(const ResultSchema& schema);

} // namespace detail

/// How a struct of one result becomes a row: the one list of its members, each with the column that
/// it stands in. What is appended follows that list, so nothing has to agree with it by hand.
///
///     struct Visit {
///         std::uint64_t entity;
///         qorvel::SpaceBox cell;
///         std::int64_t time;
///
///         static const ResultLayout<Visit>& layout() {
///             using Layout = ResultLayout<Visit>;
///             static const Layout layout(
///                 "visits", "an entity in a cell",
///                 {Layout::entity<&Visit::entity>("entity", "who it is"),
///                  Layout::cell<&Visit::cell>(),
///                  Layout::time<&Visit::time>("time", "when it was there")});
///             return layout;
///         }
///     };
///
/// Members of type std::optional<T> make columns that are nullable.
template <class Result>
class ResultLayout {
public:
    /// One or more columns, and how they are got from a result.
    struct Field {
        std::vector<ResultColumn> columns;                     ///< those that `append` appends
        void (*append)(const Result& result, RowAppender& to); ///< appends their values
        /// The same for many at once; null: one after the other.
        void (*appendMany)(const Result* results, RowsAppender& to) = nullptr;
    };

    /// Throws the Fault `misuse` where two columns have the same name, or one has none.
    ResultLayout(std::string name, std::string description, std::vector<Field> fields)
        : fields_(std::move(fields)) {
        ResultSchema schema{std::move(name), std::move(description), {}};
        for (const Field& field : fields_) {
            schema.columns.insert(schema.columns.end(), field.columns.begin(), field.columns.end());
        }
        detail::checkNames(schema);
        schema_ = std::make_shared<const ResultSchema>(std::move(schema));
    }

    /// What the columns are.
    const ResultSchema& schema() const noexcept { return *schema_; }

    /// An empty table for such results.
    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const {
        return ResultTable(schema_, std::move(names));
    }

    /// Appends a row. Throws the Fault `misuse` for a table that another layout made, and
    /// std::bad_alloc; then the table is as before.
    void append(const Result& result, ResultTable& table) const {
        RowAppender to(table, *schema_);
        for (const Field& field : fields_) {
            field.append(result, to);
        }
        to.finish();
    }

    /// Appends many, as one after the other, in less time where no field needs more than its
    /// members.
    void append(const Result* results, std::size_t count, ResultTable& table) const {
        for (const Field& field : fields_) {
            if (field.appendMany == nullptr) {
                std::for_each(results, results + count,
                              [&](const Result& result) { append(result, table); });
                return;
            }
        }
        RowsAppender to(table, *schema_, count);
        for (const Field& field : fields_) {
            field.appendMany(results, to);
        }
        to.finish();
    }

    /// A std::uint64_t: an entity.
    template <auto Pointer>
    static Field entity(std::string name, std::string description) {
        static_assert(std::is_same<Of<Pointer>, std::uint64_t>::value, "the number of an entity");
        return {{{std::move(name), ResultKind::entity, "", std::move(description)}},
                appendWhole<Pointer>,
                appendWholes<Pointer>};
    }

    /// A std::string.
    template <auto Pointer>
    static Field text(std::string name, std::string description) {
        static_assert(std::is_same<Value<Pointer>, std::string>::value, "a text");
        return field<Pointer>(appendText<Pointer>, ResultKind::text, std::move(name), "",
                              std::move(description));
    }

    /// An integer that 64 bits with a sign can hold, such as a count or a number of minutes.
    template <auto Pointer>
    static Field whole(std::string name, std::string unit, std::string description) {
        using Type = Value<Pointer>;
        static_assert(std::is_integral<Type>::value &&
                          (std::is_signed<Type>::value || sizeof(Type) < sizeof(std::int64_t)),
                      "an integer within 64 bits with a sign");
        return field<Pointer>(appendWhole<Pointer>, ResultKind::whole, std::move(name),
                              std::move(unit), std::move(description));
    }

    /// A double: an angle.
    template <auto Pointer>
    static Field degrees(std::string name, std::string description) {
        static_assert(std::is_same<Value<Pointer>, double>::value, "degrees");
        return field<Pointer>(appendReal<Pointer>, ResultKind::degrees, std::move(name), "deg",
                              std::move(description));
    }

    /// A double: a length.
    template <auto Pointer>
    static Field metres(std::string name, std::string description) {
        static_assert(std::is_same<Value<Pointer>, double>::value, "metres");
        return field<Pointer>(appendReal<Pointer>, ResultKind::metres, std::move(name), "m",
                              std::move(description));
    }

    /// A double: a length of time.
    template <auto Pointer>
    static Field hours(std::string name, std::string description) {
        static_assert(std::is_same<Value<Pointer>, double>::value, "hours");
        return field<Pointer>(appendReal<Pointer>, ResultKind::hours, std::move(name), "h",
                              std::move(description));
    }

    /// A std::int64_t: ms since 1970 UTC.
    template <auto Pointer>
    static Field time(std::string name, std::string description) {
        return timeOf<Pointer>(ResultKind::time, std::move(name), std::move(description));
    }

    /// The same: when a time box ends.
    template <auto Pointer>
    static Field boxEnd(std::string name, std::string description) {
        return timeOf<Pointer>(ResultKind::boxEnd, std::move(name), std::move(description));
    }

    /// A qorvel::SpaceBox: the columns that tell a cell wherever a result has one. It is the row's
    /// shape, too.
    template <auto Pointer>
    static Field cell() {
        static_assert(std::is_base_of<qorvel::SpaceBox, Of<Pointer>>::value, "a cell");
        return {cellColumns(),
                [](const Result& result, RowAppender& to) {
                    to.cell(result.*Pointer);
                    to.shape(result.*Pointer);
                },
                [](const Result* results, RowsAppender& to) {
                    to.cells([results](std::size_t row) -> CellBits {
                        const qorvel::SpaceBox& cell = results[row].*Pointer;
                        return {cell.getFirst64Bits(), cell.getSecond64Bits(),
                                cell.getGeoHashBitDepth()};
                    });
                }};
    }

private:
    template <auto Pointer>
    using Of = typename std::decay<decltype(std::declval<const Result&>().*Pointer)>::type;
    template <auto Pointer>
    using Value = typename detail::Member<Of<Pointer>>::Value;

    using Append = void (*)(const Result&, RowAppender&);
    using AppendMany = void (*)(const Result*, RowsAppender&);

    template <auto Pointer>
    static Field field(Append append, ResultKind kind, std::string name, std::string unit,
                       std::string description, AppendMany appendMany = nullptr) {
        return {{{std::move(name), kind, std::move(unit), std::move(description),
                  detail::Member<Of<Pointer>>::isOptional}},
                append,
                detail::Member<Of<Pointer>>::isOptional ? nullptr : appendMany};
    }

    template <auto Pointer>
    static Field timeOf(ResultKind kind, std::string name, std::string description) {
        static_assert(std::is_same<Value<Pointer>, std::int64_t>::value, "a time");
        return field<Pointer>(appendWhole<Pointer>, kind, std::move(name), "",
                              std::move(description), appendWholes<Pointer>);
    }

    /// The value, or where it is missing one that stands in its place.
    template <auto Pointer>
    static decltype(auto) valueOf(const Result& result, RowAppender& to) {
        if constexpr (detail::Member<Of<Pointer>>::isOptional) {
            to.isPresent((result.*Pointer).has_value());
            return (result.*Pointer).value_or(Value<Pointer>());
        } else {
            return (result.*Pointer);
        }
    }

    template <auto Pointer>
    static void appendWhole(const Result& result, RowAppender& to) {
        to.whole(static_cast<std::int64_t>(valueOf<Pointer>(result, to)));
    }
    template <auto Pointer>
    static void appendWholes(const Result* results, RowsAppender& to) {
        if constexpr (!detail::Member<Of<Pointer>>::isOptional) {
            to.wholes([results](std::size_t row) {
                return static_cast<std::int64_t>(results[row].*Pointer);
            });
        }
    }
    template <auto Pointer>
    static void appendReal(const Result& result, RowAppender& to) {
        to.real(valueOf<Pointer>(result, to));
    }
    template <auto Pointer>
    static void appendText(const Result& result, RowAppender& to) {
        to.text(valueOf<Pointer>(result, to));
    }

    /// The text alone does not tell the cell: of an odd number of bits, neighbours have one less.
    static std::vector<ResultColumn> cellColumns() {
        return {{"geohash", ResultKind::text, "", "the cell"},
                {"bits", ResultKind::whole, "bit", "how many bits of the geohash count"},
                {"lat", ResultKind::degrees, "deg", "the latitude of the cell's centre"},
                {"lon", ResultKind::degrees, "deg", "the longitude of the cell's centre"}};
    }

    std::vector<Field> fields_;
    std::shared_ptr<const ResultSchema> schema_;
};

} // namespace qorvel_engine

#endif
