"""Questions of streams: what is under way of entities is the state of the stream."""

from __future__ import annotations

import os
from collections.abc import Iterator, Mapping
from typing import Any

import pandas as pd
import pyarrow as pa
import pyarrow.compute as pc
from pyspark.sql import Column, DataFrame
from pyspark.sql import functions as F
from pyspark.sql.pandas.types import from_arrow_schema
from pyspark.sql.streaming import StatefulProcessor, StatefulProcessorHandle
from pyspark.sql.streaming.stateful_processor import ExpiredTimerInfo, TimerValues
from pyspark.sql.types import (
    DataType,
    FractionalType,
    LongType,
    StructType,
    TimestampNTZType,
    TimestampType,
)

from qorvel._analyses import Session, milliseconds_of
from qorvel._errors import Code, Error
from qorvel.spark._input import TIE_BREAK, Input, look_at
from qorvel.spark._plan import make_question, results_of
from qorvel.spark._task import Question, in_schema

LATE = "1 hour"
BUCKETS = 64

KEY = "bucket"
EVENT_TIME = "event_time"
# Python's workers get times as nanoseconds, so of these a stream takes no later ones.
LAST_TIME = (1 << 63) // 1_000_000 - 1
# Where no row comes, states are looked at that often, in the time of the rows.
DAY = 86_400_000

_NOWHERE = -1e9  # no latitude, no longitude, no accuracy

STATE = "session binary, waiting binary, buckets int, due bigint"


def ask(
    analysis: str,
    frame: DataFrame,
    config: str | os.PathLike[str] | None,
    columns: Mapping[str, str] | None,
    settings: Mapping[str, Any],
) -> DataFrame:
    """Ask a question of each entity of a stream."""
    own = dict(settings)
    late = own.pop("late", None) or LATE
    buckets = own.pop("buckets", BUCKETS)
    _expect_buckets(buckets)
    found = prepared(look_at(frame, columns, keys=config is not None))
    question = make_question(analysis, found, config, own)
    question.where(late=late).session()  # refuses what is no length of time
    delay = milliseconds_of(late)
    if delay > LAST_TIME:
        raise Error("A stream waits for late rows for a while, and not for ever.", Code.MISUSE)
    question = question.where(late="1 milliseconds")
    schema = results_of(question, found)
    rows = found.select().where(F.col("time").between(0, LAST_TIME))
    rows = rows.withColumns({EVENT_TIME: F.timestamp_millis("time"), KEY: _key(buckets)})
    return (
        rows.withWatermark(EVENT_TIME, f"{delay} milliseconds")
        .groupBy(KEY)
        .transformWithStateInPandas(
            Continued(question, schema, found.empty.schema, buckets),
            outputStructType=from_arrow_schema(schema),
            outputMode="Append",
            timeMode="EventTime",
        )
    )


class Continued(StatefulProcessor):
    """Goes on with a session, of an entity or of a bucket of them, from its saved state.

    Rows wait in the state until Spark's watermark has passed them, and so are taken in the total
    order in which a batch takes them. Later ones Spark leaves out, and counts.
    """

    def __init__(
        self, question: Question, schema: pa.Schema, read: pa.Schema, buckets: int | None
    ) -> None:
        self._question = question
        self._schema = schema
        self._read = read
        self._buckets = buckets
        self._order = [(field, "ascending") for field in _order_of(read)]

    def init(self, handle: StatefulProcessorHandle) -> None:
        """Begin a task."""
        self._handle = handle
        self._state = handle.getValueState("session", STATE)

    def handleInputRows(  # noqa: N802
        self,
        key: tuple[object, ...],
        rows: Iterator[pd.DataFrame],
        timerValues: TimerValues,  # noqa: N803
    ) -> Iterator[pd.DataFrame]:
        """Take the rows of a micro-batch."""
        new = [
            pa.Table.from_pandas(part[self._read.names], self._read, preserve_index=False)
            for part in rows
        ]
        yield from self._go_on(new, timerValues.getCurrentWatermarkInMs())

    def handleExpiredTimer(  # noqa: N802
        self,
        key: tuple[object, ...],
        timerValues: TimerValues,  # noqa: N803
        expiredTimerInfo: ExpiredTimerInfo,  # noqa: N803
    ) -> Iterator[pd.DataFrame]:
        """Go on without rows."""
        yield from self._go_on([], timerValues.getCurrentWatermarkInMs())

    def _go_on(self, new: list[pa.Table], watermark: int) -> Iterator[pd.DataFrame]:
        session = self._question.session()
        kept = self._state.get()
        if kept is not None:
            state, waiting, buckets, due = kept
            self._expect_same(buckets)
            session.load(bytes(state))
            new = [pa.ipc.open_stream(bytes(waiting)).read_all(), *new]
            if due > watermark:
                self._handle.deleteTimer(due)
        rows = pa.concat_tables([self._read.empty_table(), *new])
        is_settled = pc.less_equal(rows["time"], watermark)
        settled = rows.filter(is_settled).sort_by(self._order)
        waiting = rows.filter(pc.invert(is_settled))
        for table in (session.push(settled), session.advance(watermark + 1)):
            for batch in in_schema(table, self._schema):
                yield batch.to_pandas(integer_object_nulls=True)
        session.forget_reported_before(watermark + 1)
        session.rejects()
        self._keep(session, waiting, watermark)

    def _expect_same(self, buckets: int | None) -> None:
        if buckets != self._buckets:
            raise Error(
                f"The checkpoint was made with buckets={buckets}, not {self._buckets}; go on with "
                "that, or begin anew with another checkpoint.",
                Code.BAD_STATE,
            )

    def _keep(self, session: Session, waiting: pa.Table, watermark: int) -> None:
        if waiting.num_rows:
            due = pc.min(waiting["time"]).as_py()
        elif session.entities_remembered:
            due = watermark + DAY
        else:
            self._state.clear()
            return
        sink = pa.BufferOutputStream()
        with pa.ipc.new_stream(sink, self._read) as writer:
            writer.write_table(waiting)
        self._state.update((session.save(), sink.getvalue().to_pybytes(), self._buckets, due))
        self._handle.registerTimer(due)


def prepared(found: Input) -> Input:
    """Give the columns so that nothing of them is lost on the way through pandas.

    Times are whole milliseconds; a number that is none, which pandas takes for a missing one, stays
    one that cannot be used.
    """
    types = found.frame.schema
    frame, empty = found.frame, found.empty
    for field, name in found.chosen.items():
        column, kind = F.col("`" + name.replace("`", "``") + "`"), types[name].dataType
        if isinstance(kind, StructType):
            raise Error(
                f'The column "{name}" is a structure; in a stream points are two columns, or WKB.',
                Code.BAD_COLUMN,
            )
        if field == "time":
            frame = frame.withColumn(name, _milliseconds(column, kind))
            at = empty.schema.get_field_index(field)
            empty = empty.set_column(at, field, pa.array([], pa.int64()))
        elif isinstance(kind, FractionalType):
            is_number = column.isNull() | ~F.isnan(column)
            frame = frame.withColumn(name, F.when(is_number, column).otherwise(_NOWHERE))
    return Input(frame, found.chosen, empty)


def _milliseconds(column: Column, kind: DataType) -> Column:
    if isinstance(kind, TimestampType):
        return F.unix_millis(column)
    if isinstance(kind, TimestampNTZType):
        return F.timestamp_diff("MILLISECOND", F.expr("timestamp_ntz'1970-01-01'"), column)
    return column.cast(LongType())


def _order_of(read: pa.Schema) -> list[str]:
    return [field for field in ("time", "entity", *TIE_BREAK) if field in read.names]


def _key(buckets: int | None) -> Column:
    if buckets is None:
        return F.col("entity")
    return F.pmod(F.xxhash64("entity"), F.lit(buckets))


def _expect_buckets(buckets: object) -> None:
    if buckets is not None and (type(buckets) is not int or not 1 <= buckets < 1 << 31):
        raise Error(
            f"The number of buckets is a whole number from 1 on, or none, not {buckets!r}.",
            Code.BAD_CONFIGURATION,
        )
