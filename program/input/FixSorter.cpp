#include "program/input/FixSorter.h"

#include "program/Failure.h"
#include "program/Interrupt.h"

#include <algorithm>
#include <bit>
#include <new>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace program {

namespace {

/// Nothing is to survive, so there is neither journal nor wait for the disk.
constexpr char kSetUp[] = "PRAGMA page_size = 32768;"
                          "PRAGMA temp_store = FILE; PRAGMA journal_mode = OFF;"
                          "PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE;"
                          "CREATE TABLE fixes (row INTEGER PRIMARY KEY, time, entity, latitude, "
                          "longitude, accuracy, primaryKey, secondaryKey);"
                          "BEGIN";
constexpr char kInsert[] = "INSERT INTO fixes VALUES (NULL, ?1, ?2, ?3, ?4, ?5, ?6, ?7)";
constexpr char kSelect[] = "SELECT time, entity, latitude, longitude, accuracy, primaryKey, "
                           "secondaryKey FROM fixes ORDER BY time, row";

constexpr std::uint64_t kMostMemory = 512; ///< MiB, of which more would bring nothing

constexpr int kStepsBetweenLooks = 100'000; ///< of SQLite, for an interrupt: some milliseconds

/// SQLite keeps so much of the table, and again so much of what it sorts.
std::uint64_t cacheKiB(std::uint64_t memory) {
    return std::clamp<std::uint64_t>(memory, 8, kMostMemory) * 1024 / 8;
}

} // namespace

/// A database without a name, with a row a fix. Numbers go by their bits: SQLite has no -0.
class FixSorter::Database {
public:
    explicit Database(std::uint64_t memory) {
        sqlite3* opened = nullptr;
        const int result = sqlite3_open_v2("", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                                           nullptr); // an empty name: temporary
        handle_.reset(opened);
        expect(result);
        sqlite3_progress_handler(
            opened, kStepsBetweenLooks, [](void*) { return interrupted() ? 1 : 0; }, nullptr);
        execute(kSetUp);
        execute(("PRAGMA cache_size = -" + std::to_string(cacheKiB(memory))).c_str());
        prepare(kInsert);
    }

    void execute(const char* query) {
        expect(sqlite3_exec(handle_.get(), query, nullptr, nullptr, nullptr));
    }

    void prepare(const char* query) {
        sqlite3_stmt* prepared = nullptr;
        const int result = sqlite3_prepare_v2(handle_.get(), query, -1, &prepared, nullptr);
        statement_.reset(prepared);
        expect(result);
    }

    /// Is there a row? None after an interrupt.
    bool step() {
        const int result = sqlite3_step(statement_.get());
        if (result != SQLITE_ROW && result != SQLITE_DONE && result != SQLITE_INTERRUPT) {
            fail(result);
        }
        return result == SQLITE_ROW;
    }

    void reset() { sqlite3_reset(statement_.get()); }

    void bind(int parameter, std::int64_t value) {
        expect(sqlite3_bind_int64(statement_.get(), parameter, value));
    }
    void bind(int parameter, double value) { bind(parameter, std::bit_cast<std::int64_t>(value)); }
    /// The text stays where it is until the next reset().
    void bind(int parameter, const std::string& text) {
        expect(sqlite3_bind_text64(statement_.get(), parameter, text.data(), text.size(),
                                   SQLITE_STATIC, SQLITE_UTF8));
    }
    void bindNull(int parameter) { expect(sqlite3_bind_null(statement_.get(), parameter)); }

    bool isNull(int column) const {
        return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
    }
    std::int64_t integer(int column) const {
        return sqlite3_column_int64(statement_.get(), column);
    }
    double real(int column) const { return std::bit_cast<double>(integer(column)); }
    std::string_view text(int column) const {
        const auto* bytes = sqlite3_column_text(statement_.get(), column);
        if (bytes == nullptr) { // which no text is here
            throw std::bad_alloc();
        }
        return {reinterpret_cast<const char*>(bytes),
                static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
    }

private:
    struct Closing {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    void expect(int result) const {
        if (result != SQLITE_OK) {
            fail(result);
        }
    }

    [[noreturn]] void fail(int result) const {
        if (result == SQLITE_NOMEM || !handle_) {
            throw std::bad_alloc();
        }
        throw Failure(ExitCode::broken,
                      std::string("the rows have to be sorted by time, for which the folder for "
                                  "temporary files has no room (") +
                          sqlite3_errmsg(handle_.get()) +
                          "): make room, name another folder by TMPDIR, sort the file yourself, or "
                          "give --sort-beyond more memory");
    }

    std::unique_ptr<sqlite3, Closing> handle_;
    std::unique_ptr<sqlite3_stmt, Closing> statement_;
};

FixSorter::FixSorter(std::uint64_t memory) : database_(std::make_unique<Database>(memory)) {}
FixSorter::~FixSorter() = default;

void FixSorter::add(const Fix& fix) {
    Database& row = *database_;
    row.bind(1, fix.time);
    row.bind(2, fix.entity);
    row.bind(3, fix.latitude);
    row.bind(4, fix.longitude);
    if (fix.accuracyM) {
        row.bind(5, *fix.accuracyM);
    } else {
        row.bindNull(5);
    }
    row.bind(6, fix.primaryKey);
    row.bind(7, fix.secondaryKey);
    row.step();
    row.reset();
}

void FixSorter::sort() {
    database_->prepare(kSelect);
    step();
}

std::int64_t FixSorter::oldest() const {
    return database_->integer(0);
}

void FixSorter::take(Fix& fix) {
    const Database& row = *database_;
    fix.time = row.integer(0);
    fix.entity = row.text(1);
    fix.latitude = row.real(2);
    fix.longitude = row.real(3);
    fix.accuracyM = row.isNull(4) ? std::nullopt : std::optional(row.real(4));
    fix.primaryKey = row.text(5);
    fix.secondaryKey = row.text(6);
    step();
}

void FixSorter::step() {
    hasNext_ = database_->step();
}

} // namespace program
