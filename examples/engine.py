"""The engine from Python, with nothing but the standard library: python3 engine.py LIBRARY

A van reports every two minutes. Where did it stay, hour by hour?
"""

import ctypes
import datetime
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, byref, c_char_p, c_int, c_int32, c_int64, c_void_p

CONFIGURATION = b"""
[[master]]
name = "hours"
cell_length = 6 # here 830 m by 610 m
box = "1 hours"
[[assignment]]
master = "hours"
[[hangout]]
master = "hours"
window = "20 minutes"
min_count = 5
ratio = 0.3
"""
NOON = 1718366400000  # ms since 1970 UTC
MINUTE = 60000


# The structures of the Arrow C data and stream interfaces, as their published layout has them.
class Schema(Structure):
    pass


class Array(Structure):
    pass


class Stream(Structure):
    pass


RELEASE_SCHEMA = CFUNCTYPE(None, POINTER(Schema))
RELEASE_ARRAY = CFUNCTYPE(None, POINTER(Array))
Schema._fields_ = [
    ("format", c_char_p),
    ("name", c_char_p),
    ("metadata", c_void_p),
    ("flags", c_int64),
    ("n_children", c_int64),
    ("children", POINTER(POINTER(Schema))),
    ("dictionary", POINTER(Schema)),
    ("release", RELEASE_SCHEMA),
    ("private_data", c_void_p),
]
Array._fields_ = [
    ("length", c_int64),
    ("null_count", c_int64),
    ("offset", c_int64),
    ("n_buffers", c_int64),
    ("n_children", c_int64),
    ("buffers", POINTER(c_void_p)),
    ("children", POINTER(POINTER(Array))),
    ("dictionary", POINTER(Array)),
    ("release", RELEASE_ARRAY),
    ("private_data", c_void_p),
]
Stream._fields_ = [
    ("get_schema", CFUNCTYPE(c_int, POINTER(Stream), POINTER(Schema))),
    ("get_next", CFUNCTYPE(c_int, POINTER(Stream), POINTER(Array))),
    ("get_last_error", CFUNCTYPE(c_char_p, POINTER(Stream))),
    ("release", CFUNCTYPE(None, POINTER(Stream))),
    ("private_data", c_void_p),
]


class Fault(Structure):
    _fields_ = [
        ("code", c_int32),
        ("sentence", c_char_p),
        ("tags", c_char_p),
        ("line", ctypes.c_uint64),
    ]


# What a structure points at has to stay until it is released. Python would free it as soon as no
# variable leads to it, so all of it is kept here.
KEPT = []


def keep(thing):
    KEPT.append(thing)
    return thing


@RELEASE_SCHEMA
def release_schema(schema):
    for child in range(schema.contents.n_children):
        release_schema(schema.contents.children[child])
    schema.contents.release = RELEASE_SCHEMA()


@RELEASE_ARRAY
def release_array(array):
    for child in range(array.contents.n_children):
        release_array(array.contents.children[child])
    array.contents.release = RELEASE_ARRAY()


def make_column(name, kind, values, *texts):
    """The schema and the array of a column without nulls."""
    buffers = keep((c_void_p * 3)(None, *[ctypes.addressof(keep(b)) for b in (values, *texts)]))
    length = len(values) - len(texts)  # of texts there are offsets, one more than rows
    schema = Schema(format=kind, name=name, release=release_schema)
    array = Array(length=length, n_buffers=2 + len(texts), buffers=buffers, release=release_array)
    return schema, array


def make_table(columns, length):
    """A struct with the columns."""
    schemas = keep((POINTER(Schema) * len(columns))(*[keep(ctypes.pointer(s)) for s, _ in columns]))
    arrays = keep((POINTER(Array) * len(columns))(*[keep(ctypes.pointer(a)) for _, a in columns]))
    schema = Schema(
        format=b"+s", n_children=len(columns), children=schemas, release=release_schema
    )
    array = Array(
        length=length,
        n_buffers=1,
        buffers=keep((c_void_p * 1)()),
        n_children=len(columns),
        children=arrays,
        release=release_array,
    )
    return schema, array


def make_fixes():
    """At the depot from 12:40 to 13:20, then on the road to the east, about 200 m a minute."""
    minutes = list(range(40, 92, 2))
    count = len(minutes)
    names = b"van" * count
    doubles = ctypes.c_double * count
    return make_table(
        [
            make_column(
                b"entity",
                b"u",
                (c_int32 * (count + 1))(*range(0, len(names) + 1, 3)),
                ctypes.create_string_buffer(names),
            ),
            make_column(b"lat", b"g", doubles(*[47.394] * count)),
            make_column(b"lon", b"g", doubles(*[8.525 + 0.0027 * max(m - 80, 0) for m in minutes])),
            make_column(b"time", b"l", (c_int64 * count)(*[NOON + m * MINUTE for m in minutes])),
            make_column(b"accuracy", b"g", doubles(*[20.0] * count)),
        ],
        count,
    )


def read_column(schema, array):
    """The values of a column that has no nulls, as far as this example knows their types."""
    if schema.format == b"u":
        offsets = ctypes.cast(array.buffers[1], POINTER(c_int32))
        size = offsets[array.length]
        texts = ctypes.string_at(array.buffers[2], size).decode()
        return [texts[offsets[row] : offsets[row + 1]] for row in range(array.length)]
    return ctypes.cast(array.buffers[1], POINTER(c_int64))[: array.length]


def read_stream(stream):
    """Its rows, as dictionaries of the columns that are texts, integers or times."""
    schema, table = Schema(), Array()
    rows = []
    code = stream.get_schema(byref(stream), byref(schema))
    while code == 0 and (code := stream.get_next(byref(stream), byref(table))) == 0:
        if not table.release:
            schema.release(byref(schema))
            stream.release(byref(stream))
            return rows
        columns = {}
        for child in range(schema.n_children):
            kind = schema.children[child].contents
            if kind.format != b"g":
                values = read_column(kind, table.children[child].contents)
                columns[kind.name.decode()] = values
        rows += [dict(zip(columns, values)) for values in zip(*columns.values())]
        table.release(byref(table))
    raise RuntimeError(stream.get_last_error(byref(stream)).decode())


def main():
    engine = ctypes.CDLL(sys.argv[1])
    engine.qorvel_engine_last_fault.restype = POINTER(Fault)
    session = c_void_p()

    def call(function, *arguments):
        if function(*arguments) != 0:
            sys.exit(engine.qorvel_engine_last_fault(session).contents.sentence.decode())

    call(engine.qorvel_engine_open, b"hangouts", CONFIGURATION, b"late=0", byref(session))
    schema, array = make_fixes()
    call(engine.qorvel_engine_push, session, byref(schema), byref(array), c_int64(-1))
    call(engine.qorvel_engine_finish, session)
    results = Stream()
    call(engine.qorvel_engine_results, session, byref(results))
    for row in read_stream(results):
        start = datetime.datetime.fromtimestamp(row["box_start"] / 1000, datetime.timezone.utc)
        print(f"{row['entity']} stayed in {row['geohash']} in the hour from {start:%H:%M}")
    engine.qorvel_engine_close(session)


if __name__ == "__main__":
    main()
