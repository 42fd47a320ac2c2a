#include "engine/analysis/BoxResult.h"
#include "engine/columns/ArrowOwner.h"
#include "engine/columns/EntityDictionary.h"
#include "engine/columns/Fault.h"
#include "engine/columns/ObservationSchema.h"
#include "engine/columns/ResultLayout.h"
#include "engine/columns/exportArrow.h"
#include "testing/support/ArrowMaker.h"

#include "qorvel/qorvel.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <new>
#include <random>
#include <thread>

namespace {

/// Allocations left on this thread until one fails; negative: none fails.
thread_local int allocationsLeft = -1;

[[gnu::noinline]] void* allocate(std::size_t size, std::size_t alignment) {
    const std::size_t rounded = (size / alignment + 1) * alignment;
    void* const memory = allocationsLeft-- == 0 ? nullptr : std::aligned_alloc(alignment, rounded);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

} // namespace

// The engine's allocations come here too. Not inlined, since g++ 12 then sees free() beside new.
// clang-format off
void* operator new(std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
void* operator new[](std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
// The sanitizer has those of its own, which would not call the first.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
    return allocate(size, alignof(std::max_align_t));
} catch (const std::bad_alloc&) {
    return nullptr;
}
void* operator new[](std::size_t size, const std::nothrow_t& none) noexcept { return operator new(size, none); }
void* operator new(std::size_t size, std::align_val_t to) { return allocate(size, static_cast<std::size_t>(to)); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
// clang-format on

namespace {

using namespace qorvel_engine;

ArrowMaker make(1); // and all chance

std::size_t below(std::size_t end) {
    return make.below(end);
}
template <class T>
T oneOf(const std::vector<T>& values) {
    return values[below(values.size())];
}

/// What is thrown, as "code: sentence"; "" where nothing is.
template <class Call>
std::string faultOf(const Call& call) {
    try {
        call();
        return "";
    } catch (const Fault& fault) {
        return std::to_string(static_cast<int>(fault.code())) + ": " + fault.what();
    }
}

/// Runs the call with every allocation failing once, until none does; returns how often it failed.
template <class Call>
int failEachAllocation(const Call& call) {
    for (int failures = 0;; ++failures) {
        allocationsLeft = failures;
        try {
            call();
            allocationsLeft = -1;
            return failures;
        } catch (const std::bad_alloc&) {
            allocationsLeft = -1;
        }
    }
}

// ---- Rows ----

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min();

/// A row as a person would write it down; what is not there is null.
struct Row {
    std::optional<std::string> entity = "ada";
    std::optional<double> latitude = 1.0;
    std::optional<double> longitude = 2.0;
    std::optional<std::int64_t> time = 3;
    std::optional<double> accuracy = std::nullopt;
    std::optional<std::string> primaryKey = std::nullopt;
    std::optional<std::string> secondaryKey = std::nullopt;
    bool isThere = true;
};

using R = RowReason;
struct ReasonRow {
    Row row;
    RowReason reason;
};
const std::vector<ReasonRow> kReasonRows = {
    {{}, R::none},
    {{.entity = std::nullopt}, R::entityMissing},
    {{.entity = ""}, R::entityMissing},
    {{.entity =
          "\xC3\xBC \xE2\x82\xAC \xF0\x9F\x9A\x97 \xED\x9F\xBF \xEE\x80\x80 \xF4\x8F\xBF\xBF"},
     R::none},
    {{.entity = std::string("ada\0", 4)}, R::entityHasNul},
    {{.entity = std::string("eight by\0 eight", 15)}, R::entityHasNul},
    {{.entity = "\xC0\xAF"}, R::entityNotUtf8},                    // overlong
    {{.entity = "\xE0\x9F\xBF"}, R::entityNotUtf8},                // overlong
    {{.entity = "\xF0\x8F\xBF\xBF"}, R::entityNotUtf8},            // overlong
    {{.entity = "eight by eight \xED\xA0\x80"}, R::entityNotUtf8}, // a surrogate
    {{.entity = "\xF4\x90\x80\x80"}, R::entityNotUtf8},            // beyond the last
    {{.entity = "eight byte\xC3"}, R::entityNotUtf8},              // cut off
    {{.entity = "\xE2\x82x"}, R::entityNotUtf8},
    {{.entity = "\xE2\x82\xC0"}, R::entityNotUtf8},
    {{.entity = "\x80"}, R::entityNotUtf8},
    {{.latitude = std::nullopt}, R::latitudeMissing},
    {{.latitude = 90.0, .longitude = 180.0}, R::none},
    {{.latitude = -90.0, .longitude = -180.0}, R::none},
    {{.latitude = std::nextafter(90.0, 91.0)}, R::latitudeOutOfRange},
    {{.latitude = std::nextafter(-90.0, -91.0)}, R::latitudeOutOfRange},
    {{.latitude = kNaN}, R::latitudeOutOfRange},
    {{.longitude = std::nullopt}, R::longitudeMissing},
    {{.longitude = std::nextafter(180.0, 181.0)}, R::longitudeOutOfRange},
    {{.longitude = -kInfinity}, R::longitudeOutOfRange},
    {{.longitude = kNaN}, R::longitudeOutOfRange},
    {{.time = std::nullopt}, R::timeMissing},
    {{.time = 0}, R::none},
    {{.time = -1}, R::timeNegative},
    {{.accuracy = 0.0}, R::none},
    {{.accuracy = std::numeric_limits<double>::max()}, R::none},
    {{.accuracy = -0.5}, R::accuracyOutOfRange},
    {{.accuracy = kInfinity}, R::accuracyOutOfRange},
    {{.accuracy = kNaN}, R::accuracyOutOfRange},
    {{.primaryKey = ""}, R::none},
    {{.primaryKey = "phone", .secondaryKey = "car"}, R::none},
    {{.primaryKey = "\xFF"}, R::primaryKeyNotUtf8},
    {{.primaryKey = std::string(1, '\0')}, R::primaryKeyHasNul},
    {{.secondaryKey = "\xFF"}, R::secondaryKeyNotUtf8},
    {{.secondaryKey = std::string(1, '\0')}, R::secondaryKeyHasNul},
    {{.isThere = false}, R::rowMissing},
    {{.entity = "", .latitude = 91.0, .time = -1}, R::entityMissing}, // the first of several
};

/// A row that can be used, in one line.
template <class... Values>
std::string line(const Values&... values) {
    std::ostringstream out;
    out << std::hexfloat; // all digits
    ((out << values << '|'), ...);
    return out.str();
}

std::string lineOf(const Row& row) {
    return line(*row.entity, *row.latitude, *row.longitude, *row.time, row.accuracy.value_or(-1),
                row.primaryKey.value_or(""), row.secondaryKey.value_or(""));
}

std::string lineOf(const Observations& batch, std::int64_t row) {
    std::string entity;
    if (batch.entityKind() == EntityKind::text) {
        entity = batch.entityText(row);
    } else {
        const std::uint64_t bits = batch.entityBits(row);
        entity = batch.entityKind() == EntityKind::uint64
                     ? std::to_string(bits)
                     : std::to_string(static_cast<std::int64_t>(bits));
    }
    return line(entity, batch.latitude(row), batch.longitude(row), batch.timeMs(row),
                batch.accuracy(row).value_or(-1), batch.primaryKey(row), batch.secondaryKey(row));
}

/// Expects that the batch holds the rows.
void expectRows(const Observations& batch, const std::vector<ReasonRow>& rows) {
    ASSERT_EQ(batch.size(), std::ssize(rows));
    for (std::int64_t i = 0; i < batch.size(); ++i) {
        const auto& [row, reason] = rows[static_cast<std::size_t>(i)];
        ASSERT_EQ(batch.check(i), reason) << "row " << i << ": " << reasonText(batch.check(i));
        ASSERT_EQ(*reasonText(reason) == '\0', reason == R::none);
        if (reason == R::none) {
            ASSERT_EQ(lineOf(batch, i), lineOf(row));
        }
    }
    std::vector<R> reasons(rows.size());
    const bool isGood = batch.check(0, batch.size(), reasons.data());
    EXPECT_EQ(isGood, std::ranges::count(reasons, R::none) == batch.size());
    EXPECT_TRUE(std::ranges::equal(reasons, rows, {}, {}, &ReasonRow::reason));
}

TEST(Rows, AreCheckedInMemoryOfTheHost) {
    for (const auto& [row, reason] : kReasonRows) {
        const std::string_view entity = row.entity ? *row.entity : std::string_view();
        const std::string key = row.primaryKey.value_or("");
        const std::int64_t offsets[] = {0, std::ssize(key)};
        const std::string_view other = row.secondaryKey ? *row.secondaryKey : std::string_view();
        const auto real = [](const auto& value) {
            return value ? RealValues(&*value) : RealValues();
        };
        const char isThere = row.isThere ? 1 : 0;
        ObservationColumns columns;
        columns.size = 1;
        columns.rows = {&isThere, 0};
        columns.entityText = TextValues(&entity);
        columns.latitude = real(row.latitude);
        columns.longitude = real(row.longitude);
        columns.time = row.time ? TimeValues(&*row.time) : TimeValues();
        columns.accuracy = real(row.accuracy);
        columns.primaryKey = TextValues(offsets, key.data());
        columns.secondaryKey = TextValues(&other);
        expectRows(Observations(columns), {{row, reason}});
    }
    EXPECT_EQ(reasonText(static_cast<R>(200)), std::string());
}

/// Names in one piece of memory are looked at as a whole, where there are no keys; the slow way is
/// row by row.
TEST(Rows, TextsAreFoundBadTogetherAsByThemselves) {
    const std::string texts[] = {"ada",  "a name of many bytes", "\xC3\xA9t\xC3\xA9",
                                 "",     std::string("a\0b", 3), "\xFF",
                                 "b\xC3"};
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = "?";
        std::vector<std::int64_t> offsets = {1};
        const auto rows = static_cast<std::int64_t>(1 + below(12));
        for (std::int64_t row = 0; row < rows; ++row) {
            bytes += texts[below(10) > 0 ? below(2) : below(std::size(texts))];
            offsets.push_back(std::ssize(bytes));
        }
        const std::string letters(offsets.size(), 'x');
        std::vector<std::int64_t> ones(offsets.size());
        std::iota(ones.begin(), ones.end(), 0);
        const std::vector<double> degrees(offsets.size());
        const std::vector<std::int64_t> times(offsets.size());
        ObservationColumns columns;
        columns.size = rows;
        columns.entityText = TextValues(ones.data(), letters.data());
        TextColumn* const someColumn[] = {&columns.entityText, &columns.primaryKey,
                                          &columns.secondaryKey};
        *someColumn[below(3)] = TextValues(offsets.data(), bytes.data());
        columns.latitude = columns.longitude = RealValues(degrees.data());
        columns.time = TimeValues(times.data());
        const Observations batch(columns);
        std::vector<R> reasons(offsets.size());
        const auto from = static_cast<std::int64_t>(below(static_cast<std::size_t>(rows)));
        const bool isGood = batch.check(from, rows, reasons.data());
        for (std::int64_t row = from; row < rows; ++row) {
            ASSERT_EQ(reasons[static_cast<std::size_t>(row - from)], batch.check(row));
        }
        ASSERT_EQ(isGood, std::ranges::count(reasons, R::none) == std::ssize(reasons));
    }
}

TEST(Rows, TimesOfAllUnitsAreFlooredToMilliseconds) {
    using U = TimeUnit;
    const std::tuple<U, std::int64_t, std::int64_t, RowReason> rows[] = {
        {U::seconds, 1, 1000, R::none},
        {U::seconds, kLast / 1000, kLast / 1000 * 1000, R::none},
        {U::seconds, kLast / 1000 + 1, kLast, R::timeOutOfRange},
        {U::seconds, kFirst / 1000, kFirst / 1000 * 1000, R::timeNegative},
        {U::seconds, kFirst / 1000 - 1, kFirst, R::timeNegative},
        {U::milliseconds, kLast, kLast, R::none},
        {U::microseconds, 1999, 1, R::none},
        {U::microseconds, -1, -1, R::timeNegative}, // truncated it would be a good 0
        {U::microseconds, -1000, -1, R::timeNegative},
        {U::microseconds, -1001, -2, R::timeNegative},
        {U::nanoseconds, 1999999, 1, R::none},
        {U::nanoseconds, -1, -1, R::timeNegative},
        {U::nanoseconds, kFirst, kFirst / 1000000 - 1, R::timeNegative},
    };
    const std::string_view entity = "ada";
    const double degrees = 0.0;
    for (const auto& [unit, value, milliseconds, reason] : rows) {
        ObservationColumns columns{.size = 1, .entityText = TextValues(&entity)};
        columns.latitude = columns.longitude = RealValues(&degrees);
        columns.time = TimeValues(&value, unit);
        EXPECT_EQ(Observations(columns).check(0), reason) << value;
        EXPECT_EQ(Observations(columns).timeMs(0), milliseconds) << value;
    }
}

// ---- Arrow's batches ----

ColumnPointer anyTexts(const char* name, const Texts& values) {
    switch (below(6)) {
    case 0:
        return make.dictionary<std::int8_t>("c", name, values);
    case 1:
        return make.dictionary<std::uint16_t>("S", name, values);
    case 2:
        return make.dictionary<std::int64_t>("l", name, values);
    default:
        return make.texts(name, values);
    }
}

/// Entities that are integers, which are put into the rows.
template <class Stored>
ColumnPointer integers(const char* format, std::vector<ReasonRow>& rows) {
    std::vector<std::optional<Stored>> values;
    for (auto& [row, reason] : rows) {
        const auto value = static_cast<Stored>(make.chance());
        values.push_back(row.entity ? std::optional(value) : std::nullopt);
        row.entity = row.entity ? std::optional(std::to_string(value)) : std::nullopt;
    }
    return make.numbers<Stored>(format, "entity", values);
}
ColumnPointer anyIntegers(std::vector<ReasonRow>& rows) {
    const auto [integersOf, format] =
        oneOf<std::pair<ColumnPointer (*)(const char*, std::vector<ReasonRow>&), const char*>>(
            {{integers<std::int8_t>, "c"},
             {integers<std::uint8_t>, "C"},
             {integers<std::int16_t>, "s"},
             {integers<std::uint16_t>, "S"},
             {integers<std::int32_t>, "i"},
             {integers<std::uint32_t>, "I"},
             {integers<std::int64_t>, "l"},
             {integers<std::uint64_t>, "L"}});
    return integersOf(format, rows);
}

template <class Value>
std::vector<Value> valuesOf(const std::vector<ReasonRow>& rows, Value Row::*member) {
    std::vector<Value> values;
    for (const auto& [row, reason] : rows) {
        values.push_back(row.*member);
    }
    return values;
}

/// Of numbers without a unit some are microseconds of 1973, or milliseconds of 5138.
ColumnPointer anyTimes(std::vector<ReasonRow>& rows) {
    const auto [format, factor] = oneOf<std::pair<const char*, std::int64_t>>(
        {{"l", 1}, {"tsm:", 1}, {"tsm:Europe/Vienna", 1}, {"tsu:UTC", 1000}, {"tsn:", 1000000}});
    for (ReasonRow& row : rows) {
        if (format == std::string_view("l") && row.reason == R::none && below(4) == 0) {
            const bool isDoubtful = below(2) == 0;
            row.row.time = isDoubtful ? 100'000'000'000'000 : 99'999'999'999'999;
            row.reason = isDoubtful ? R::timeDoubtful : R::none;
        }
    }
    auto values = valuesOf(rows, &Row::time);
    for (auto& value : values) {
        if (value) { // anywhere within the millisecond
            *value = *value * factor + static_cast<std::int64_t>(make.chance() % 1000000) % factor;
        }
    }
    return make.numbers<std::int64_t>(format, "time", values);
}

/// Rows of the table above, or with a name or degrees of another length.
std::vector<ReasonRow> anyRows(bool areSingle, bool areNumbers) {
    std::vector<ReasonRow> rows(below(30));
    for (ReasonRow& row : rows) {
        row = areSingle ? oneOf<ReasonRow>({{{.latitude = -12.625, .accuracy = 0.5}, R::none},
                                            {{.latitude = kNaN}, R::latitudeOutOfRange}})
                        : oneOf(kReasonRows);
        if (row.reason == R::none && below(2) == 0) {
            row.row.entity = "somebody with a name beyond a view";
        }
        if (areNumbers && row.row.entity != "ada" && row.row.entity) { // only texts can be bad
            row = {{}, R::none};
        }
    }
    return rows;
}

TEST(ArrowBatches, OfAllTypesAndSlicesAreReadAsTheyAre) {
    for (int round = 0; round < 2000; ++round) {
        const bool areSingle = below(3) == 0;
        const bool areNumbers = below(3) == 0;
        std::vector<ReasonRow> rows = anyRows(areSingle, areNumbers);
        const auto reals = [&](const char* name, auto member) {
            return areSingle ? make.numbers<float>("f", name, valuesOf(rows, member))
                             : make.numbers<double>("g", name, valuesOf(rows, member));
        };
        ArrowColumn table("+s", "");
        std::vector<ColumnPointer>& columns = table.children;
        columns.push_back(areNumbers ? anyIntegers(rows)
                                     : anyTexts("entity", valuesOf(rows, &Row::entity)));
        columns.push_back(reals("lat", &Row::latitude));
        columns.push_back(reals("lon", &Row::longitude));
        columns.push_back(anyTimes(rows));
        columns.push_back(reals("accuracy", &Row::accuracy));
        columns.push_back(anyTexts("primary_key", valuesOf(rows, &Row::primaryKey)));
        columns.push_back(anyTexts("secondary_key", valuesOf(rows, &Row::secondaryKey)));
        columns.push_back(std::make_unique<ArrowColumn>("+w:3", "of no matter"));
        columns.back()->show();
        std::shuffle(columns.begin(), columns.end(), make.chance);
        std::vector<std::optional<bool>> isThere;
        for (const auto& [row, reason] : rows) {
            isThere.push_back(row.isThere ? std::optional(true) : std::nullopt);
        }
        make.addValidity(table, isThere);
        table.show();
        // A slice of the table: its columns stay as they are.
        const auto from = static_cast<std::ptrdiff_t>(below(rows.size() + 1));
        rows.erase(rows.begin(), rows.begin() + from);
        rows.resize(below(rows.size() + 1));
        table.array.offset = from;
        table.array.length = std::ssize(rows);
        table.array.null_count = -1;
        const Observations batch = ObservationSchema(table.schema).bind(table.array);
        ASSERT_NO_FATAL_FAILURE(expectRows(batch, rows)) << round;
    }
}

ColumnPointer plainTable() {
    using Reals = std::vector<std::optional<double>>;
    using Wholes = std::vector<std::optional<std::int64_t>>;
    auto table = std::make_unique<ArrowColumn>("+s", "");
    auto& columns = table->children;
    columns.push_back(make.texts("entity", {"ada", "", "bob"}, "u"));
    columns.push_back(make.numbers<double>("g", "lat", Reals(3, 1.0)));
    columns.push_back(make.numbers<double>("g", "lon", Reals(3, 1.0)));
    columns.push_back(make.numbers<std::int64_t>("tsm:", "time", Wholes(3, 1)));
    columns.push_back(make.texts("primary_key", {"a", {}, "a text beyond its view"}, "vu"));
    columns.push_back(make.dictionary<std::int8_t>("c", "secondary_key", {"x", "y", {}}, "u"));
    table->array.length = 3;
    table->buffers.push_back(nullptr);
    table->show();
    return table;
}

/// A good batch, to be falsified.
struct Batch {
    ArrowSchema& schema(std::size_t column) const { return table->children[column]->schema; }
    ArrowArray& array(std::size_t column) const { return table->children[column]->array; }
    const void*& buffer(std::size_t column, std::size_t number) const {
        return table->children[column]->buffers[number];
    }
    template <class Value>
    void put(std::size_t column, std::int64_t row, Value value) const {
        char* const begin = const_cast<char*>(static_cast<const char*>(buffer(column, 1)));
        const auto place = static_cast<std::size_t>(array(column).offset + row);
        std::memcpy(begin + place * sizeof(value), &value, sizeof(value));
    }
    void putView(std::int32_t length, std::int32_t number, std::int32_t offset) const {
        put(4, 0, TextValues::ArrowView{length, 0, number, offset});
    }

    ColumnPointer table = plainTable();
    ArrowSchema& tableSchema = table->schema;
    ArrowArray& tableArray = table->array;
};

enum : std::size_t { entity, lat, lon, when, key, other }; // the columns of plainTable

struct Lie {
    void (*tell)(const Batch& b);
    const char* column; ///< null: it is the table's
    const char* what;
};
#define TOLD(...) [](const Batch& b) { __VA_ARGS__; }
const Lie kLies[] = {
    {TOLD(b.tableSchema.release = nullptr), nullptr, "has been released"},
    {TOLD(b.tableSchema.format = nullptr), nullptr, "is no struct of columns"},
    {TOLD(b.tableSchema.format = "+l"), nullptr, "is no struct of columns"},
    {TOLD(b.tableSchema.n_children = -1), nullptr, "breaks the rules of Arrow schemas"},
    {TOLD(b.tableSchema.children = nullptr), nullptr, "breaks the rules of Arrow schemas"},
    {TOLD(b.tableSchema.dictionary = &b.tableSchema), nullptr, "breaks the rules of Arrow schemas"},
    {TOLD(b.table->schemas[2] = nullptr), nullptr, "lacks a column that its schema counts"},
    {TOLD(b.schema(2).release = nullptr), nullptr, "lacks a column that its schema counts"},
    {TOLD(b.tableSchema.n_children = 1), "lat", "is missing"},
    {TOLD(b.schema(lon).name = nullptr), "lon", "is missing"},
    {TOLD(b.schema(lon).name = "lat"), "lat", "is there twice"},
    {TOLD(b.schema(lat).format = nullptr), "lat", "has no type"},
    {TOLD(b.schema(lat).n_children = 1), "lat", "has columns of its own"},
    {TOLD(b.schema(lat).format = "u"), "lat", "is utf8, but has to be float64 or float32"},
    {TOLD(b.schema(lat).dictionary = &b.schema(entity)), "lat",
     "is a dictionary of utf8, but has to be float64 or float32"},
    {TOLD(b.schema(when).format = "tdm"), "time",
     "is \"tdm\", but has to be a timestamp or int64 (milliseconds)"},
    {TOLD(b.schema(when).format = "i"), "time",
     "is int32, but has to be a timestamp or int64 (milliseconds)"},
    {TOLD(b.schema(entity).format = ""), "entity", "is \"\", but has to be text or an integer"},
    {TOLD(b.schema(entity).format = "n"), "entity", "is null, but has to be text or an integer"},
    {TOLD(b.schema(key).format = "z"), "primary_key", "is \"z\", but has to be text"},
    {TOLD(b.schema(other).dictionary->format = "g"), "secondary_key",
     "is a dictionary of float64, but has to be text"},
    {TOLD(b.schema(other).dictionary->format = nullptr), "secondary_key", "has no type"},
    {TOLD(b.schema(other).dictionary->release = nullptr), "secondary_key", "has been released"},
    {TOLD(b.schema(other).dictionary->dictionary = &b.schema(key)), "secondary_key",
     "is a dictionary of utf8, but has to be text"},
    {TOLD(b.tableArray.release = nullptr), nullptr, "has been released"},
    {TOLD(b.tableArray.n_buffers = 2), nullptr, "has another number of buffers than its type"},
    {TOLD(b.tableArray.buffers = nullptr), nullptr, "has no buffers"},
    {TOLD(b.tableArray.length = -1), nullptr, "has a negative length"},
    {TOLD(b.tableArray.offset = -1), nullptr, "has a negative offset"},
    {TOLD(b.tableArray.null_count = 1), nullptr, "has nulls but no validity bits"},
    {TOLD(b.tableArray.null_count = -2), nullptr, "has more nulls than values"},
    {TOLD(b.tableArray.n_children = 5), nullptr, "has another number of columns than its schema"},
    {TOLD(b.tableArray.children = nullptr), nullptr, "lacks a child"},
    {TOLD(b.table->arrays[when] = nullptr), nullptr, "lacks a child"},
    {TOLD(b.tableArray.length = 4), "entity", "is shorter than its table"},
    {TOLD(b.tableArray.offset = 1), "entity", "is shorter than its table"},
    {TOLD(b.array(lat).release = nullptr), "lat", "has been released"},
    {TOLD(b.array(lat).length = 2), "lat", "is shorter than its table"},
    {TOLD(b.array(lat).null_count = 4), "lat", "has more nulls than values"},
    {TOLD(b.array(lat).n_buffers = 1), "lat", "has another number of buffers than its type"},
    {TOLD(b.array(lat).n_children = 1), "lat", "has children"},
    {TOLD(b.buffer(lat, 1) = nullptr), "lat", "has values but no buffer with them"},
    {TOLD(b.array(lat).length = b.array(lat).offset = kLast / 2), "lat",
     "has a length and an offset beyond all memory"},
    {TOLD(b.array(lat).offset = kLast), "lat", "has a length and an offset beyond all memory"},
    {TOLD(b.array(lat).length = kLast), "lat", "has a length and an offset beyond all memory"},
    {TOLD(b.array(lat).dictionary = &b.tableArray), "lat",
     "has a dictionary that its type does not have"},
    {TOLD(b.array(when).dictionary = &b.tableArray), "time",
     "has a dictionary that its type does not have"},
    {TOLD(b.array(entity).dictionary = &b.tableArray), "entity",
     "has a dictionary that its type does not have"},
    {TOLD(b.array(entity).n_buffers = 2), "entity", "has another number of buffers than its type"},
    {TOLD(b.buffer(entity, 2) = nullptr), "entity", "has texts but no buffer with them"},
    {TOLD(b.put(entity, 0, -1)), "entity", "has offsets that are negative or descend"},
    {TOLD(b.put(entity, 2, 100)), "entity", "has offsets that are negative or descend"},
    {TOLD(b.tableArray.length = 2; b.put(entity, 2, 100)), "entity",
     "has offsets that are negative or descend"}, // of a column that goes on behind its table
    {TOLD(b.array(key).n_buffers = 2), "primary_key",
     "has another number of buffers than its type"},
    {TOLD(b.buffer(key, 4) = nullptr), "primary_key", "has no lengths of its buffers"},
    {TOLD(b.buffer(key, 2) = b.buffer(key, 3) = nullptr), "primary_key",
     "has texts but no buffer with them"},
    {TOLD(b.putView(-1, 0, 0)), "primary_key", "has a text of negative length"},
    {TOLD(b.putView(13, 2, 0)), "primary_key", "has a text in no buffer"},
    {TOLD(b.putView(13, -1, 0)), "primary_key", "has a text in no buffer"},
    {TOLD(b.putView(13, 0, -1)), "primary_key", "has a text beyond its buffer"},
    {TOLD(b.putView(13, 0, 10)), "primary_key", "has a text beyond its buffer"},
    {TOLD(b.array(other).dictionary = nullptr), "secondary_key", "has no dictionary"},
    {TOLD(b.put(other, 0, std::int8_t{4})), "secondary_key",
     "has an index that is not in its dictionary"},
    {TOLD(b.put(other, 0, std::int8_t{-1})), "secondary_key",
     "has an index that is not in its dictionary"},
    {TOLD(b.array(other).dictionary->length = -1), "secondary_key", "has a negative length"},
};
#undef TOLD

TEST(ArrowBatches, LiesAreRefusedInASentence) {
    for (const auto& [tell, column, what] : kLies) {
        const Batch batch;
        const auto bind = [&batch] { ObservationSchema(batch.tableSchema).bind(batch.tableArray); };
        EXPECT_EQ(faultOf(bind), "");
        tell(batch);
        const std::string who =
            column == nullptr ? "table" : "column \"" + std::string(column) + '"';
        const char* const code = what == std::string("is missing") ? "2" : "1";
        EXPECT_EQ(faultOf(bind), code + (": The " + who + ' ' + what + '.'));
    }
}

TEST(ArrowBatches, ColumnsAreFoundByTheirNames) {
    const ColumnPointer table = plainTable();
    const auto faultWith = [&](const ColumnNames& names) {
        return faultOf([&] { ObservationSchema(table->schema, names).bind(table->array); });
    };
    EXPECT_EQ(faultWith({.accuracy = "precision"}), "2: The column \"precision\" is missing.");
    EXPECT_EQ(faultWith({.latitude = "lon", .longitude = "lat", .accuracy = "lat"}), "");
    EXPECT_EQ(faultWith({.latitude = ""}), "2: The column \"\" is missing.");
    const Observations batch =
        ObservationSchema(table->schema, {.primaryKey = "", .secondaryKey = "entity"})
            .bind(table->array);
    EXPECT_EQ(batch.primaryKey(2), "");
    EXPECT_EQ(batch.secondaryKey(2), "bob");
    // A column without values may be of type null; one without rows has no buffers to speak of.
    table->children.push_back(std::make_unique<ArrowColumn>("n", "accuracy"));
    table->children.back()->array.length = table->children.back()->array.null_count = 3;
    table->children.back()->show();
    table->show();
    EXPECT_EQ(ObservationSchema(table->schema).bind(table->array).accuracy(0), std::nullopt);
    table->array.length = 0;
    for (const ColumnPointer& column : table->children) {
        column->array.length = column->array.offset = column->array.null_count = 0;
        std::fill(column->buffers.begin(), column->buffers.end(), nullptr);
    }
    table->children[key]->array.n_buffers = 3; // no buffers of texts
    EXPECT_EQ(ObservationSchema(table->schema).bind(table->array).size(), 0);
}

// ---- Names ----

TEST(EntityDictionary, NumbersAreDenseAndNamesStayWhereTheyAre) {
    EntityDictionary names(EntityKind::text);
    std::map<std::string, std::uint64_t> model;
    std::vector<std::string_view> places;
    for (int i = 0; i < 30000; ++i) {
        const std::size_t length = i % 1000 == 0 ? 5000 + below(5000) : below(20);
        std::string name(length, static_cast<char>('a' + below(2)));
        name += std::to_string(below(5000));
        const auto [known, isNew] = model.try_emplace(name, model.size());
        ASSERT_EQ(names.numberOf(name), known->second);
        if (isNew) {
            places.push_back(names.text(known->second));
        }
    }
    ASSERT_EQ(names.size(), model.size());
    for (const auto& [name, number] : model) {
        ASSERT_EQ(names.numberOf(name), number);
        ASSERT_EQ(names.numberOf(name), number); // as it was asked for just now
        ASSERT_EQ(names.text(number), name);
        ASSERT_EQ(names.text(number).data(), places[static_cast<std::size_t>(number)].data());
    }
    EXPECT_EQ(names.numberOf(std::string_view()), model.size());
    EXPECT_EQ(names.text(model.size() + 1), "");
    EXPECT_EQ(names.bits(0), 0U);
    EXPECT_EQ(faultOf([&] { names.numberOf(std::uint64_t{7}); }),
              "7: Entities are called by texts or by integers, the same for all.");
}

TEST(EntityDictionary, IntegersHaveAllTheirBits) {
    for (const EntityKind kind : {EntityKind::int64, EntityKind::uint64}) {
        EntityDictionary names(kind);
        const std::uint64_t minusOne = ~std::uint64_t{0};
        EXPECT_EQ(names.numberOf(minusOne), 0U);
        for (std::uint64_t i = 0; i < 5000; ++i) {
            ASSERT_EQ(names.numberOf(i << 40U), i + 1);
            ASSERT_EQ(names.bits(i + 1), i << 40U);
        }
        std::string text = "#";
        names.append(0, text);
        EXPECT_EQ(text, kind == EntityKind::int64 ? "#-1" : "#18446744073709551615");
        EXPECT_EQ(names.text(0), "");
        EXPECT_NE(faultOf([&] { names.numberOf("ada"); }), "");
    }
}

TEST(EntityDictionary, OthersReadNamesWhileOneAdds) {
    EntityDictionary names(EntityKind::text);
    for (int i = 0; i < 300; ++i) {
        names.numberOf(std::to_string(i));
    }
    std::thread reader([&names] {
        for (std::uint64_t i = 0; i < 30000; ++i) {
            EXPECT_EQ(names.text(i % 300), std::to_string(i % 300));
        }
    });
    for (int i = 0; i < 30000; ++i) {
        names.numberOf(std::to_string(i));
    }
    reader.join();
}

// ---- Results ----

struct Everything {
    std::uint64_t entity = 0;
    std::uint64_t other = 0;
    SpaceBox cell;
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::int32_t count = 0;
    std::string note;
    std::optional<double> accuracy;
    std::optional<std::int64_t> left;

    static const ResultLayout<Everything>& layout() {
        using Layout = ResultLayout<Everything>;
        static const Layout layout("everything", "all that a result may have",
                                   {Layout::entity<&Everything::entity>("entity", "who"),
                                    Layout::entity<&Everything::other>("other", "who else"),
                                    Layout::cell<&Everything::cell>(),
                                    Layout::time<&Everything::start>("time", "from when"),
                                    Layout::boxEnd<&Everything::end>("until", "until when"),
                                    Layout::whole<&Everything::count>("count", "1", "how often"),
                                    Layout::text<&Everything::note>("note", "a note"),
                                    Layout::metres<&Everything::accuracy>("accuracy", "how exact"),
                                    Layout::time<&Everything::left>("left", "when it left")});
        return layout;
    }
};
enum : std::size_t { cLat = 4, cTime = 6, cUntil = 7, cCount = 8, cNote = 9 };

std::shared_ptr<EntityDictionary> somebody(EntityKind kind) {
    auto names = std::make_shared<EntityDictionary>(kind);
    for (std::uint64_t i = 0; i < 20; ++i) {
        kind == EntityKind::text ? names->numberOf("name " + std::to_string(i))
                                 : names->numberOf(i * 1000);
    }
    return names;
}

std::vector<Everything> manyResults(std::size_t count) {
    std::vector<Everything> results(count);
    for (Everything& result : results) {
        result.entity = below(20);
        result.other = below(20);
        result.cell =
            SpaceBox(make.chance(), make.chance(), static_cast<std::uint32_t>(below(129)));
        result.start = static_cast<std::int64_t>(make.chance() >> 20U);
        result.end = oneOf<std::int64_t>({5, 253402300799999, 253402300800000, kLast});
        result.count = static_cast<std::int32_t>(make.chance());
        result.note = std::string(below(20), 'n');
        result.accuracy = oneOf<std::optional<double>>({std::nullopt, 0.25});
        result.left = oneOf<std::optional<std::int64_t>>({std::nullopt, 9});
    }
    return results;
}

std::string lineOf(const Everything& result) {
    double latitude = 0;
    double longitude = 0;
    std::stringstream errors;
    const SpaceBox& cell = result.cell;
    QorvelMotionProcessorAPI::getCentroid(cell, latitude, longitude, errors);
    return line(result.entity, result.other, cell.toASCIIString(), cell.getGeoHashBitDepth(),
                latitude, longitude, result.start, result.end, result.count, result.note) +
           (result.accuracy ? line(*result.accuracy) : "null|") +
           (result.left ? line(*result.left) : "null|");
}

std::string lineOf(const ResultTable& table, std::size_t row) {
    std::string all;
    for (std::size_t i = 0; i < table.schema().columns.size(); ++i) {
        const ResultKind kind = table.schema().columns[i].kind;
        all += table.isNull(row, i)         ? "null|"
               : kind == ResultKind::entity ? line(table.entity(row, i))
               : kind == ResultKind::text   ? line(table.text(row, i))
               : kind < ResultKind::whole   ? line(table.real(row, i))
                                            : line(table.whole(row, i));
    }
    return all;
}

TEST(Results, AreWhatWasAppendedWhereverMemoryRunsOut) {
    ResultTable table = Everything::layout().makeTable(somebody(EntityKind::text));
    for (std::vector<Everything> results : {manyResults(70), manyResults(50)}) {
        int failures = 0;
        for (Everything& result : results) {
            // In turn with the one and the other: what failed leaves none behind.
            std::array<Everything, 2> tried{result, result};
            const std::size_t exact = below(2);
            tried[exact].accuracy = 0.25;
            tried[exact].left = tried[1 - exact].accuracy = std::nullopt;
            tried[1 - exact].left = 9;
            const Everything* last = nullptr;
            failures += failEachAllocation([&] {
                last = &tried[static_cast<std::size_t>(allocationsLeft % 2)];
                table.append(*last);
            });
            result = *last;
        }
        EXPECT_TRUE(failures > 12 || results.size() == 50); // memory was kept
        ASSERT_EQ(table.size(), results.size());
        for (std::size_t row = 0; row < table.size(); ++row) {
            EXPECT_EQ(lineOf(table, row), lineOf(results[row]));
            EXPECT_EQ(*table.cell(row), results[row].cell);
        }
        table.clear();
        EXPECT_EQ(table.size(), 0U);
    }
}

/// Three of them and then so many, one by one and at once; where that is all or nothing, wherever
/// memory runs out.
template <class Result>
void expectSameAtOnce(const std::vector<Result>& results, std::size_t count, bool isAllOrNothing) {
    ResultTable oneByOne = Result::layout().makeTable(somebody(EntityKind::text));
    ResultTable atOnce = Result::layout().makeTable(somebody(EntityKind::text));
    for (const std::size_t rows : {std::size_t{3}, count}) {
        std::for_each_n(results.begin(), rows, [&](const auto& one) { oneByOne.append(one); });
        const auto append = [&] { Result::layout().append(results.data(), rows, atOnce); };
        isAllOrNothing ? void(failEachAllocation(append)) : append();
    }
    ASSERT_EQ(atOnce.size(), oneByOne.size());
    for (std::size_t row = 0; row < atOnce.size(); ++row) {
        ASSERT_EQ(lineOf(atOnce, row), lineOf(oneByOne, row));
        ASSERT_EQ(*atOnce.cell(row), *oneByOne.cell(row));
    }
}

TEST(Results, AreTheSameAppendedManyAtOnce) {
    const std::vector<Everything> results = manyResults(600);
    std::vector<BoxResult> boxes;
    for (const Everything& one : results) {
        boxes.push_back({one.entity, one.cell, one.start, one.end, one.count});
    }
    for (const std::size_t count : {0U, 1U, 600U}) {
        expectSameAtOnce(boxes, count, true);
        expectSameAtOnce(results, count, false);
    }
}

struct Visit {
    std::uint64_t entity;
    SpaceBox cell;
};
TEST(Results, HaveOneDescription) {
    std::string columns;
    for (const ResultColumn& column : Everything::layout().schema().columns) {
        columns += column.name + (column.isNullable ? "? " : " ");
    }
    EXPECT_EQ(columns, "entity other geohash bits lat lon time until count note accuracy? left? ");
    using Layout = ResultLayout<Visit>;
    const auto makeLayout = [](const char* name) {
        return Layout("visits", "",
                      {Layout::cell<&Visit::cell>(), Layout::entity<&Visit::entity>(name, "")});
    };
    EXPECT_NE(faultOf([&] { makeLayout(""); }), "");
    EXPECT_NE(faultOf([&] { makeLayout("lon"); }), "");
    const Layout layout = makeLayout("entity");
    ResultTable table = layout.makeTable(somebody(EntityKind::text));
    layout.append({3, SpaceBox("u28")}, table);
    EXPECT_EQ(lineOf(table, 0).substr(0, 7), "u28|15|");
    EXPECT_EQ(table.entity(0, 4), 3U);
    EXPECT_EQ(*table.cell(0), SpaceBox("u28"));
    const std::string none = "7: The table has no such row or column.";
    const std::string kind = "7: The column is of another kind.";
    EXPECT_EQ(faultOf([&] { table.whole(0, 5); }), none);
    EXPECT_EQ(faultOf([&] { table.isNull(1, 0); }), none);
    EXPECT_EQ(faultOf([&] { table.cell(1); }), none);
    EXPECT_EQ(faultOf([&] { table.whole(0, 2); }), kind);
    EXPECT_EQ(faultOf([&] { table.text(0, 1); }), kind);
    EXPECT_EQ(faultOf([&] { table.real(0, 0); }), kind);
    EXPECT_EQ(faultOf([&] { table.entity(0, 1); }), kind);
    EXPECT_EQ(faultOf([&] { table.append(Everything()); }), "7: The table is for other results.");
    EXPECT_NE(faultOf([&] { ResultTable(nullptr, nullptr); }), "");
}

/// The pairs of a schema's metadata, as "key=value;".
std::string metadataOf(const ArrowSchema& schema) {
    const char* next = schema.metadata;
    const auto number = [&next] {
        const auto value = loadAt<std::int32_t>(next, 0);
        next += sizeof(value);
        return static_cast<std::size_t>(value);
    };
    std::string text;
    for (std::size_t texts = 2 * number(); texts > 0; --texts) {
        const std::size_t size = number();
        text += std::string(next, size) + (texts % 2 == 0 ? "=" : ";");
        next += size;
    }
    return text;
}

void expectExported(EntityKind kind, const std::vector<Everything>& results) {
    const auto names = somebody(kind);
    ResultTable table = Everything::layout().makeTable(names);
    for (const Everything& result : results) {
        table.append(result);
    }
    const char* const notes = results.empty() ? nullptr : table.text(0, cNote).data();
    ArrowArrayOwner array;
    ArrowSchemaOwner schema;
    exportArrow(std::move(table), array.fresh(), schema.fresh());
    std::string formats;
    for (const ArrowSchema* column :
         std::vector(schema->children, schema->children + schema->n_children)) {
        formats += column->format + std::string(column->flags != 0 ? "? " : " ");
    }
    const std::string entity = kind == EntityKind::text    ? "u "
                               : kind == EntityKind::int64 ? "l "
                                                           : "L ";
    EXPECT_EQ(formats, entity + entity + "u l g g tsm:UTC tsm:UTC? l u g? tsm:UTC? ");
    EXPECT_EQ(metadataOf(*schema), "name=everything;description=all that a result may have;");
    EXPECT_EQ(metadataOf(*schema->children[cCount]), "unit=1;description=how often;");
    EXPECT_EQ(array->children[cNote]->buffers[2], notes);
    for (const std::size_t column : {cLat, cTime, cNote}) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array->children[column]->buffers[1]) % 64, 0U);
    }
    const Observations batch =
        ObservationSchema(*schema, {.primaryKey = "geohash", .secondaryKey = "note"}).bind(*array);
    const Observations until =
        ObservationSchema(*schema, {.time = "until", .accuracy = ""}).bind(*array);
    ASSERT_EQ(batch.size(), std::ssize(results));
    std::int64_t everlasting = 0;
    for (std::int64_t row = 0; row < batch.size(); ++row) {
        const Everything& result = results[static_cast<std::size_t>(row)];
        const bool isEverlasting = result.end >= 253402300800000;
        everlasting += isEverlasting ? 1 : 0;
        EXPECT_EQ(until.check(row), isEverlasting ? R::timeMissing : R::none);
        EXPECT_EQ(until.timeMs(row), result.end);
        ASSERT_EQ(batch.check(row), R::none);
        std::string name;
        names->append(result.entity, name);
        EXPECT_EQ(lineOf(batch, row),
                  lineOf(Row{name, batch.latitude(row), batch.longitude(row), result.start,
                             result.accuracy, result.cell.toASCIIString(), result.note}));
    }
    EXPECT_EQ(array->children[cUntil]->null_count, everlasting);
    // A child that was moved out lives on without its parent, and the other way round.
    const ArrowArrayOwner counts(*array->children[cCount]);
    const ArrowSchemaOwner count(*schema->children[cCount]);
    array.reset();
    schema.reset();
    EXPECT_EQ(count->name, std::string("count"));
    EXPECT_TRUE(results.empty() || loadAt<std::int64_t>(counts->buffers[1], 0) == results[0].count);
}

TEST(Results, AreExportedWithoutACopyAndReadBack) {
    for (const EntityKind kind : {EntityKind::text, EntityKind::int64, EntityKind::uint64}) {
        for (const std::size_t count : {0U, 1U, 61U}) {
            expectExported(kind, manyResults(count));
        }
    }
}

TEST(Results, AnExportThatFailsLeavesNothing) {
    const auto results = manyResults(9);
    ArrowArray array{};
    ArrowSchema schema{};
    ArrowSchemaOwner alone;
    exportArrowSchema(Everything::layout().schema(), EntityKind::int64, alone.fresh());
    EXPECT_EQ(alone->children[1]->format, std::string("l"));
    const auto names = somebody(EntityKind::text);
    ResultTable table = Everything::layout().makeTable(names);
    EXPECT_GT(failEachAllocation([&] {
                  const int left = std::exchange(allocationsLeft, -1);
                  table.clear(); // a failed export may take the rows, not the table
                  for (const Everything& result : results) {
                      table.append(result);
                  }
                  EXPECT_TRUE(array.release == nullptr && schema.release == nullptr);
                  allocationsLeft = left;
                  exportArrow(std::move(table), &array, &schema);
              }),
              20);
    array.release(&array);
    schema.release(&schema);
    EXPECT_EQ(names.use_count(), 2); // an exported array needs no names
    ArrowArrayOwner other;
    exportArrow(std::move(table), other.fresh(), nullptr);
    EXPECT_EQ(other->length, 0);
}

TEST(Faults, SayWhatIsWrong) {
    const Fault fault = Fault(FaultCode::badConfiguration, "No.", "ERROR_1,", 7);
    EXPECT_EQ(line(static_cast<int>(fault.code()), fault.what(), fault.tags(), fault.line()),
              "3|No.|ERROR_1,|7|");
}

} // namespace
