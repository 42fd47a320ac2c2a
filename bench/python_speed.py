"""Rows a second of each question, by processor time, in one thread: python python_speed.py FILE...

To be run where the module and pyarrow are installed. FILE is CSV, gzipped or not, with the columns
entity, lat, lon, time_ms. Reading it is not counted. With --town FILE the sample town is written there.
"""

import statistics
import sys
import time

import numpy as np
import pyarrow as pa
import pyarrow.csv

import qorvel

RUNS = 3


def seconds(work):
    """The median of the processor time of some runs."""
    taken = []
    for _ in range(RUNS):
        begin = time.process_time()
        work()
        taken.append(time.process_time() - begin)
    return statistics.median(taken)


def bench_tracks(file):
    options = pa.csv.ConvertOptions(column_types={"entity": pa.string()})
    table = pa.csv.read_csv(file, convert_options=options)
    for name in ("boxes", "presence", "hangouts", "stays", "meet"):
        answer = getattr(qorvel, name)
        took = seconds(lambda answer=answer: answer(table, threads=1))
        print(f"{name:10} {took:8.3f} s {table.num_rows / took / 1e6:8.2f} M rows/s  {file}")


def bench_cells(count=2_000_000):
    random = np.random.default_rng(1)
    lat, lon = random.uniform(-90, 90, count), random.uniform(-180, 180, count)
    cells = qorvel.geohash.encode(lat, lon, 7)
    for name, work in (
        ("encode", lambda: qorvel.geohash.encode(lat, lon, 7)),
        ("encode 12", lambda: qorvel.geohash.encode(lat, lon, 12)),
        ("decode", lambda: qorvel.geohash.decode(cells)),
        ("bounds", lambda: qorvel.geohash.bounds(cells)),
        ("neighbours", lambda: qorvel.geohash.neighbours(cells)),
    ):
        print(f"{name:10} {count / seconds(work) / 1e6:8.1f} M cells/s")


def write_town(file):
    """As CSV, with the columns that the other files have."""
    town = qorvel.synth(entities=200, days=7).to_pyarrow()
    names = [{"time": "time_ms"}.get(name, name) for name in town.column_names]
    times = town["time"].cast(pa.timestamp("ms", "UTC")).cast(pa.int64())
    town = town.set_column(town.column_names.index("time"), "time", times)
    pa.csv.write_csv(town.rename_columns(names), file)


if sys.argv[1:2] == ["--town"]:
    write_town(sys.argv[2])
else:
    bench_cells()
    for track in sys.argv[1:]:
        bench_tracks(track)
