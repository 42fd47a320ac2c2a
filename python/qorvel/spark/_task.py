"""What a task does with its rows."""

from __future__ import annotations

import dataclasses
from collections.abc import Iterator, Mapping
from typing import Any

import pyarrow as pa
import pyarrow.compute as pc

import qorvel
from qorvel._analyses import Session
from qorvel._errors import Code, Error
from qorvel._table import Table

Batches = Iterator[pa.RecordBatch]

# A session costs as much as some hundred rows, so entities with few rows share one.
LEAST_ROWS = 50_000


@dataclasses.dataclass(frozen=True)
class Question:
    """What is asked, as it goes to the tasks: nothing in it is of the machine that made it."""

    analysis: str
    config: str | None
    """The text."""
    settings: Mapping[str, Any]
    columns: Mapping[str, str]
    version: str = qorvel.__version__

    def where(self, **more: object) -> Question:
        """Ask with more settings."""
        return dataclasses.replace(self, settings=dict(self.settings) | more)

    def session(self) -> Session:
        """Begin anew."""
        if self.version != qorvel.__version__:
            raise Error(
                f"The job was made with qorvel {self.version}, and this machine of the cluster has "
                f"{qorvel.__version__}; install the same everywhere.",
                Code.MISUSE,
            )
        return Session(
            self.analysis,
            self.config,
            columns=self.columns,
            threads=1,
            **self.settings,
        )


@dataclasses.dataclass(frozen=True)
class Answers:
    """Answers to rows of which those of an entity come one after the other.

    A session takes some entities and is given up before the next, so that memory hangs on the
    largest entity and not on how many there are.
    """

    question: Question
    schema: pa.Schema
    """Of the results, as Spark has them."""

    def __call__(self, batches: Batches) -> Batches:
        """Take the rows of a partition."""
        session = None
        rows, last = 0, None
        for batch in batches:
            while batch.num_rows:
                if session is None:
                    session, rows = self.question.session(), 0
                taken = batch.num_rows if rows < LEAST_ROWS else _count_of(last, batch)
                yield from in_schema(session.push(batch.slice(0, taken)), self.schema)
                rows += taken
                last = batch["entity"][taken - 1] if taken else last
                batch = batch.slice(taken)
                if batch.num_rows:
                    yield from in_schema(session.finish(), self.schema)
                    session = None
        if session is not None:
            yield from in_schema(session.finish(), self.schema)


@dataclasses.dataclass(frozen=True)
class Rejects:
    """The rows that cannot be used, and why."""

    question: Question

    def __call__(self, batches: Batches) -> Batches:
        """Take the rows of a partition, in whatever order."""
        for batch in batches:
            found = rejects_of(batch, self.question)
            rows = batch.take(found["row"])
            reasons = [found["code"].cast(pa.int32()), found["reason"]]
            yield pa.RecordBatch.from_arrays(
                [*rows.columns, *reasons], names=[*rows.schema.names, "code", "reason"]
            )


def rejects_of(batch: pa.RecordBatch, question: Question) -> pa.RecordBatch:
    """Tell which rows of a batch cannot be used: their numbers in it, and why."""
    session = question.session()
    session.push(batch)
    found = session.rejects().to_pyarrow()
    return pa.RecordBatch.from_arrays(
        [column.combine_chunks() for column in found.columns], names=found.column_names
    )


def in_schema(table: Table, schema: pa.Schema) -> Batches:
    """Give results in the types that Spark has."""
    if len(table):
        yield from table.to_pyarrow().cast(schema).to_batches()


def _count_of(entity: pa.Scalar, batch: pa.RecordBatch) -> int:
    """Count the rows of an entity that the batch begins with."""
    other: int = pc.index(pc.not_equal(batch["entity"], entity), True).as_py()
    return batch.num_rows if other < 0 else other
