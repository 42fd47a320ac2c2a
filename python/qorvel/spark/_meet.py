"""Who was with whom, which the rows of one entity alone do not tell.

Time is cut into spans, space into cubes. The track of an entity in a span goes to all cubes that it
came by, together with what tells where the entity was at the span's borders. For each cube and span
a session of the engine looks at all tracks there, and finds the times of the span at which two were
near; wherever that was, both came by that cube. A pair that shares several cubes is found in each,
with the same figures, and counts once. At last the pieces of encounters that went on over a border
between spans are put together.
"""

from __future__ import annotations

import dataclasses
import math
from collections.abc import Iterator, Mapping
from typing import Any

import numpy as np
import pyarrow as pa
import pyarrow.compute as pc
from pyspark.sql import Column, DataFrame, Window
from pyspark.sql import functions as F
from pyspark.sql.pandas.types import from_arrow_schema

from qorvel._analyses import milliseconds_of
from qorvel._errors import Code, Error
from qorvel._tables import FIELDS, NEEDED
from qorvel.spark._input import expect_count, look_at, spread
from qorvel.spark._passages import Grid, Passages
from qorvel.spark._plan import make_question, results_of
from qorvel.spark._task import Batches, Question, in_schema

# Fixes that a task looks at together. Where there are more, they are split.
MOST_TOGETHER = 400_000

HALF_A_MINUTE = 30_000
# Settings that say when two are near.
TOLD = ("within", "apart", "fixes_only")
PLACE = ("cube", "span", "part")
PAIR = ("entity_a", "entity_b")


def meet(
    frame: DataFrame,
    *,
    columns: Mapping[str, str] | None = None,
    partitions: int | None = None,
    **settings: Any,  # noqa: ANN401
) -> DataFrame:
    """Tell who was with whom, from when to when.

    What comes out is what the program finds in a file with all rows.

    Parameters
    ----------
    frame : DataFrame
        As `stays` takes it.
    columns : mapping of str to str, optional
        As `stays` takes it.
    partitions : int, optional
        Of each step; as ``spark.sql.shuffle.partitions`` says by default.
    **settings
        As `qorvel.meet` has them, but for those of a run on one machine.

    Returns
    -------
    DataFrame
        A row for each encounter, or pair, in no order.
    """
    expect_count(partitions)
    if isinstance(frame, DataFrame) and frame.isStreaming:
        raise Error("Encounters are asked of batches, not of streams.", Code.MISUSE)
    found = look_at(frame, columns, keys=False)
    if "point" in found.chosen:
        raise Error("Meetings want the columns lat and lon, not points.", Code.MISSING_COLUMN)
    asked = make_question("encounters", found, None, settings)
    wanted = results_of(asked, found)
    grid = Grid(
        within=float(settings.get("within") or 50.0),
        apart=milliseconds_of(settings.get("apart") or "5 minutes"),
    )
    question = dataclasses.replace(
        asked,
        settings={name: settings[name] for name in TOLD if name in settings},
        columns={field: field if field in NEEDED else "" for field in FIELDS},
    )
    entities = found.empty.schema.field("entity").type
    passages = (
        spread(found.select(), partitions, "entity")
        .sortWithinPartitions("entity", *found.order())
        .mapInArrow(
            Passages(Question("stays", None, {}, found.columns), grid),
            from_arrow_schema(grid.schema(entities)),
        )
    )
    schema = results_of(question, found)
    pieces = (
        spread(_split(passages), partitions, *PLACE)
        .sortWithinPartitions(*PLACE, "entity")
        .mapInArrow(
            Encounters(question, grid, schema, **_part(settings)), from_arrow_schema(schema)
        )
    )
    least = math.ceil(float(settings.get("min_minutes") or 0.0) * 2 * HALF_A_MINUTE)
    pieces = spread(pieces, partitions, *PAIR)
    encounters = _join(pieces, grid.apart).where(_duration() >= least)
    answer = _sum(encounters) if settings.get("pairs") else encounters
    return answer.select(*wanted.names)


def _part(settings: Mapping[str, Any]) -> dict[str, int]:
    """Give the part of the time that was asked for."""
    asked = {"first": settings.get("first_ms"), "last": settings.get("last_ms")}
    return {name: int(time) for name, time in asked.items() if time is not None}


def _split(passages: DataFrame) -> DataFrame:
    """Share crowded cubes out, so that each two entities are still together in one part at least.

    Entities are dealt into groups, and a part has two of these.
    """
    half = MOST_TOGETHER // 2
    crowded = (
        passages.groupBy("cube", "span")
        .agg(F.sum("fixes").alias("crowd"))
        .where(F.col("crowd") > MOST_TOGETHER)
        .select("cube", "span", F.ceil(F.col("crowd") / half).cast("int").alias("groups"))
    )
    group = F.pmod(F.xxhash64("entity"), F.col("groups")).cast("int")
    parts = F.transform(
        F.filter(F.sequence(F.lit(0), F.col("groups") - 1), lambda other: other != group),
        lambda other: F.least(group, other) * F.col("groups") + F.greatest(group, other),
    )
    return passages.join(F.broadcast(crowded), ["cube", "span"], "left").select(
        *passages.columns,
        F.explode(F.when(F.col("groups").isNull(), F.array(F.lit(0))).otherwise(parts)).alias(
            "part"
        ),
    )


@dataclasses.dataclass(frozen=True)
class Encounters:
    """Who was with whom in a cube and span, or a part of it: these come one after the other."""

    question: Question
    grid: Grid
    schema: pa.Schema
    first: int = 0
    last: int = 2**63 - 1

    def __call__(self, batches: Batches) -> Batches:
        """Take the rows of a partition."""
        place = None
        tracks: list[pa.RecordBatch] = []
        for batch in batches:
            for there, rows in _by_place(batch):
                if there != place and place is not None:
                    yield from self._find(place, tracks)
                    tracks = []
                place = there
                tracks.append(rows)
        if place is not None:
            yield from self._find(place, tracks)

    def _find(self, place: tuple[int, ...], tracks: list[pa.RecordBatch]) -> Batches:
        if tracks[0]["entity"][0] == tracks[-1]["entity"][len(tracks[-1]) - 1]:
            return
        begin, end = self.grid.times_of(place[PLACE.index("span")])
        first, last = max(begin, self.first), min(end, self.last)
        if first > last:
            return
        session = self.question.where(first_ms=first, last_ms=last, late="ever").session()
        for batch in tracks:
            yield from in_schema(session.push(_fixes(batch)), self.schema)
        yield from in_schema(session.finish(), self.schema)


def _by_place(batch: pa.RecordBatch) -> Iterator[tuple[tuple[int, ...], pa.RecordBatch]]:
    places = list(zip(*(batch[name].to_pylist() for name in PLACE), strict=True))
    begin = 0
    for end in range(1, len(places) + 1):
        if end == len(places) or places[end] != places[begin]:
            yield places[begin], batch.slice(begin, end - begin)
            begin = end


def _fixes(tracks: pa.RecordBatch) -> pa.Table:
    """Give a row for each fix of the tracks."""
    rows = np.repeat(np.arange(tracks.num_rows), pc.list_value_length(tracks["time"]).to_numpy())
    columns = {name: tracks[name].flatten() for name in ("time", "lat", "lon")}
    return pa.table({"entity": tracks["entity"].take(pa.array(rows)), **columns})


def _join(pieces: DataFrame, apart: int) -> DataFrame:
    """Put encounters together of pieces at most `apart` apart."""
    in_time = Window.partitionBy(*PAIR).orderBy("from")
    silence = F.unix_millis("from") - F.unix_millis(F.lag("to").over(in_time))
    least = F.min(F.struct("least_m", "from", "lat", "lon", "geohash"))
    return (
        pieces.dropDuplicates([*PAIR, "from"])
        .withColumn("begins", F.coalesce(silence > apart, F.lit(True)).cast("int"))
        .withColumn("encounter", F.sum("begins").over(in_time))
        .groupBy(*PAIR, "encounter")
        .agg(
            F.min("from").alias("from"),
            F.max("to").alias("to"),
            F.sum("fixes").alias("fixes"),
            least.alias("least"),
        )
        .withColumn("minutes", _minutes(_duration()))
        .select("*", *(F.col(f"least.{name}") for name in ("least_m", "lat", "lon", "geohash")))
    )


def _sum(encounters: DataFrame) -> DataFrame:
    return (
        encounters.groupBy(*PAIR)
        .agg(
            F.count("*").alias("encounters"),
            F.sum(_duration()).alias("together"),
            F.min("from").alias("first"),
            F.max("to").alias("last"),
        )
        .withColumn("minutes", _minutes(F.col("together")))
    )


def _duration() -> Column:
    return F.unix_millis("to") - F.unix_millis("from")


def _minutes(ms: Column) -> Column:
    """Halves up."""
    minute = 2 * HALF_A_MINUTE
    return F.floor(ms / minute) + (ms % minute >= HALF_A_MINUTE).cast("long")
