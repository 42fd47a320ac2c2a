"""Who had fixes near whose: python meet.py PROGRAM FILE asks our program and DuckDB, each in processes of its own.

Which pairs of entities have fixes within 30 m and a quarter of an hour of each other in FILE, CSV with entity,
lat, lon and time_ms? DuckDB is asked in two ways: with one join, of fixes with the neighbours of their cells, and
with a join for each neighbour, which takes less memory. Both reckon the same straight line between two points of
the ellipsoid. The line of each tells its pairs and those that only one of it and ours has, the processor seconds
from start to end and the peak memory: medians of runs in turn. DuckDB's best seconds and its best memory are to
be twice and five times ours.
"""

import csv
import os
import pathlib
import statistics
import sys
import tempfile

RUNS = int(os.environ.get("QORVEL_BENCH_RUNS", "5"))
WITHIN = 30.0  # metres
APART = 900_000  # ms
# Of a cell's edges, in degrees, at least WITHIN as far as 50.5 degrees from the equator.
LATITUDE, LONGITUDE = WITHIN / 110_000, WITHIN / 70_000
NEIGHBOURS = [(i, j, k) for i in (-1, 0, 1) for j in (-1, 0, 1) for k in (0, 1)]

FIXES = f"""
CREATE TEMP TABLE fix AS
WITH read AS (
    SELECT entity, time_ms AS t, lat, lon, radians(lat) AS p, radians(lon) AS l, 0.0066943799901413165 AS e,
        6378137.0 / sqrt(1 - e * sin(p) * sin(p)) AS n
    FROM read_csv(?, types = {{'entity': 'VARCHAR'}})),
names AS (SELECT entity, row_number() OVER (ORDER BY entity)::INT AS id FROM (SELECT DISTINCT entity FROM read))
SELECT id, t, n * cos(p) * cos(l) AS x, n * cos(p) * sin(l) AS y, n * (1 - e) * sin(p) AS z, entity,
    floor(lat / {LATITUDE})::INT AS i, floor(lon / {LONGITUDE})::INT AS j, (t // {APART})::INT AS k
FROM read JOIN names USING (entity)"""
NEAR = f"""a.id <> b.id AND b.t >= a.t AND b.t - a.t <= {APART}
    AND (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z) <= {WITHIN * WITHIN}"""
ONE = f"""
SELECT DISTINCT least(a.id, b.id) AS one, greatest(a.id, b.id) AS other
FROM (SELECT id, t, x, y, z, i + di AS i, j + dj AS j, k + dk AS k FROM fix,
    (SELECT unnest([-1, 0, 1]) AS di), (SELECT unnest([-1, 0, 1]) AS dj), (SELECT unnest([0, 1]) AS dk)) AS a
JOIN fix AS b USING (i, j, k) WHERE {NEAR}"""
EACH = " UNION ".join(
    f"""SELECT least(a.id, b.id) AS one, greatest(a.id, b.id) AS other
    FROM fix AS a JOIN fix AS b ON b.i = a.i + {i} AND b.j = a.j + {j} AND b.k = a.k + {k} WHERE {NEAR}"""
    for i, j, k in NEIGHBOURS
)


def ask_duckdb(ways: str, threads: str, file: str, out: str) -> None:
    import duckdb

    connection = duckdb.connect()
    connection.execute("SET preserve_insertion_order = false")
    if threads != "0":
        connection.execute(f"SET threads = {int(threads)}")
    connection.execute(FIXES, [file])
    connection.execute(f"""
        COPY (WITH names AS (SELECT DISTINCT id, entity FROM fix)
            SELECT a.entity AS entity_a, b.entity AS entity_b FROM ({ONE if ways == "one" else EACH})
            JOIN names AS a ON a.id = one JOIN names AS b ON b.id = other)
        TO '{out}' (FORMAT csv, HEADER)""")


def run(command: list[str]) -> tuple[float, float]:
    """Processor seconds and MiB at the peak."""
    child = os.posix_spawn(command[0], command, os.environ)
    _, status, used = os.wait4(child, 0)
    if status:
        raise SystemExit(f"{' '.join(command)}: {status}")
    return used.ru_utime + used.ru_stime, used.ru_maxrss / 1024


def pairs_in(file: pathlib.Path) -> set[frozenset[str]]:
    with file.open(newline="") as rows:
        return {frozenset((row["entity_a"], row["entity_b"])) for row in csv.DictReader(rows)}


def main(program: str, file: str) -> None:
    with tempfile.TemporaryDirectory() as folder:
        question = ["--fixes-only", "--within", f"{WITHIN:g}", "--apart", f"{APART // 60_000} minutes"]
        ours = [program, "meet", *question, "--pairs", "--quiet", "--threads", "1", file, "--out"]
        theirs = [sys.executable, __file__, "--duckdb"]
        commands = {
            "qorvel": ours,
            "DuckDB, one join": [*theirs, "one", "1", file],
            "DuckDB, one join, its threads": [*theirs, "one", "0", file],
            "DuckDB, a join each": [*theirs, "each", "1", file],
            "DuckDB, a join each, its threads": [*theirs, "each", "0", file],
        }
        out = {name: pathlib.Path(folder) / f"{at}.csv" for at, name in enumerate(commands)}
        taken: dict[str, list[tuple[float, float]]] = {name: [] for name in commands}
        for _ in range(RUNS):
            for name, command in commands.items():
                out[name].unlink(missing_ok=True)
                taken[name].append(run([*command, str(out[name])]))
        # Not before: a process counts what the one that starts it holds among its own.
        found = {name: pairs_in(file) for name, file in out.items()}
    figures = {name: tuple(map(statistics.median, zip(*runs))) for name, runs in taken.items()}
    for name, (seconds, memory) in figures.items():
        differ = len(found[name] ^ found["qorvel"])
        print(f"{name:34} {len(found[name]):8,} pairs {differ:4} differ {seconds:8.2f} s {memory:8.0f} MiB")
    ours_seconds, ours_memory = figures.pop("qorvel")
    best_seconds, best_memory = map(min, zip(*figures.values()))
    for what, best, ours_one, times in (
        ("processor time", best_seconds, ours_seconds, 2),
        ("memory", best_memory, ours_memory, 5),
    ):
        verdict = "met" if best >= times * ours_one else "MISSED"
        print(f"{what}: {best / ours_one:.1f} times ours, at least {times} {verdict}")


if __name__ == "__main__":
    ask_duckdb(*sys.argv[2:]) if sys.argv[1] == "--duckdb" else main(*sys.argv[1:])
