"""The questions, and sessions that answer them bit by bit."""

from __future__ import annotations

import datetime
import os
from collections.abc import Callable, Mapping
from typing import TYPE_CHECKING, Any, TypeAlias, TypedDict, Unpack

from qorvel import _engine
from qorvel._errors import Code, Error
from qorvel._table import Table
from qorvel._tables import choose, is_sized, open_source

if TYPE_CHECKING:
    from types import TracebackType

Span: TypeAlias = str | datetime.timedelta
Progress: TypeAlias = bool | Callable[[int, int], object]
Settings: TypeAlias = dict[str, object]

# What each analysis looks for where nothing else is said. The program has the same.
DEFAULTS: dict[str, Settings] = {
    "boxes": {},
    "presence": {"ratio": 0.5},
    "hangouts": {},
    "stays": {},
    "encounters": {},
}
# What has no cells, and so nothing to configure.
CELLLESS = ("stays", "encounters")
# What a configuration says itself.
CONFIGURED = (
    "cell_length",
    "box",
    "window",
    "min_count",
    "ratio",
    "space_factor",
    "time_factor",
)


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
    config : path or str
        Masters, assignments and specs, in place of the cells and limits that the function takes:
        the path of a TOML file, or its text. Keys of the rows count only with it.
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

    config: str | os.PathLike[str] | None
    columns: Mapping[str, str] | None
    threads: int | None
    progress: Progress
    late: Span | None
    default_tolerance: float
    time_tolerance: int


class Session:
    """One question to a stream of observations: tables in, tables out.

    Results come out as soon as they are final, in the order of the rows that bring them. They do
    not depend on how the rows are split over pushes, nor on the number of threads. One thread at a
    time may use a session, but for `cancel`.

    Parameters
    ----------
    analysis : {"boxes", "presence", "hangouts", "stays", "encounters"}
        What is asked.
    config : path or str, optional
        Masters, assignments and specs: the path of a TOML file, or its text.
    columns : mapping of str to str, optional
        The columns that `guess` would not find.
    late : str or timedelta, optional
        How far a row may lie behind the newest one before it, such as ``"2 hours"``, or ``"ever"``.
        What is older is forgotten, which bounds the memory. A day by default.
    threads : int, optional
        1 to 256; all cores that there are by default.
    **settings
        As the function of that analysis has them.
    """

    def __init__(
        self,
        analysis: str,
        config: str | os.PathLike[str] | None = None,
        *,
        columns: Mapping[str, str] | None = None,
        late: Span | None = None,
        threads: int | None = None,
        **settings: Any,  # noqa: ANN401
    ) -> None:
        said = {name: value for name, value in settings.items() if value is not None}
        if config is not None:
            if analysis in CELLLESS:
                raise Error(f"There is no configuration for {analysis}.", Code.BAD_CONFIGURATION)
            for name in CONFIGURED:
                if name in said:
                    raise Error(
                        f'The setting "{name}" goes into the configuration.', Code.BAD_CONFIGURATION
                    )
            said.update(_configuration(config))
        else:
            said = DEFAULTS.get(analysis, {}) | said
        said["threads"] = os.cpu_count() if threads is None else threads
        if late is not None:
            said["late"] = late
        self._columns = dict(columns or {})
        self._reads_keys = config is not None
        self._engine = _engine.Session(
            analysis, {name: _plain(value) for name, value in said.items()}
        )

    def push(self, table: object) -> Table:
        """Take all rows of a table in.

        Returns
        -------
        Table
            What is final and was not given before.
        """
        self._push(table, whole=False, tell=None)
        return Table(self._engine.take_results())

    def finish(self) -> Table:
        """Give the rest, after the last row."""
        self._engine.finish(None)
        return Table(self._engine.take_results())

    def rejects(self) -> Table:
        """Tell which rows could not be used and were not told before."""
        return Table(self._engine.take_rejects())

    @property
    def remarks(self) -> tuple[str, ...]:
        """What there is to say after `finish`, a sentence each."""
        return tuple(self._engine.remarks())

    @property
    def figures(self) -> dict[str, int]:
        """How far it is: rows pushed, processed, rejected, late and out of order, and results."""
        return self._engine.figures()

    def cancel(self) -> None:
        """End the work soon, from whichever thread. Later calls raise an `Error`."""
        self._engine.cancel()

    def _push(
        self, table: object, *, whole: bool, tell: Callable[[int, int], object] | None
    ) -> None:
        source = open_source(table, self._columns)
        source.choose(choose(source, self._columns, keys=self._reads_keys))
        self._engine.push(source, whole, tell)

    def _answer(self, table: object, progress: Progress) -> Table:
        with _Told(progress) as tell:
            self._push(table, whole=is_sized(table), tell=tell)
            self._engine.finish(tell)
            if tell is not None:
                tell(self.figures["processed"], self.figures["pushed"])
        return Table(self._engine.take_results(), self._engine.take_rejects(), self.remarks)


class _Told:
    """Tells how far the work is: by a bar of tqdm's, or to the caller."""

    def __init__(self, progress: Progress) -> None:
        self._bar: Any = None
        self._tell: Callable[[int, int], object] | None = None
        if progress is True:
            from tqdm.auto import tqdm

            self._bar = tqdm(unit=" rows", unit_scale=True)
            self._tell = self._show
        elif callable(progress):
            self._tell = progress

    def _show(self, done: int, known: int) -> None:
        self._bar.total = known
        self._bar.update(done - self._bar.n)

    def __enter__(self) -> Callable[[int, int], object] | None:
        return self._tell

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        if self._bar is not None:
            self._bar.close()


def _configuration(config: str | os.PathLike[str]) -> Settings:
    if isinstance(config, str) and ("\n" in config or "=" in config):
        return {"config_text": config}
    return {"config_file": os.fspath(config)}


def _plain(value: object) -> object:
    """Write a length of time as the engine reads it."""
    if not isinstance(value, datetime.timedelta):
        return value
    whole, rest = divmod(value, datetime.timedelta(milliseconds=1))
    if rest or whole <= 0:
        raise Error(
            f"A length of time is a whole number of milliseconds above 0, not {value}.",
            Code.BAD_CONFIGURATION,
        )
    return f"{whole // 1000} seconds" if whole % 1000 == 0 else f"{whole} milliseconds"


def boxes(
    table: object,
    *,
    cell_length: int | None = None,
    box: Span | None = None,
    space_factor: float | None = None,
    time_factor: float | None = None,
    **run: Unpack[Run],
) -> Table:
    """Give the cells and time boxes of every fix.

    Parameters
    ----------
    table : table
        See `Run`, as for all that all analyses have.
    cell_length : int, optional
        Characters of a cell's geohash, 0 to 25; 6 by default: 1200 m by 600 m at the equator.
    box : str or timedelta, optional
        The length of a time box, ``"1 hours"`` by default.
    space_factor, time_factor : float, optional
        The share of a fix's accuracy, and of the time tolerance, within which it touches cells and
        boxes: 0 to 1, 1 by default.
    **run
        See `Run`.

    Returns
    -------
    Table
        A row for each cell and time box that a fix lies in.
    """
    return _answer(
        "boxes",
        table,
        run,
        cell_length=cell_length,
        box=box,
        space_factor=space_factor,
        time_factor=time_factor,
    )


def presence(
    table: object,
    *,
    window: Span | None = None,
    min_count: int | None = None,
    ratio: float | None = None,
    final: bool = False,
    cell_length: int | None = None,
    box: Span | None = None,
    space_factor: float | None = None,
    time_factor: float | None = None,
    **run: Unpack[Run],
) -> Table:
    """Tell who was seen often enough in which cell and time box.

    Parameters
    ----------
    table : table
        See `Run`.
    window : str or timedelta, optional
        What is looked back upon, shorter than a time box; ``"15 minutes"`` by default.
    min_count : int, optional
        Fixes that there have to be; 5 by default.
    ratio : float, optional
        The share of the fixes that a box must have, 0 to 1; 0.5 by default.
    final : bool, optional
        The last figures of each entity, cell and box, not those of its first report.
    cell_length, box, space_factor, time_factor
        As `boxes` has them.
    **run
        See `Run`.

    Returns
    -------
    Table
        A row for each record.
    """
    return _answer(
        "presence",
        table,
        run,
        window=window,
        min_count=min_count,
        ratio=ratio,
        final=final,
        cell_length=cell_length,
        box=box,
        space_factor=space_factor,
        time_factor=time_factor,
    )


def hangouts(
    table: object,
    *,
    window: Span | None = None,
    min_count: int | None = None,
    ratio: float | None = None,
    final: bool = False,
    cell_length: int | None = None,
    box: Span | None = None,
    space_factor: float | None = None,
    time_factor: float | None = None,
    **run: Unpack[Run],
) -> Table:
    """Tell who stayed without a break in which cell and time box.

    Parameters
    ----------
    table : table
        See `Run`.
    window : str or timedelta, optional
        How long it has to be, shorter than a time box; ``"15 minutes"`` by default.
    min_count : int, optional
        Fixes that there have to be; 5 by default.
    ratio : float, optional
        The share of `min_count` that a box must have in fixes, 0 to 1; 1 by default.
    final : bool, optional
        The last figures of each entity, cell and box, not those of its first report.
    cell_length, box, space_factor, time_factor
        As `boxes` has them.
    **run
        See `Run`.

    Returns
    -------
    Table
        A row for each hangout.
    """
    return _answer(
        "hangouts",
        table,
        run,
        window=window,
        min_count=min_count,
        ratio=ratio,
        final=final,
        cell_length=cell_length,
        box=box,
        space_factor=space_factor,
        time_factor=time_factor,
    )


def stays(
    table: object,
    *,
    radius: float | None = None,
    min_stay: Span | None = None,
    max_gap: Span | None = None,
    max_bridge: Span | None = None,
    max_away: Span | None = None,
    max_accuracy: float | None = None,
    **run: Unpack[Run],
) -> Table:
    """Tell who stayed where, from when to when.

    A stay is within a radius of one place for long enough; cells have no part in it, and there is
    no configuration for it.

    Parameters
    ----------
    table : table
        See `Run`.
    radius : float, optional
        How far from the middle of a stay its fixes may lie, metres; 200 by default.
    min_stay : str or timedelta, optional
        The least time that makes a stay; ``"15 minutes"`` by default.
    max_gap : str or timedelta, optional
        A longer silence ends a stay, unless the next fix is at the same place; ``"1 hours"`` by
        default.
    max_bridge : str or timedelta, optional
        A longer silence ends it in any case; ``"24 hours"`` by default.
    max_away : str or timedelta, optional
        Fixes elsewhere end a stay when they go on for so long; ``"5 minutes"`` by default.
    max_accuracy : float, optional
        A less accurate fix neither begins, ends nor moves a stay, metres; 200 by default.
    **run
        See `Run`.

    Returns
    -------
    Table
        A row for each stay; those of one entity do not overlap in time.
    """
    return _answer(
        "stays",
        table,
        run,
        radius=radius,
        min_stay=min_stay,
        max_gap=max_gap,
        max_bridge=max_bridge,
        max_away=max_away,
        max_accuracy=max_accuracy,
    )


def meet(
    table: object,
    *,
    within: float | None = None,
    apart: Span | None = None,
    min_minutes: float | None = None,
    pairs: bool = False,
    **run: Unpack[Run],
) -> Table:
    """Tell who was with whom, from when to when.

    Two are together at a fix of either when the other is then near. Where it is then: on the way
    between its two fixes around that time if they are at most `apart` from each other, else at its
    nearest fix within `apart`. Such moments at most `apart` from each other are one encounter.

    Parameters
    ----------
    table : table
        See `Run`.
    within : float, optional
        How near two are who are together, metres; 50 by default.
    apart : str or timedelta, optional
        How far apart in time two fixes may be for what is between them to be known;
        ``"5 minutes"`` by default.
    min_minutes : float, optional
        Shorter encounters are left out; 0 by default.
    pairs : bool
        The sums of each pair, longest together first, in place of their encounters.
    **run
        See `Run`.

    Returns
    -------
    Table
        A row for each encounter, or pair.
    """
    return _answer(
        "encounters",
        table,
        run,
        within=within,
        apart=apart,
        min_minutes=min_minutes,
        pairs=pairs,
    )


def _answer(analysis: str, table: object, run: Run, **settings: object) -> Table:
    options: dict[str, Any] = {**settings, **run}
    progress = options.pop("progress", False)
    return Session(analysis, options.pop("config", None), **options)._answer(table, progress)
