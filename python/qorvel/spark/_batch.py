"""Questions that are asked of each entity by itself."""

from __future__ import annotations

import os
from collections.abc import Mapping, Sequence
from typing import Any, NamedTuple, TypeAlias

from pyspark.sql import Column, DataFrame
from pyspark.sql import functions as F
from pyspark.sql.pandas.types import from_arrow_schema
from pyspark.sql.types import IntegerType, StringType, StructType

from qorvel._errors import Code, Error
from qorvel.spark._input import expect_count, look_at, order_columns, spread
from qorvel.spark._plan import make_question, results_of
from qorvel.spark._task import Answers, Question, Rejects

Order: TypeAlias = str | Column | Sequence[str | Column]

REASONS = ("reject_code", "reject_reason")


def stays(
    frame: DataFrame,
    *,
    config: str | os.PathLike[str] | None = None,
    columns: Mapping[str, str] | None = None,
    partitions: int | None = None,
    order_by: Order | None = None,
    **settings: Any,  # noqa: ANN401
) -> DataFrame:
    """Tell who stayed where, from when to when.

    All rows of an entity come into one task, which takes them in a total order: by their time and
    then by whatever else of them counts (place, accuracy, keys), or as `order_by` says. What comes
    out is what the program finds in a file with the rows in that order, and does not depend on
    partitions, on how the rows are spread, or on tasks that are run again. Rows that cannot be
    used are left out; see `rejects`.

    Parameters
    ----------
    frame : DataFrame
        The observations. Entities are texts or integers, times timestamps or integers of
        milliseconds since 1970 UTC, places degrees of WGS 84.
    config : path or str, optional
        Masters, assignments and specs: the path of a TOML file, read here and now, or its text.
        There is none for stays and places.
    columns : mapping of str to str, optional
        The columns that `qorvel.guess` would not find, by its fields.
    partitions : int, optional
        Into how many the entities are spread; as ``spark.sql.shuffle.partitions`` says by default.
    order_by : str, Column or list of these, optional
        The order of the rows of an entity. If rows tie in it, the answer may hang on the shuffle.
    **settings
        As `qorvel.stays` has them, but for those of a run on one machine.

    Returns
    -------
    DataFrame
        A row for each stay, in no order.

    Raises
    ------
    Error
        Before a task starts: a column that is missing or of another type, a setting or a
        configuration that is refused.
    """
    return _ask(_Call("stays", frame, config, columns, partitions, order_by, settings))


def places(
    frame: DataFrame,
    *,
    config: str | os.PathLike[str] | None = None,
    columns: Mapping[str, str] | None = None,
    partitions: int | None = None,
    order_by: Order | None = None,
    **settings: Any,  # noqa: ANN401
) -> DataFrame:
    """Tell where who stayed again and again.

    Parameters as `stays` has them, settings as `qorvel.places` has them.
    """
    return _ask(_Call("places", frame, config, columns, partitions, order_by, settings))


def presence(
    frame: DataFrame,
    *,
    config: str | os.PathLike[str] | None = None,
    columns: Mapping[str, str] | None = None,
    partitions: int | None = None,
    order_by: Order | None = None,
    **settings: Any,  # noqa: ANN401
) -> DataFrame:
    """Tell who was seen often enough in which cell and time box.

    Parameters as `stays` has them, settings as `qorvel.presence` has them.
    """
    return _ask(_Call("presence", frame, config, columns, partitions, order_by, settings))


def hangouts(
    frame: DataFrame,
    *,
    config: str | os.PathLike[str] | None = None,
    columns: Mapping[str, str] | None = None,
    partitions: int | None = None,
    order_by: Order | None = None,
    **settings: Any,  # noqa: ANN401
) -> DataFrame:
    """Tell who stayed without a break in which cell and time box.

    Parameters as `stays` has them, settings as `qorvel.hangouts` has them.
    """
    return _ask(_Call("hangouts", frame, config, columns, partitions, order_by, settings))


def boxes(
    frame: DataFrame,
    *,
    config: str | os.PathLike[str] | None = None,
    columns: Mapping[str, str] | None = None,
    **settings: Any,  # noqa: ANN401
) -> DataFrame:
    """Give the cells and time boxes of every fix, without a shuffle.

    Parameters as `stays` has them, settings as `qorvel.boxes` has them.
    """
    found = look_at(frame, columns, keys=config is not None)
    question = make_question("boxes", found, config, settings)
    schema = results_of(question, found)
    return found.select().mapInArrow(Answers(question, schema), from_arrow_schema(schema))


def rejects(
    frame: DataFrame,
    *,
    config: str | os.PathLike[str] | None = None,
    columns: Mapping[str, str] | None = None,
) -> DataFrame:
    """Tell which rows cannot be used.

    Parameters
    ----------
    frame : DataFrame
        As `stays` takes it.
    config : path or str, optional
        With any, keys are looked at, too.
    columns : mapping of str to str, optional
        As `stays` takes it.

    Returns
    -------
    DataFrame
        These rows, all columns of them, with ``reject_code``, the number of the reason, and
        ``reject_reason``, a sentence.
    """
    found = look_at(frame, columns, keys=config is not None)
    for name in REASONS:
        if name in frame.columns:
            raise Error(f'The DataFrame has a column "{name}" already; rename it.', Code.BAD_COLUMN)
    question = Question("stays", None, {}, found.chosen_or_none)
    question.session().push(found.empty.rename_columns(list(found.chosen.values())))
    schema = StructType([*frame.schema.fields])
    schema = schema.add(REASONS[0], IntegerType()).add(REASONS[1], StringType())
    return frame.mapInArrow(Rejects(question), schema)


class _Call(NamedTuple):
    """What a question about each entity by itself is asked with."""

    analysis: str
    frame: DataFrame
    config: str | os.PathLike[str] | None
    columns: Mapping[str, str] | None
    partitions: int | None
    order_by: Order | None
    settings: Mapping[str, Any]


def _ask(call: _Call) -> DataFrame:
    expect_count(call.partitions)
    if isinstance(call.frame, DataFrame) and call.frame.isStreaming:
        return _ask_stream(call)
    found = look_at(call.frame, call.columns, keys=call.config is not None)
    # Rows in the order of time are held no longer than needed to see that it goes on.
    in_time = call.analysis in ("stays", "places") and call.order_by is None
    question = make_question(call.analysis, found, call.config, call.settings)
    question = question.where(late="1 milliseconds" if in_time else "ever")
    schema = results_of(question, found)
    order = found.order()
    rows = found.select()
    if call.order_by is not None:
        named = enumerate(order_columns(call.order_by))
        said = [column.alias(f"order {i}") for i, column in named]
        order = [F.col(f"`order {i}`") for i in range(len(said))]
        rows = found.select(*said)
    return (
        spread(rows, call.partitions, "entity")
        .sortWithinPartitions("entity", *order)
        .select(*found.chosen)
        .mapInArrow(Answers(question, schema), from_arrow_schema(schema))
    )


def _ask_stream(call: _Call) -> DataFrame:
    if call.analysis == "places":
        raise Error(
            "Places hang on all stays, to the last: a stream has none. Write its stays, and ask a "
            "batch for the places of a time.",
            Code.MISUSE,
        )
    if call.settings.get("final"):
        raise Error(
            "The last figures of a record are known at the end, which a stream does not have: "
            "leave out final, and ask a batch for them.",
            Code.BAD_CONFIGURATION,
        )
    if call.partitions is not None or call.order_by is not None:
        raise Error(
            "In a stream rows are taken by their time, and spark.sql.shuffle.partitions says into "
            "how many partitions: leave out partitions and order_by.",
            Code.BAD_CONFIGURATION,
        )
    from qorvel.spark import _stream  # which needs protobuf, and batches do not

    return _stream.ask(call.analysis, call.frame, call.config, call.columns, call.settings)
