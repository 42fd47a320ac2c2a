#ifndef QORVEL_ENGINE_COLUMNS_ARROW_C_DATA_H
#define QORVEL_ENGINE_COLUMNS_ARROW_C_DATA_H

/// @file
/// The structures of the Arrow C data interface and of the Arrow C stream interface, as their
/// published layout has them. Under its guards, so that a host may include another copy too. For C
/// and C++.

#include <stdint.h> // NOLINT(modernize-deprecated-headers): for C too

#ifdef __cplusplus
extern "C" {
#endif

#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

/// A type, or with children the types of a table's columns.
struct ArrowSchema {
    const char* format;             ///< the type, such as "u" for utf8
    const char* name;               ///< of the column; may be null
    const char* metadata;           ///< pairs of texts in Arrow's encoding; may be null
    int64_t flags;                  ///< a sum of ARROW_FLAG_...
    int64_t n_children;             ///< how many `children` there are
    struct ArrowSchema** children;  ///< the columns of a table
    struct ArrowSchema* dictionary; ///< the type of the values that indices stand for, or null
    void (*release)(struct ArrowSchema*); ///< frees it; null once that is done
    void* private_data;                   ///< the producer's own
};

/// The values of a column, or with children those of a table.
struct ArrowArray {
    int64_t length;                      ///< how many values
    int64_t null_count;                  ///< how many of them are null; -1: not counted
    int64_t offset;                      ///< how many values stand in the buffers before the first
    int64_t n_buffers;                   ///< how many `buffers` there are
    int64_t n_children;                  ///< how many `children` there are
    const void** buffers;                ///< as the type has them, the validity bits first
    struct ArrowArray** children;        ///< the columns of a table
    struct ArrowArray* dictionary;       ///< the values that indices stand for, or null
    void (*release)(struct ArrowArray*); ///< frees it; null once that is done
    void* private_data;                  ///< the producer's own
};

#endif

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

/// Arrays of one type, one after the other. The functions return 0 or a number of errno.
struct ArrowArrayStream {
    int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out); ///< the type of all
    int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);    ///< released at the end
    const char* (*get_last_error)(struct ArrowArrayStream*);              ///< a sentence, or null
    void (*release)(struct ArrowArrayStream*); ///< frees it; null once that is done
    void* private_data;                        ///< the producer's own
};

#endif

#ifdef __cplusplus
} // extern "C"
#endif

#endif
