"""What the analyses are told by name: each list once."""

from __future__ import annotations

import datetime
import os
from collections.abc import Callable, Mapping
from typing import TypeAlias, TypedDict

Span: TypeAlias = str | datetime.timedelta
Progress: TypeAlias = bool | Callable[[int, int], object]


class Run(TypedDict, total=False):
    """What all analyses have.

    A table is whatever has the Arrow PyCapsule interface (pyarrow, polars, DuckDB), a pandas or
    geopandas frame, or a mapping of names to numpy arrays. Its columns are found by their usual
    names, see `guess`. Entities are texts or integers, times timestamps (without a zone: UTC) or
    int64 milliseconds since 1970 UTC, places degrees of WGS 84.

    The rows of a table that has a length may be in any order. A stream that has none is read batch
    by batch, however large it is, and its rows may lie a day behind the newest one before them: see
    `late`.

    Attributes
    ----------
    columns : mapping of str to str
        The columns that `guess` would not find, by its fields.
    threads : int
        1 to 256; all cores that there are by default. No result depends on it.
    progress : bool or callable
        True shows a bar, by tqdm. Else called now and then with the rows processed and the rows
        known of.
    late : str or timedelta
        How far a row may lie behind the newest one before it, such as ``"2 hours"``, or ``"ever"``.
        What is older is forgotten, which bounds the memory; later rows are processed and counted in
        the remarks.
    default_tolerance : float
        The accuracy of a fix without one, metres; 30 by default.
    time_tolerance : int
        Of every fix, 0 or 1 millisecond; 0 by default.
    """

    columns: Mapping[str, str] | None
    threads: int | None
    progress: Progress
    late: Span | None
    default_tolerance: float
    time_tolerance: int


class Cells(Run, total=False):
    """What analyses with cells have.

    Attributes
    ----------
    config : path or str
        Masters, assignments and specs, in place of all the settings below but `final`: the path of
        a TOML file, or its text. Keys of the rows count only with it.
    cell_length : int
        Characters of a cell's geohash, 0 to 25; 6 by default: 1200 m by 600 m at the equator.
    box : str or timedelta
        The length of a time box, ``"1 hours"`` by default.
    space_factor, time_factor : float
        The share of a fix's accuracy, and of the time tolerance, within which it touches cells and
        boxes: 0 to 1, 1 by default.
    """

    config: str | os.PathLike[str] | None
    cell_length: int | None
    box: Span | None
    space_factor: float | None
    time_factor: float | None


class Records(Cells, total=False):
    """What `presence` and `hangouts` have.

    Attributes
    ----------
    window : str or timedelta
        What `presence` looks back upon, how long a hangout has to be: shorter than a time box;
        ``"15 minutes"`` by default.
    min_count : int
        Fixes that there have to be; 5 by default.
    ratio : float
        The share that a box must have, 0 to 1: for `presence` of the fixes, 0.5 by default; for
        `hangouts` of `min_count`, 1 by default.
    final : bool
        The last figures of each entity, cell and box, not those of its first report. They come
        once no row to come can change them.
    """

    window: Span | None
    min_count: int | None
    ratio: float | None
    final: bool


class Stays(Run, total=False):
    """What `stays` has.

    Attributes
    ----------
    radius : float
        How far from the middle of a stay its fixes may lie, metres; 200 by default.
    min_stay : str or timedelta
        The least time that makes a stay; its fixes have to show a third of it; ``"15 minutes"``
        by default.
    max_gap : str or timedelta
        A longer silence ends a stay, unless the next fix is at the same place. Half of the silence
        before a stay and after it, and of this at most, is part of it; ``"1 hours"`` by default.
    max_bridge : str or timedelta
        A longer silence ends it in any case; ``"24 hours"`` by default.
    max_away : str or timedelta
        Fixes elsewhere end a stay when they go on for so long; ``"5 minutes"`` by default.
    max_accuracy : float
        A less accurate fix neither begins, ends nor moves a stay, metres; 200 by default.
    label : bool
        In place of the stays, the rows of the table that belong to each: ``row``, its number from
        0, ``entity``, and ``from`` and ``to``, which with the entity tell the stay. Rows of no
        stay, and fixes that a stay leaves out, are not there; nor are those between ``from`` and
        ``to`` that are on the way.
    """

    radius: float | None
    min_stay: Span | None
    max_gap: Span | None
    max_bridge: Span | None
    max_away: Span | None
    max_accuracy: float | None
    label: bool


class Places(Stays, total=False):
    """What `places` has besides, `radius` being that of places, too.

    Attributes
    ----------
    time_zone : str
        Whose clocks tell nights, from 22 to 6, and days of the week: ``"Europe/Berlin"``, or an
        offset such as ``"+02:00"``; UTC by default.
    label : bool
        Names the likely home, where most hours by night are, and work, where of the other places
        most hours from 9 to 17 on Mondays to Fridays are, if a visit is an hour long on average.
    """

    time_zone: str | None
    label: bool


class Encounters(Run, total=False):
    """What `meet` has.

    Attributes
    ----------
    within : float
        How near two are who are together, metres; 50 by default.
    apart : str or timedelta
        How far apart in time two fixes may be for what is between them to be known;
        ``"5 minutes"`` by default.
    fixes_only : bool
        Asks only whether two have fixes within `within` and `apart` of each other, not where they
        were in between. A fix of either is a moment when the other has such a fix, the nearest of
        which tells the distance.
    min_minutes : float
        Shorter encounters are left out; 0 by default.
    pairs : bool
        The sums of each pair, longest together first, in place of their encounters.
    first_ms, last_ms : int
        The first and the last millisecond since 1970 UTC whose fixes count; those around, up to
        `apart` away, only tell where their entity was. So a part of the time can be looked at by
        itself.
    """

    within: float | None
    apart: Span | None
    fixes_only: bool
    min_minutes: float | None
    pairs: bool
    first_ms: int
    last_ms: int


# Of each question its options and what they are where nothing else is said, as for the program.
QUESTIONS: dict[str, tuple[type, dict[str, object]]] = {
    "boxes": (Cells, {}),
    "presence": (Records, {"ratio": 0.5}),
    "hangouts": (Records, {}),
    "stays": (Stays, {}),
    "encounters": (Encounters, {}),
    "places": (Places, {}),
}


def names_of(options: type) -> frozenset[str]:
    """Give the names of all options that a question has."""
    names: frozenset[str] = options.__optional_keys__  # type: ignore[attr-defined]
    return names
