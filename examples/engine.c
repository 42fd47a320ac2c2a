/* The engine from C: a table built by hand, the boxes of its rows, and the row that is no good. */

#include "engine/qorvel_engine.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

enum { kRows = 5, kColumns = 5 };

static const char* const kConfiguration = "[[master]]\n"
                                          "name = \"quarters\"\n"
                                          "cell_length = 8 # here 26 m by 19 m\n"
                                          "box = \"15 minutes\"\n"
                                          "[[assignment]]\n"
                                          "master = \"quarters\"\n";

/* The columns: Ada on a bridge, Ben 13 m to the north, Cem 360 m away and then there too; the last
   row lies beyond the pole. Texts lie end to end, and the offsets say where each begins. */
static const char kNames[] = "AdaBenCemCemBen";
static const int32_t kOffsets[kRows + 1] = {0, 3, 6, 9, 12, 15};
static const double kLatitudes[kRows] = {47.36960, 47.36972, 47.37200, 47.36961, 147.36962};
static const double kLongitudes[kRows] = {8.53980, 8.53981, 8.54300, 8.53981, 8.53979};
static const int64_t kMinutes[kRows] = {3, 11, 12, 19, 21};
static const double kAccuracies[kRows] = {10, 10, 10, 10, 10};
static const int64_t kNoon = INT64_C(1718366400000); /* ms since 1970 UTC */

/* Nothing is allocated, so there is nothing to free: columns and table are marked as released. */
static void releaseSchema(struct ArrowSchema* schema) {
    for (int64_t i = 0; i < schema->n_children; ++i) {
        schema->children[i]->release(schema->children[i]);
    }
    schema->release = NULL;
}
static void releaseArray(struct ArrowArray* array) {
    for (int64_t i = 0; i < array->n_children; ++i) {
        array->children[i]->release(array->children[i]);
    }
    array->release = NULL;
}

/* A table of kRows rows. What the structures point at has to stay until they are released. */
struct Table {
    struct ArrowSchema schema, columns[kColumns], *columnPlaces[kColumns];
    struct ArrowArray array, values[kColumns], *valuePlaces[kColumns];
    const void* buffers[kColumns][3];
    const void* noValidity[1];
    int64_t times[kRows];
};

static void addColumn(struct Table* table, int at, const char* name, const char* format,
                      const void* values, const void* texts) {
    struct ArrowSchema* const column = &table->columns[at];
    struct ArrowArray* const array = &table->values[at];
    column->format = format;
    column->name = name;
    column->release = releaseSchema;
    table->buffers[at][0] = NULL; /* no row is null */
    table->buffers[at][1] = values;
    table->buffers[at][2] = texts;
    array->length = kRows;
    array->n_buffers = texts == NULL ? 2 : 3;
    array->buffers = table->buffers[at];
    array->release = releaseArray;
    table->columnPlaces[at] = column;
    table->valuePlaces[at] = array;
}

static void makeTable(struct Table* table) {
    memset(table, 0, sizeof *table);
    for (int row = 0; row < kRows; ++row) {
        table->times[row] = kNoon + kMinutes[row] * 60000;
    }
    addColumn(table, 0, "entity", "u", kOffsets, kNames); /* utf8 */
    addColumn(table, 1, "lat", "g", kLatitudes, NULL);    /* float64 */
    addColumn(table, 2, "lon", "g", kLongitudes, NULL);
    addColumn(table, 3, "time", "l", table->times, NULL); /* int64 */
    addColumn(table, 4, "accuracy", "g", kAccuracies, NULL);
    table->schema.format = "+s"; /* struct */
    table->schema.n_children = kColumns;
    table->schema.children = table->columnPlaces;
    table->schema.release = releaseSchema;
    table->array.length = kRows;
    table->array.n_buffers = 1;
    table->array.buffers = table->noValidity;
    table->array.n_children = kColumns;
    table->array.children = table->valuePlaces;
    table->array.release = releaseArray;
}

/* The place of a column in a table of results. */
static int64_t placeOf(const struct ArrowSchema* schema, const char* name) {
    int64_t at = 0;
    while (at + 1 < schema->n_children && strcmp(schema->children[at]->name, name) != 0) {
        ++at;
    }
    return at;
}

/* The engine's arrays begin at their first value. */
static int64_t wholeAt(const struct ArrowArray* column, int64_t row) {
    return ((const int64_t*)column->buffers[1])[row];
}

static void printText(const struct ArrowArray* column, int64_t row) {
    const int32_t* const offsets = (const int32_t*)column->buffers[1];
    const char* const bytes = (const char*)column->buffers[2];
    printf("%.*s", (int)(offsets[row + 1] - offsets[row]), bytes + offsets[row]);
}

static void printBox(const struct ArrowSchema* schema, const struct ArrowArray* table,
                     int64_t row) {
    const int64_t start = wholeAt(table->children[placeOf(schema, "box_start")], row);
    printText(table->children[placeOf(schema, "entity")], row);
    printf(" in ");
    printText(table->children[placeOf(schema, "geohash")], row);
    printf(", in the quarter from 12:%02" PRId64 "\n", (start - kNoon) / 60000);
}

static void printReject(const struct ArrowSchema* schema, const struct ArrowArray* table,
                        int64_t row) {
    printf("row %" PRId64 ": ", wholeAt(table->children[placeOf(schema, "row")], row));
    printText(table->children[placeOf(schema, "reason")], row);
    printf("\n");
}

/* Prints all rows of a stream and releases it. */
static void printStream(struct ArrowArrayStream* stream,
                        void (*printRow)(const struct ArrowSchema*, const struct ArrowArray*,
                                         int64_t)) {
    struct ArrowSchema schema;
    struct ArrowArray table;
    if (stream->get_schema(stream, &schema) == 0) {
        while (stream->get_next(stream, &table) == 0 && table.release != NULL) {
            for (int64_t row = 0; row < table.length; ++row) {
                printRow(&schema, &table, row);
            }
            table.release(&table);
        }
        schema.release(&schema);
    }
    stream->release(stream);
}

int main(void) {
    struct Table table;
    struct ArrowArrayStream results;
    struct ArrowArrayStream rejects;
    qorvel_engine_session* session = NULL;
    makeTable(&table);
    int32_t code = qorvel_engine_open("boxes", kConfiguration, "threads=2", &session);
    if (code == 0) {
        code = qorvel_engine_push(session, &table.schema, &table.array, -1);
    }
    if (code == 0) {
        code = qorvel_engine_finish(session);
    }
    if (code == 0) {
        code = qorvel_engine_results(session, &results);
    }
    if (code == 0) {
        printStream(&results, printBox);
        code = qorvel_engine_rejects(session, &rejects);
    }
    if (code == 0) {
        printStream(&rejects, printReject);
    } else {
        (void)fprintf(stderr, "%s\n", qorvel_engine_last_fault(session)->sentence);
    }
    qorvel_engine_close(session);
    return code;
}
