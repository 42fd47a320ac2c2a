"""Rows a second of a core on Spark, beside the bare engine and Spark's own work, and memory.

python spark.py [--questions NAME,...] [MILLIONS OF ROWS...], or --streams ENTITIES..., --by-entity ENTITIES...,
or --crowd MILLIONS OF ROWS...
"""

import functools
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import time
from collections.abc import Callable

import pyarrow as pa
from pyspark.sql import DataFrame, SparkSession
from pyspark.sql import functions as F

import qorvel
import qorvel.spark
from qorvel.spark._batch import make_question, results_of
from qorvel.spark._input import look_at
from qorvel.spark._task import Answers

CORES = 2
ROCKSDB = "org.apache.spark.sql.execution.streaming.state.RocksDBStateStoreProvider"
ROWS_OF_ENTITY = 1_000
MINUTE = 60_000
MICRO_BATCHES = 4
START = 1_718_366_400_000


def tracks(spark: SparkSession, rows: int) -> DataFrame:
    """A fix a minute: half an hour at each of some places, walks between them, made on executors."""
    entity = (F.col("id") / ROWS_OF_ENTITY).cast("long")
    minute = F.col("id") % ROWS_OF_ENTITY
    place = F.floor(minute / 40) + F.least(minute % 40, F.lit(10)) / 10

    def wave(seed: int, spread: float) -> F.Column:
        return spread * F.sin(place * (seed + entity % 17) + entity * seed)

    return spark.range(rows, numPartitions=4 * CORES).select(
        F.concat(F.lit("e"), entity).alias("entity"),
        (47.4 + wave(3, 0.05) + 1e-4 * F.rand(1)).alias("lat"),
        (8.5 + wave(7, 0.05) + 1e-4 * F.rand(2)).alias("lon"),
        (START + minute * MINUTE).alias("time_ms"),
    )


def processor_seconds() -> float:
    """What this process and all below it have used: other work on the machine does not count."""
    used, parents = {}, {}
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                fields = (entry / "stat").read_text().rsplit(")", 1)[1].split()
            except OSError:
                continue
            parents[int(entry.name)] = int(fields[1])
            used[int(entry.name)] = sum(map(int, fields[11:15])) / os.sysconf(
                "SC_CLK_TCK"
            )

    def is_below(process: int) -> bool:
        return process == os.getpid() or (
            process in parents and is_below(parents[process])
        )

    return sum(seconds for process, seconds in used.items() if is_below(process))


def tell(what: str, rows: int, work: Callable[[], object]) -> None:
    """One line."""
    wall, used = time.perf_counter(), processor_seconds()
    work()
    wall, used = time.perf_counter() - wall, processor_seconds() - used
    print(
        f"{what:32} {rows:>11,} rows {wall:8.1f} s {used:8.1f} core s {rows / used:>11,.0f} rows/core s"
    )


def work_out(frame: DataFrame) -> Callable[[], None]:
    """Work all of it out, and throw it away."""
    return lambda: frame.write.format("noop").mode("overwrite").save()


def measure(spark: SparkSession, rows: int, folder: str, questions: list[str]) -> None:
    """One size."""
    file = f"{folder}/{rows}"
    tracks(spark, rows).write.mode("overwrite").parquet(file)
    frame = spark.read.parquet(file)
    tell("read", rows, work_out(frame))
    spread = frame.repartition(4 * CORES, "entity").sortWithinPartitions(
        "entity", "time_ms"
    )
    tell("repartitioned and sorted", rows, work_out(spread))
    for name in questions:
        answer = getattr(qorvel.spark, name)(frame, partitions=4 * CORES)
        tell(name, rows, work_out(answer))
    if rows <= 1_000_000:
        table = frame.toArrow()
        for name in questions:
            ask = functools.partial(getattr(qorvel, name), table, threads=1)
            tell(f"{name}, the bare engine", rows, ask)


def measure_stream(
    spark: SparkSession, entities: int, buckets: int | None, batches: int = MICRO_BATCHES
) -> None:
    """Micro-batches with a few fixes of each entity, from files to files."""
    folder = pathlib.Path(os.environ.get("SPARK_LOCAL_DIRS", "/tmp")) / "stream"
    shutil.rmtree(folder, ignore_errors=True)
    for part in range(batches):
        minute = F.col("id") % 5 + 5 * part
        spark.range(5 * entities, numPartitions=1).select(
            F.concat(F.lit("e"), (F.col("id") / 5).cast("long")).alias("entity"),
            (47.4 + 1e-4 * F.rand(1)).alias("lat"),
            (8.5 + 1e-4 * F.rand(2)).alias("lon"),
            (START + minute * MINUTE).alias("time_ms"),
        ).write.mode("append").parquet(str(folder / "in"))
    rows = spark.readStream.schema(spark.read.parquet(str(folder / "in")).schema)
    rows = rows.option("maxFilesPerTrigger", 1).parquet(str(folder / "in"))
    answer = qorvel.spark.stays(rows, late="1 minutes", buckets=buckets)

    def work() -> None:
        query = answer.writeStream.format("noop").trigger(availableNow=True)
        query.option("checkpointLocation", str(folder / "checkpoint")).start().awaitTermination()

    tell(f"{entities:,} entities, {buckets} buckets", 5 * entities * batches, work)
    state = [file for file in (folder / "checkpoint" / "state").rglob("*") if file.is_file()]
    print(f"{sum(file.stat().st_size for file in state) // 1000:>60,} kB of checkpoints")


def measure_crowd(spark: SparkSession, rows: int) -> None:
    """An hour of meetings of those who are all in one town, beside as many far and wide."""

    def place(seed: int, spread: float) -> F.Column:
        share = F.pmod(F.xxhash64("entity", F.lit(seed)), F.lit(1_000_000)) / 1e6
        return spread * share + 1e-5 * F.rand(seed)

    hour = spark.range(rows, numPartitions=4 * CORES).select(
        (F.col("id") / 60).cast("long").alias("entity"),
        (START + F.col("id") % 60 * MINUTE).alias("time_ms"),
    )
    for name, degrees in (("to warm up", 0.6), ("far and wide", 0.6), ("in one town", 0.05)):
        frame = hour.withColumns({"lat": place(1, degrees), "lon": place(2, degrees)})
        tell(f"meet, {name}", rows, work_out(qorvel.spark.meet(frame, partitions=4 * CORES)))


def tell_peak(entities: int) -> None:
    """What a worker takes for a partition of so many entities, in a process of its own."""
    spark = SparkSession.builder.master("local[1]").getOrCreate()
    found = look_at(tracks(spark, 0), None, keys=False)
    question = make_question("hangouts", found, None, {}).where(late="ever")
    answers = Answers(question, results_of(question, found))
    times = pa.array(range(START, START + 20 * MINUTE, MINUTE))

    def partition():
        for entity in range(0, entities, 500):
            names = pa.array(
                [
                    f"e{one:09}"
                    for one in range(entity, entity + 100)
                    for _ in range(100)
                ]
            )
            places = pa.array([47.4 + 1e-4 * (row % 3) for row in range(10_000)])
            columns = [names, places, places, pa.concat_arrays([times] * 500)]
            yield pa.RecordBatch.from_arrays(columns, ["entity", "lat", "lon", "time"])

    results = sum(batch.num_rows for batch in answers(partition()))
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss // 1024
    print(
        f"{entities:>9,} entities in a partition: peak of the worker {peak} MB, {results:,} results"
    )


def start() -> SparkSession:
    """Two executors of a core each."""
    os.environ["PYSPARK_PYTHON"] = sys.executable
    print(f"load of the machine: {os.getloadavg()[0]:.1f} on {os.cpu_count()} cores")
    spark = (
        SparkSession.builder.master(f"local-cluster[{CORES},1,2048]")
        .config("spark.ui.enabled", "false")
        .config("spark.ui.showConsoleProgress", "false")
        .config("spark.executor.memory", "1g")
        .config("spark.sql.shuffle.partitions", 2 * CORES)
        .config("spark.sql.streaming.stateStore.providerClass", ROCKSDB)
        .getOrCreate()
    )
    spark.sparkContext.setLogLevel("ERROR")
    return spark


def main() -> None:
    """Sizes, then memory."""
    if sys.argv[1:2] == ["--streams"]:
        spark = start()
        for entities in map(int, sys.argv[2:]):
            for buckets in (None, 16, 64, 256):
                # By entity, 100,000 take hours, see --by-entity; a million and small buckets, likewise.
                if entities <= 1_000 or (buckets and (entities <= 100_000 or buckets == 64)):
                    measure_stream(spark, entities, buckets)
        spark.stop()
        return
    if sys.argv[1:2] == ["--by-entity"]:
        spark = start()
        for entities in map(int, sys.argv[2:]):
            measure_stream(spark, entities, None, batches=1)
        spark.stop()
        return
    if sys.argv[1:2] == ["--peak"]:
        tell_peak(int(sys.argv[2]))
        return
    questions, sizes = ["stays", "hangouts", "meet"], sys.argv[1:] or ["1"]
    if sizes[0] == "--questions":
        questions, sizes = sizes[1].split(","), sizes[2:]
    spark = start()
    if sizes[0] == "--crowd":
        for millions in sizes[1:]:
            measure_crowd(spark, int(float(millions) * 1e6))
        spark.stop()
        return
    for millions in sizes:
        measure(
            spark,
            int(float(millions) * 1e6),
            os.environ.get("SPARK_LOCAL_DIRS", "/tmp"),
            questions,
        )
    spark.stop()
    for entities in (1_000, 10_000, 50_000):
        subprocess.run([sys.executable, __file__, "--peak", str(entities)], check=True)
    print(f"load of the machine: {os.getloadavg()[0]:.1f} on {os.cpu_count()} cores")


if __name__ == "__main__":
    main()
