#ifndef QORVEL_ENGINE_H
#define QORVEL_ENGINE_H

/// @file
/// The engine for any language that can call C: observations in as tables of the Arrow C data
/// interface, results out as streams of the Arrow C stream interface. For C99 and C++.
///
///     qorvel_engine_session* session = NULL;
///     int32_t code = qorvel_engine_open("boxes", configuration, "threads=4", &session);
///     while (code == 0 && nextTable(&schema, &array)) {
///         code = qorvel_engine_push(session, &schema, &array, -1);
///         ... the results so far, as below
///     }
///     if (code == 0) code = qorvel_engine_finish(session);
///     if (code == 0) code = qorvel_engine_results(session, &stream);
///     ... stream.get_next(&stream, &table) until table.release is null
///     if (code != 0) puts(qorvel_engine_last_fault(session)->sentence);
///     qorvel_engine_close(session);
///
/// Functions that return an int32_t return 0, or one of the codes below; qorvel_engine_last_fault
/// says more. No exception leaves them, and memory that runs out is a code like others: the session
/// then goes on as if the call had not been made, or has ended and answers every call with
/// QORVEL_ENGINE_MISUSE.
///
/// Sessions share nothing. A session, with its streams, is for one thread at a time, but for
/// qorvel_engine_cancel and qorvel_engine_progress. Texts are UTF-8 and end with a NUL.

#include "engine/columns/arrow_c_data.h"
#include "engine/export.h"

#include <stddef.h> // NOLINT(modernize-deprecated-headers): for C too, as the next
#include <stdint.h> // NOLINT(modernize-deprecated-headers)

#ifdef __cplusplus
extern "C" {
#endif

/// What kind of fault it is. The numbers never change.
enum qorvel_engine_code {
    QORVEL_ENGINE_BAD_COLUMN = 1,        ///< a type that is not read, or a table that cannot be
    QORVEL_ENGINE_MISSING_COLUMN = 2,    ///< a column that is needed is not there
    QORVEL_ENGINE_BAD_CONFIGURATION = 3, ///< a setting that is refused
    QORVEL_ENGINE_TOO_LARGE = 4,         ///< beyond what the engine counts or keeps
    QORVEL_ENGINE_OUT_OF_MEMORY = 5,     ///< memory ran out
    QORVEL_ENGINE_CANCELLED = 6,         ///< qorvel_engine_cancel was called
    QORVEL_ENGINE_MISUSE = 7,            ///< a call that the state or the arguments do not allow
    QORVEL_ENGINE_INTERNAL = 8,          ///< a fault of the engine itself
    QORVEL_ENGINE_BAD_STATE = 9          ///< a saved state that cannot be taken
};

/// What went wrong.
struct qorvel_engine_fault {
    int32_t code;         ///< one of enum qorvel_engine_code, or 0: nothing
    const char* sentence; ///< for people; empty where nothing went wrong
    const char* tags;     ///< the library's error tags, each followed by a comma; may be empty
    uint64_t line;        ///< of the configuration or of the options, from 1; 0: of neither
};

/// How far a session is.
struct qorvel_engine_figures {
    uint64_t pushed;       ///< rows taken in, bad ones included
    uint64_t processed;    ///< rows whose results are final
    uint64_t rejected;     ///< rows that cannot be used
    uint64_t late;         ///< rows older than was promised; for stays and places they are left
                           ///< out
    uint64_t out_of_order; ///< rows older than one of their entity before them; counted only where
                           ///< events are remembered
    uint64_t results;      ///< that are final
};

/// One question to one stream of observations.
typedef struct qorvel_engine_session qorvel_engine_session;

/// The release, such as "0.1.0".
QORVEL_ENGINE_EXPORT const char* qorvel_engine_version(void);

/// Opens a session. Whatever it returns, `*session` is then to be closed; after a fault it is good
/// for qorvel_engine_last_fault only, and null where there was no memory even for that.
///
/// @param question       "boxes", "presence", "hangouts", "stays", "encounters" or "places"
/// @param configuration  masters, assignments and specs: the text of a TOML file; for stays,
///                       encounters and places it may be empty
/// @param options        a line "key=value" for each of these that is not as shown, or null
///
/// | option | meaning |
/// |---|---|
/// | threads=1 | 1 to 256, the caller's counted; no result depends on it |
/// | default_tolerance=30 | metres, where a row has no accuracy |
/// | time_tolerance=0 | ms, 0 or 1 |
/// | late=86400000 | how far a row may lie behind the newest one before it, ms, or "ever" |
/// | | for stays and places 3600000 behind the newest one of its entity; later ones are left out |
/// | last_figures=0 | 1: presence and hangouts with the last figures of each record |
/// | radius=200 | stays: how far from their centre fixes may lie, metres; places: how far stays |
/// | min_stay=900000 | the same two: the least time that makes one, ms; fixes show a third of it |
/// | max_gap=3600000 | stays: a longer silence ends one, unless it goes on there, ms; half of the |
/// | | silence before one and after it is part of it, of this at most |
/// | max_bridge=86400000 | stays: a longer silence ends one in any case, ms |
/// | max_away=300000 | stays: fixes elsewhere end one when they go on for so long, ms |
/// | max_accuracy=200 | stays: less accurate fixes are left out, metres |
/// | rows=0 | stays: 1: the rows of the input that belong to each, in place of the stays |
/// | within=50 | encounters: how near two are who are together, metres |
/// | apart=300000 | encounters: how far apart fixes may be for the way between to be known, ms |
/// | fixes_only=0 | encounters: 1: fixes near each other count, and no way between fixes |
/// | min_duration=0 | encounters: shorter encounters are left out, ms |
/// | pairs=0 | encounters: 1: the sums of each pair in place of its encounters |
/// | time_zone=UTC | places: whose clocks tell nights and days of the week |
/// | labels=0 | places: 1: the likely home and work are named |
/// | entity=entity | the name of a column that is needed; the same for lat, lon and time |
/// | accuracy=accuracy | the name of one that may be missing; if empty, it is not read |
/// | primary_key=primary_key | the same |
/// | secondary_key=secondary_key | the same |
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_open(const char* question, const char* configuration,
                                                const char* options,
                                                qorvel_engine_session** session);

/// Takes the rows of a table in: a struct with the columns that are told in the table at
/// qorvel_engine::ObservationSchema, at any offset. They are read where they stand.
///
/// Takes over both structures, whatever it returns, and releases them, in a call by this thread.
/// A null schema is that of the push before.
///
/// With one thread the rows are processed in this call. Results that are not taken take up memory.
///
/// @param oldest_to_come  no row of later pushes has an earlier time, ms since 1970 UTC; negative:
///                        not known, then the option `late` is promised
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_push(qorvel_engine_session* session,
                                                struct ArrowSchema* schema,
                                                struct ArrowArray* array, int64_t oldest_to_come);

/// Takes in all tables of a stream. Takes it over, whatever it returns, and releases it.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_push_stream(qorvel_engine_session* session,
                                                       struct ArrowArrayStream* stream);

/// Waits until all that was pushed is processed.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_flush(qorvel_engine_session* session);

/// After the last row: flushes, and makes the results that are known only at the end.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_finish(qorvel_engine_session* session);

/// Writes a stream of the results that are final and not yet taken, in the order of the rows that
/// bring them. It ends when there are none right now; another stream gives those of later pushes.
/// Its schema is known from the first push on, or after qorvel_engine_finish.
///
/// The caller releases the stream. It gives nothing more after its session was closed; the tables
/// that it gave stay.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_results(qorvel_engine_session* session,
                                                   struct ArrowArrayStream* out);

/// The same of the rows that could not be used: their number, from 0 over all pushes, the number of
/// the reason, and a sentence ("row", "code", "reason").
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_rejects(qorvel_engine_session* session,
                                                   struct ArrowArrayStream* out);

/// All that the session remembers, as bytes from which a session of the same question,
/// configuration and options goes on, in another process or on another machine, with any number of
/// threads. Waits until all that was pushed is processed. Results and rejects are not a part of it:
/// those that were not taken are QORVEL_ENGINE_MISUSE.
///
/// @param bytes  stay until the next call of this or of qorvel_engine_take_entities, or the
///               session's end
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_save(qorvel_engine_session* session, const void** bytes,
                                                uint64_t* size);

/// Takes what qorvel_engine_save gave, in a session into which nothing was pushed. What cannot be
/// taken is QORVEL_ENGINE_BAD_STATE, and the session is as before.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_load(qorvel_engine_session* session, const void* bytes,
                                                uint64_t size);

/// Takes out of the session all that it remembers of some entities, for another that gets their
/// rows from then on; not for encounters. Otherwise as qorvel_engine_save.
///
/// @param entities  their names; those that are integers in decimals
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_take_entities(qorvel_engine_session* session,
                                                         const char* const* entities, size_t count,
                                                         const void** bytes, uint64_t* size);

/// Takes them in, in a session that remembers nothing of them.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_give_entities(qorvel_engine_session* session,
                                                         const void* bytes, uint64_t size);

/// Forgets which presence records and hangouts were given, of those that no row from that time on,
/// ms since 1970 UTC, can bring again: so that a stream can go on for ever. For a row that is older
/// all the same, one may be given again.
QORVEL_ENGINE_EXPORT int32_t qorvel_engine_forget_reported_before(qorvel_engine_session* session,
                                                                  int64_t time);

/// Ends the work soon, from any thread or a signal's handler: push, flush and finish return
/// QORVEL_ENGINE_CANCELLED from then on. What is final can still be taken.
QORVEL_ENGINE_EXPORT void qorvel_engine_cancel(qorvel_engine_session* session);

/// How far the session is, from any thread.
QORVEL_ENGINE_EXPORT void qorvel_engine_progress(const qorvel_engine_session* session,
                                                 struct qorvel_engine_figures* out);

/// What there is to say after qorvel_engine_finish, a sentence for each index from 0; null where
/// there is none. It stays as long as the session.
QORVEL_ENGINE_EXPORT const char* qorvel_engine_remark(qorvel_engine_session* session, size_t index);

/// What went wrong in the last call with an int32_t; never null. It stays until the next such call.
/// Faults of streams are told by their get_last_error.
QORVEL_ENGINE_EXPORT const struct qorvel_engine_fault*
qorvel_engine_last_fault(const qorvel_engine_session* session);

/// Drops what is under way, and frees the session. Null is none.
QORVEL_ENGINE_EXPORT void qorvel_engine_close(qorvel_engine_session* session);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
