"""On a cluster of two executors the answer is the program's, whatever dies on the way."""

import itertools
import math
import os
import pathlib
import random
import re
import runpy
import shutil
import signal
import subprocess
import sys
import tarfile
import time

import pyarrow as pa
import pyarrow.csv
import pyarrow.parquet
import pytest
from conftest import COMMANDS, ROOT, csv_text, data_files, read

pytest.importorskip("pyspark", reason="scripts/test-spark runs these")

import dask.dataframe
from pyspark.sql import SparkSession
from pyspark.sql import functions as F

import qorvel
import qorvel.spark
from qorvel.spark import _meet

OPTIONS = {"presence": {"final": True}, "places": {"label": True, "time_zone": "+01:00"}}
ORDER = [(name, "ascending") for name in ("entity", "time_ms", "lat", "lon")]


MASTER = "local-cluster[2,1,2048]"
SETTINGS = {
    "spark.ui.enabled": "false",
    "spark.driver.bindAddress": "127.0.0.1",
    "spark.driver.host": "127.0.0.1",
    "spark.executor.memory": "1g",
    "spark.sql.shuffle.partitions": "3",
    "spark.task.maxFailures": "8",
}


@pytest.fixture(scope="session")
def spark():
    os.environ["PYSPARK_PYTHON"] = sys.executable
    builder = SparkSession.builder.master(MASTER)
    for name, value in SETTINGS.items():
        builder = builder.config(name, value)
    session = builder.getOrCreate()
    session.sparkContext.setLogLevel("ERROR")
    yield session
    session.stop()


class Tracks:
    """Observations, shuffled, in files of Spark; and in order, for the program."""

    def __init__(self, table, folder, program):
        self.program = program
        self.file = folder / "tracks.csv"
        pa.csv.write_csv(table.sort_by(ORDER), self.file)
        self.folder = folder / "tracks"
        self.folder.mkdir()
        for part in range(3):
            rows = [row for row in range(table.num_rows) if row * 2654435761 % 2**32 % 3 == part]
            pa.parquet.write_table(table.take(rows[::-1]), self.folder / f"{part}.parquet")

    def frame(self, spark):
        return spark.read.parquet(str(self.folder))

    def wanted(self, command):
        return lines_of(self.program.answer(command, self.file))


def lines_of(text):
    return sorted(text.splitlines())


def found(frame):
    return lines_of(csv_text(frame.toArrow()))


@pytest.fixture(scope="session", params=["town", "taxis"])
def tracks(request, program, world, tmp_path_factory):
    if request.param == "town":
        table = read(world)
    else:
        files = [file for file in data_files() if "cabs" in file.name]
        if not files:
            pytest.skip("QORVEL_TEST_DATA names no folder with taxis")
        table = read(files[0])
        cabs = sorted(set(table["entity"].to_pylist()))[::20]
        table = table.filter(pa.compute.is_in(table["entity"], pa.array(cabs)))
    return Tracks(table, tmp_path_factory.mktemp(request.param), program)


def ask(command, frame, **options):
    return getattr(qorvel.spark, command)(frame, **OPTIONS.get(command, {}), **options)


@pytest.mark.parametrize("partitions", [1, 2, 7, 64])
def test_any_number_of_partitions_gives_what_the_program_writes(partitions, tracks, spark):
    for command in COMMANDS:
        if command == "boxes":
            answer = ask(command, tracks.frame(spark).repartition(partitions))
        else:
            answer = ask(command, tracks.frame(spark), partitions=partitions)
        assert found(answer) == tracks.wanted(command), command


def test_a_crowd_is_split(tracks, spark, monkeypatch):
    monkeypatch.setattr(_meet, "MOST_TOGETHER", 500)
    assert found(ask("meet", tracks.frame(spark))) == tracks.wanted("meet")


def test_pairs_and_settings_are_those_of_one_machine(tracks, spark):
    settings = {"apart": "20 minutes", "within": 300.0, "min_minutes": 3.5}
    for more in {"pairs": True}, {"fixes_only": True}:
        wanted = qorvel.meet(read(tracks.file), **settings, **more)
        answer = ask("meet", tracks.frame(spark), **settings, **more)
        assert found(answer) == lines_of(csv_text(wanted))


def test_meetings_do_not_depend_on_where_on_earth_or_how_fast(spark):
    """Jumps to any place, the other end of the earth too, poles, and fixes of the same time."""
    random.seed(5)
    rows = []
    for entity in range(9):
        place, time = [0.0, 89.9, -48.0][entity % 3], 10**12
        for _ in range(150):
            time += random.randrange(1, 400_000)
            time -= time % random.choice([1, 100_000])
            lat = max(-90.0, min(90.0, place + random.uniform(-0.1, 0.2)))
            lon = math.remainder(179.9 + random.uniform(-0.2, 0.2), 360)
            rows.append((f"e{entity}", lat, lon, time))
            if random.random() < 0.02:
                rows.append((f"e{entity}", -lat, math.remainder(lon + 180, 360), time + 100_000))
    rows += [("null island", 0.0, 0.0, 10**12), ("null island", 0.0, 180.0, 10**12 + 200_000)]
    rows += [("in its way", 0.0, 90.0, 10**12 + 100_000)]
    frame = spark.createDataFrame(rows, "entity string, lat double, lon double, time_ms bigint")
    columns = dict(zip(frame.columns, map(list, zip(*rows, strict=True)), strict=True))
    wanted = lines_of(csv_text(qorvel.meet(pa.table(columns), within=20_000.0)))
    assert len(wanted) > 100
    assert sum("in its way" in line for line in wanted) == 1
    assert found(ask("meet", frame, within=20_000.0, partitions=3)) == wanted


def deadly(marker, victim):
    """Hands rows on, and kills once what works on them."""

    def work(batches):
        for batch in batches:
            try:
                os.close(os.open(marker, os.O_CREAT | os.O_EXCL))
            except FileExistsError:
                yield batch
                continue
            parents = {}
            for entry in os.listdir("/proc"):
                if entry.isdigit():
                    try:
                        with open(f"/proc/{entry}/stat") as file:
                            parents[int(entry)] = int(file.read().rsplit(")", 1)[1].split()[1])
                    except OSError:
                        continue
            daemon = os.getppid()
            workers = [process for process, parent in parents.items() if parent == daemon]
            for process in [parents[daemon]] if victim == "executor" else workers:
                os.kill(process, signal.SIGKILL)
            yield batch

    return work


@pytest.mark.parametrize(
    ("command", "victim"), [("stays", "worker"), ("stays", "executor"), ("meet", "executor")]
)
def test_what_dies_on_the_way_changes_nothing(command, victim, program, world, spark, tmp_path):
    tracks = Tracks(read(world), tmp_path, program)
    marker = str(tmp_path / "killed")
    answer = ask(command, tracks.frame(spark), partitions=3)
    answer = answer.mapInArrow(deadly(marker, victim), answer.schema)
    assert found(answer) == tracks.wanted(command)
    assert pathlib.Path(marker).exists()


def test_rows_may_be_taken_in_another_order(program, world, spark):
    """In that of the file, in which some are late; by a collation two names could be one."""
    table = read(world)
    names = pa.compute.replace_substring(table["entity"], "2", "A")
    table = table.set_column(0, "entity", pa.compute.replace_substring(names, "3", "a"))
    wanted = qorvel.hangouts(table)
    table = table.append_column("row", pa.array(range(table.num_rows)))
    rows = spark.createDataFrame(table).repartition(5, "lat")
    rows = rows.withColumn("entity", F.collate("entity", "UTF8_LCASE"))
    answer = qorvel.spark.hangouts(rows, order_by="row")
    assert found(answer) == lines_of(csv_text(wanted))
    assert found(qorvel.spark.hangouts(rows)) != found(answer)


def test_rejects_are_the_rows_that_cannot_be_used(spark):
    schema = "who string, lat double, lon double, t timestamp, more array<int>"
    rows = [
        ("a", 47.0, 8.0, None, [1]),
        (None, 47.0, 8.0, None, None),
        ("c", 47.0, 8.0, None, None),
        ("d", math.nan, 8.0, None, None),
    ]
    frame = spark.createDataFrame(rows, schema).withColumn(
        "t", F.when(F.col("who") != "c", F.timestamp_millis(F.lit(5)))
    )
    got = qorvel.spark.rejects(frame, columns={"entity": "who"}).collect()
    assert sorted((row.who or "", row.reject_reason) for row in got) == [
        ("", "the entity is missing"),
        ("c", "the time is missing"),
        ("d", "the latitude is no number from -90 to 90"),
    ]
    assert qorvel.spark.boxes(frame, columns={"entity": "who"}).select("entity").collect() == [
        ("a",)
    ]


STREAM = ROOT / "python" / "tests" / "spark_stream.py"
HOUR = 3_600_000


def write_stream(world, folder):
    """Files of rows in some disorder: rows of a file again, too late ones, a name that comes twice.

    Gives the rows that count. The last is long after, so that nothing stays under way.
    """
    (folder / "in").mkdir()
    rows = read(world).sort_by(ORDER[1:2] + ORDER)
    shuffled = sorted(range(rows.num_rows), key=lambda row: row + row * 2654435761 % 61)
    cut = [rows.num_rows * part // 5 for part in range(6)]
    files = [rows.take(shuffled[a:b]) for a, b in itertools.pairwise(cut)]
    again = files[1].slice(files[1].num_rows - 9)
    files[2] = pa.concat_tables([again, files[2]])
    late = rows.slice(0, 7)
    end = rows.slice(rows.num_rows - 1)
    end = end.set_column(
        end.schema.get_field_index("time_ms"), "time_ms", pa.compute.add(end["time_ms"], 800 * HOUR)
    )
    for number, table in enumerate([*files[:4], pa.concat_tables([late, files[4]]), end]):
        file = folder / "in" / f"{number}.parquet"
        pa.parquet.write_table(table, file)
        os.utime(file, (10**9 + number, 10**9 + number))
    return pa.concat_tables([rows, again, end]).sort_by(ORDER)


def stream(command, buckets, folder, until=None):
    """Run it to its end, or until something is there, and then kill all of it at once."""
    with subprocess.Popen(
        [sys.executable, str(STREAM), command, buckets, str(folder)],
        env=os.environ | {"PYSPARK_PYTHON": sys.executable},
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        start_new_session=True,
    ) as driver:
        while until and driver.poll() is None and not (folder / "checkpoint" / until).exists():
            time.sleep(0.01)
        if until:
            os.killpg(driver.pid, signal.SIGKILL)
        out, err = driver.communicate()
        assert until or driver.returncode == 0, err
        return out


@pytest.mark.parametrize(("command", "buckets"), [("stays", "5"), ("hangouts", "")])
def test_a_stream_gives_what_a_batch_gives(command, buckets, world, tmp_path):
    """Killed inside a micro-batch and between two; where it went on, files were there already."""
    rows = write_stream(world, tmp_path)
    is_killed = command == "stays"
    if is_killed:
        for until in ("offsets/1", "commits/2"):
            stream(command, buckets, tmp_path, until)
        os.utime(tmp_path / "in" / "1.parquet")
    told = stream(command, buckets, tmp_path)
    assert is_killed or "late: 7\n" in told  # a later start knows its own only
    answer = pa.parquet.read_table(tmp_path / "answer")
    wanted = getattr(qorvel, command)(rows, late="ever")
    assert lines_of(csv_text(answer)) == lines_of(csv_text(wanted))


FRAME = "entity string, lat double, lon double, time_ms bigint"
REFUSED = [
    ("stays", FRAME.replace("lat", "north"), {}, "no column that is known for the lat"),
    ("stays", FRAME.replace("lat double", "lat string"), {}, 'column "lat" is utf8'),
    ("meet", FRAME.replace("entity string", "entity map<int,int>"), {}, "columns of its own"),
    ("boxes", FRAME + ", lat double", {"columns": {"lat": "lat"}}, "several columns"),
    ("stays", FRAME, {"radius": -1}, "radius of stays has to be above 0"),
    ("meet", FRAME, {"apart": "0 minutes"}, "apart"),
    ("meet", FRAME, {"min_minutes": -1}, "min_minutes"),
    ("hangouts", FRAME, {"config": "[[mister]]\n"}, "[[master]]"),
    ("hangouts", FRAME, {"config": "nowhere.toml"}, '"nowhere.toml" cannot be read'),
    ("hangouts", FRAME, {"late": "1 hours"}, 'no setting "late"'),
    ("presence", FRAME, {"colour": 1}, 'no setting "colour"'),
    ("presence", FRAME, {"partitions": 0}, "number of partitions"),
    ("stays", FRAME, {"buckets": 3}, 'no setting "buckets" here: they are for streams'),
]
REFUSED_OF_STREAMS = [
    ("meet", FRAME, {}, "not of streams"),
    ("places", FRAME, {}, "ask a batch"),
    ("presence", FRAME, {"final": True}, "leave out final"),
    ("stays", FRAME, {"order_by": "lat"}, "leave out partitions and order_by"),
    ("stays", FRAME, {"buckets": 0}, "number of buckets"),
    ("stays", FRAME, {"late": "soon"}, "soon"),
    ("stays", FRAME, {"late": "1 months"}, "want days or a shorter unit"),
    ("stays", FRAME, {"late": "ever"}, "not for ever"),
    ("stays", FRAME, {"threads": 2}, "Spark gives a task a core"),
    ("stays", "who string, p struct<x:double,y:double>", {"columns": {"point": "p"}}, "known for"),
]


@pytest.mark.parametrize(("command", "schema", "options", "sentence"), REFUSED)
def test_faults_are_told_before_a_task_starts(command, schema, options, sentence, spark):
    frame = spark.createDataFrame([], schema)
    with pytest.raises(qorvel.Error) as fault:
        getattr(qorvel.spark, command)(frame, **options)
    assert sentence in str(fault.value)


@pytest.mark.parametrize(("command", "schema", "options", "sentence"), REFUSED_OF_STREAMS)
def test_faults_of_streams_are_told_before_one_starts(
    command, schema, options, sentence, spark, tmp_path
):
    frame = spark.readStream.schema(schema).parquet(str(tmp_path))
    with pytest.raises(qorvel.Error) as fault:
        getattr(qorvel.spark, command)(frame, **options)
    assert sentence in str(fault.value)


def test_the_example_runs_where_workers_have_no_wheel(program, world, tmp_path):
    """The packed environment is all they have but the system's own Python."""
    tracks = Tracks(read(world), tmp_path, program)
    packed = tmp_path / "packed.tar"
    site = pathlib.Path(pa.__file__).parents[1]
    with tarfile.open(packed, "w") as archive:
        for entry in site.iterdir():
            if not re.match(r"_|pyspark|pip|setuptools|dask|hypothesis|nanobind", entry.name):
                archive.add(entry, entry.name)
    settings = SETTINGS | {"spark.executorEnv.PYTHONPATH": "packed"}
    submit = shutil.which("spark-submit", path=pathlib.Path(sys.executable).parent)
    command = [submit, "--master", MASTER, "--archives", f"{packed}#packed"]
    for name, value in settings.items():
        command += ["--conf", f"{name}={value}"]
    example = ROOT / "examples" / "spark" / "batch.py"
    bare = os.path.realpath(sys.executable)
    environment = os.environ | {"PYSPARK_PYTHON": bare, "PYSPARK_DRIVER_PYTHON": sys.executable}
    environment.pop("PYTHONPATH", None)
    lacks = subprocess.run([bare, "-c", "import qorvel._engine"], cwd=tmp_path, capture_output=True)
    assert lacks.returncode != 0
    subprocess.run(
        [*command, str(example), str(tracks.folder), str(tmp_path / "out")],
        check=True,
        cwd=tmp_path,
        env=environment,
        capture_output=True,
    )
    for name, settings in {"stays": {"radius": 150}, "encounters": {"within": 30}}.items():
        question = "meet" if name == "encounters" else name
        wanted = getattr(qorvel, question)(read(tracks.file), **settings)
        assert lines_of(csv_text(pa.parquet.read_table(tmp_path / "out" / name))) == lines_of(
            csv_text(wanted)
        )


def test_the_recipe_for_dask_gives_the_same(tracks):
    recipe = runpy.run_path(str(ROOT / "examples" / "spark" / "on_dask.py"))
    rows = dask.dataframe.read_parquet(tracks.folder)
    answer = pa.Table.from_pandas(recipe["stays"](rows, 5).compute(), preserve_index=False)
    assert lines_of(csv_text(answer)) == tracks.wanted("stays")
