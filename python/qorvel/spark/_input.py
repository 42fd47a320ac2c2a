"""What of a DataFrame is read, looked at before a task starts."""

from __future__ import annotations

import dataclasses
from collections.abc import Mapping, Sequence

import pyarrow as pa
from pyspark.sql import Column, DataFrame
from pyspark.sql import functions as F
from pyspark.sql.pandas.types import to_arrow_schema
from pyspark.sql.types import StringType, StructField, StructType, TimestampType

from qorvel._errors import Code, Error
from qorvel._tables import FIELDS, choose, open_source

# Of rows of the same time, which comes first. Rows alike in all of it are the same to the engine.
TIE_BREAK = ("lat", "lon", "point", "accuracy", "hdop", "primary_key", "secondary_key")


@dataclasses.dataclass(frozen=True)
class Input:
    """The columns of a DataFrame that count, under the names of their fields."""

    frame: DataFrame
    chosen: Mapping[str, str]
    """The column of each field that has one."""
    empty: pa.Table
    """Of the types that tasks will see, without rows."""

    @property
    def columns(self) -> dict[str, str]:
        """What to tell a session that reads them."""
        return {field: field if field in self.chosen else "" for field in FIELDS}

    @property
    def chosen_or_none(self) -> dict[str, str]:
        """The same for rows under their own names."""
        return {field: self.chosen.get(field, "") for field in FIELDS}

    def select(self, *more: Column) -> DataFrame:
        """Give the rows that have an entity. The others are rejects, and would crowd one task."""
        fields = [
            _column(name).cast(StringType()).alias(field)
            if field == "entity" and isinstance(self.frame.schema[name].dataType, StringType)
            else _column(name).alias(field)
            for field, name in self.chosen.items()
        ]
        return self.frame.where(_column(self.chosen["entity"]).isNotNull()).select(*fields, *more)

    def order(self) -> list[Column]:
        """Give the order of the rows of an entity where none is said."""
        return [F.col(field) for field in ("time", *TIE_BREAK) if field in self.chosen]


def look_at(frame: DataFrame, columns: Mapping[str, str] | None, *, keys: bool) -> Input:
    """Find the columns of the fields as everywhere, by what is said or by their usual names."""
    if not isinstance(frame, DataFrame):
        raise Error(f"Want a DataFrame of Spark, not a {type(frame).__name__}.", Code.MISUSE)
    types = [_arrow_type(field) for field in frame.schema.fields]
    empty = pa.Table.from_arrays(
        [pa.array([], type=kind or pa.null()) for kind in types], names=frame.columns
    )
    chosen = choose(open_source(empty), columns, keys=keys)
    for field, name in chosen.items():
        if frame.columns.count(name) > 1:
            raise Error(
                f'The DataFrame has several columns "{name}"; rename all but the one that is the '
                f"{field}.",
                Code.MISSING_COLUMN,
            )
        if types[frame.columns.index(name)] is None:
            kind = frame.schema[name].dataType.simpleString()
            raise Error(
                f'The column "{name}" for the {field} is of the type {kind}, which is not read.',
                Code.BAD_COLUMN,
            )
    read = empty.select(list(chosen.values())).rename_columns(list(chosen))
    return Input(frame, chosen, read)


def expect_count(partitions: int | None) -> None:
    """Refuse a number of partitions that cannot be."""
    if partitions is not None and (type(partitions) is not int or partitions < 1):
        raise Error(
            f"The number of partitions has to be a whole number from 1 on, not {partitions!r}.",
            Code.BAD_CONFIGURATION,
        )


def spread(frame: DataFrame, partitions: int | None, *names: str) -> DataFrame:
    """Bring rows alike in columns together."""
    if partitions is None:
        return frame.repartition(*names)
    return frame.repartition(partitions, *names)


def order_columns(order_by: str | Column | Sequence[str | Column]) -> list[Column]:
    """Give the columns that say in which order the rows of an entity are taken."""
    named = [order_by] if isinstance(order_by, str | Column) else list(order_by)
    return [_column(one) if isinstance(one, str) else one for one in named]


def _column(name: str) -> Column:
    return F.col("`" + name.replace("`", "``") + "`")


def _arrow_type(field: StructField) -> pa.DataType | None:
    """Of what Arrow cannot carry, none."""
    if isinstance(field.dataType, TimestampType):
        return pa.timestamp("us", "UTC")
    try:
        return to_arrow_schema(StructType([field])).field(0).type
    except Exception:  # of several classes, by the version of pyspark
        return None
