"""Why a row found nothing, and whether a configuration is meant as it is written."""

from __future__ import annotations

import datetime
import os
from collections.abc import Mapping
from dataclasses import dataclass
from typing import Any, NamedTuple, TypedDict, Unpack

from qorvel import _engine
from qorvel._analyses import configuration, settings_of
from qorvel._options import Records
from qorvel._tables import choose, open_source


class Box(NamedTuple):
    """A cell and a time box that a row touches; times are milliseconds since 1970 UTC."""

    geohash: str
    bits: int
    start: int
    end: int | None


class Judgement(NamedTuple):
    """What an assignment says of a row: it takes the row if no test has failed.

    The tests are ``"primary_key"``, ``"secondary_key"``, ``"space_tolerance"``,
    ``"time_tolerance"``, ``"distance"`` and ``"area"``; `distance_m` is that from the assignment's
    place.
    """

    failed: tuple[str, ...]
    distance_m: float
    boxes: tuple[Box, ...]


class SeriesBox(NamedTuple):
    """A time box near a series: `fixes` of `all` lie in it; `row` has found it, if one has."""

    start: int
    end: int | None
    fixes: int
    all: int
    row: int | None


class Series(NamedTuple):
    """What an entity's fixes in a cell have come to by the row, times in milliseconds."""

    geohash: str
    fixes: int
    since: int
    covered: int
    boxes: tuple[SeriesBox, ...]


class Way(NamedTuple):
    """What a spec makes of a row; none reaches it unless an assignment leads there."""

    is_reached: bool
    series: tuple[Series, ...]


@dataclass(frozen=True)
class Explanation:
    """What becomes of a row.

    Attributes
    ----------
    row : int
        Its number, from 0.
    verdict : str
        ``"found"``: it gives results. Else why not: ``"rejected"``, see `reason`;
        ``"not taken"`` by any assignment; ``"no cell"`` holds it; ``"not asked for"`` by any spec;
        ``"found before"`` is what it belongs to; or that is ``"not enough"`` yet.
    results : int
        How many results it gives.
    assignments, specs : tuple
        What each of the configuration's says, in its order: `Judgement` and `Way`.
    reason : str or None
        Why the row cannot be used.
    """

    row: int
    verdict: str
    results: int = 0
    assignments: tuple[Judgement, ...] = ()
    specs: tuple[Way, ...] = ()
    reason: str | None = None


class ConfigFault(NamedTuple):
    """Something wrong with a configuration or, where it is no error, surely not meant."""

    is_error: bool
    line: int | None
    sentence: str
    tags: tuple[str, ...]


@dataclass(frozen=True)
class Check:
    """What there is to say about a configuration.

    Attributes
    ----------
    faults : tuple of ConfigFault
        In the order of their lines.
    rows, rejected, untaken : int
        Rows of the table; those that cannot be used; others that have no boxes, since no
        assignment takes them or no cell holds them.
    usual_gap : timedelta or None
        The median time between an entity's fixes, within 2 %.
    """

    faults: tuple[ConfigFault, ...]
    rows: int = 0
    rejected: int = 0
    untaken: int = 0
    usual_gap: datetime.timedelta | None = None

    @property
    def is_valid(self) -> bool:
        """Tell whether it has no error."""
        return not any(fault.is_error for fault in self.faults)


class Rows(TypedDict, total=False):
    """How `check` reads a table: see `Run`."""

    columns: Mapping[str, str] | None
    default_tolerance: float
    time_tolerance: int


def explain(
    table: object, row: int, analysis: str = "hangouts", **options: Unpack[Records]
) -> Explanation:
    """Tell what becomes of a row and why: of all rows of its entity up to it.

    Parameters
    ----------
    table : table
        See `Run`. Its batches up to the row are kept meanwhile.
    row : int
        Its number, from 0; `Table.rejects` and the results' order count the same way.
    analysis : {"hangouts", "presence", "boxes"}
        What is to be explained.
    **options
        As that analysis has them.

    Returns
    -------
    Explanation
        The tests of each assignment, and how far the series that the row continues have come.
    """
    said: dict[str, Any] = {**options}
    columns = said.pop("columns", None)
    config = said.pop("config", None)
    for needless in ("threads", "progress", "late", "final"):
        said.pop(needless, None)
    source = open_source(table, columns)
    source.choose(choose(source, columns, keys=config is not None))
    told = _engine.explain(analysis, settings_of(analysis, config, said), source, row)
    return Explanation(
        row,
        told["verdict"],
        told.get("results", 0),
        tuple(_judgement(*one) for one in told.get("assignments", ())),
        tuple(_way(*one) for one in told.get("specs", ())),
        told.get("reason"),
    )


def check(config: str | os.PathLike[str], table: object = None, **options: Unpack[Rows]) -> Check:
    """Tell what is wrong with a configuration, or surely not meant.

    Parameters
    ----------
    config : path or str
        A TOML file, or its text.
    table : table, optional
        Data that it is meant for, see `Run`: read once, if the configuration has no errors.
    **options
        How that is read.

    Returns
    -------
    Check
        What there is to say.

    Raises
    ------
    Error
        Where it is no TOML at all, or has keys that are not known.
    """
    said: dict[str, Any] = {name: value for name, value in options.items() if value is not None}
    columns = said.pop("columns", None)
    source = None
    if table is not None:
        source = open_source(table, columns)
        source.choose(choose(source, columns, keys=True))
    told = _engine.check(said | configuration(config), source)
    faults = tuple(
        ConfigFault(is_error, line or None, sentence, tuple(tag for tag in tags.split(",") if tag))
        for is_error, line, sentence, tags in told.pop("faults")
    )
    gap = told.pop("usual_gap_ms", None)
    return Check(
        faults,
        **told,
        usual_gap=None if gap is None else datetime.timedelta(milliseconds=gap),
    )


def _judgement(failed: tuple[str, ...], distance: float, boxes: Any) -> Judgement:  # noqa: ANN401
    return Judgement(failed, distance, tuple(Box(*box) for box in boxes))


def _way(is_reached: bool, series: Any) -> Way:  # noqa: ANN401
    return Way(
        is_reached,
        tuple(
            Series(cell, fixes, since, covered, tuple(SeriesBox(*box) for box in boxes))
            for cell, fixes, since, covered, boxes in series
        ),
    )
