"""The questions, and sessions that answer them bit by bit."""

from __future__ import annotations

import datetime
import os
from collections.abc import Callable, Iterable, Mapping
from typing import TYPE_CHECKING, Any, TypeAlias, Unpack

from qorvel import _engine
from qorvel._errors import Code, Error
from qorvel._options import (
    QUESTIONS,
    Cells,
    Encounters,
    Places,
    Progress,
    Records,
    Run,
    Span,
    Stays,
    names_of,
)
from qorvel._table import Table
from qorvel._tables import choose, is_sized, open_source

if TYPE_CHECKING:
    from types import TracebackType

Settings: TypeAlias = dict[str, object]
Time: TypeAlias = datetime.datetime | int

EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.UTC)

# What a configuration does not say: the settings of the run, and which figures are wanted.
MOST_THREADS = 256  # that the engine takes
UNCONFIGURED = names_of(Run) | {"config", "final"}


class Session:
    """One question to a stream of observations: tables in, tables out.

    Results come out as soon as they are final, in the order of the rows that bring them. They do
    not depend on how the rows are split over pushes, nor on the number of threads. One thread at a
    time may use a session, but for `cancel`.

    Parameters
    ----------
    analysis : {"boxes", "presence", "hangouts", "stays", "encounters", "places"}
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
        said = settings_of(analysis, config, settings)
        said["threads"] = min(os.cpu_count() or 1, MOST_THREADS) if threads is None else threads
        if late is not None:
            said["late"] = _plain(late)
        self._columns = dict(columns or {})
        self._reads_keys = config is not None
        self._engine = _engine.Session(analysis, said)

    def push(self, table: object) -> Table:
        """Take all rows of a table in.

        Returns
        -------
        Table
            What is final and was not given before.
        """
        self._push(table, whole=False, tell=None)
        return Table(self._engine.take_results())

    def flush(self) -> Table:
        """Wait until all that was pushed is processed; gives what is final and was not given."""
        self._engine.flush()
        return Table(self._engine.take_results())

    def save(self) -> bytes:
        """Give all that the session remembers, so that another can go on from it.

        Results and rejects are no part of it: call `flush` and `rejects` before. The same state
        gives the same bytes, whatever the number of threads.
        """
        return self._engine.save()

    def load(self, state: bytes) -> None:
        """Go on from what another session has saved: one of the same question and settings.

        Only before the first push. What cannot be taken raises an `Error` that says why, and the
        session is as before. The bytes may come from anywhere: nothing in them is run.
        """
        self._engine.load(state)

    def take_entities(self, names: Iterable[object]) -> bytes:
        """Take out all that is remembered of some entities, for another session to go on with.

        Not for encounters, which are between entities.
        """
        return self._engine.take_entities([str(name) for name in names])

    def give_entities(self, state: bytes) -> None:
        """Take in entities that were taken out of another session of the same settings."""
        self._engine.give_entities(state)

    def advance(self, oldest: Time) -> Table:
        """Say that no row to come is older; gives what is final by that.

        As when rows stop to come. `oldest` is a datetime (UTC where it has no time zone) or
        milliseconds since 1970 UTC.
        """
        self._engine.advance(_milliseconds_of(oldest))
        return Table(self._engine.take_results())

    def forget_reported_before(self, time: Time) -> None:
        """Forget which presence records and hangouts were given before a time.

        Those that no row from then on can bring again: so a stream that goes on for ever takes
        memory only for what is under way. For a row that is older all the same, a record may be
        given again.
        """
        self._engine.forget_reported_before(_milliseconds_of(time))

    @property
    def entities_remembered(self) -> int:
        """Of how many entities it remembers anything but the name."""
        return self._engine.entities_remembered()

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


def settings_of(
    analysis: str, config: str | os.PathLike[str] | None, settings: Mapping[str, object]
) -> Settings:
    """Put together what the engine is told."""
    said = {name: _plain(value) for name, value in settings.items() if value is not None}
    options, usual = QUESTIONS.get(analysis, (None, {}))
    known = names_of(options) if options else frozenset(said)
    for name in said:
        if name not in known:
            raise Error(f'There is no setting "{name}" for {analysis}.', Code.BAD_CONFIGURATION)
    if config is None:
        return usual | said
    if "config" not in known:
        raise Error(f"There is no configuration for {analysis}.", Code.BAD_CONFIGURATION)
    for name in said:
        if name not in UNCONFIGURED:
            raise Error(
                f'The setting "{name}" goes into the configuration.', Code.BAD_CONFIGURATION
            )
    return said | configuration(config)


def configuration(config: str | os.PathLike[str]) -> Settings:
    """Tell a text from a path."""
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


def _milliseconds_of(time: Time) -> int:
    """Count from 1970; a part of a millisecond is left out."""
    if isinstance(time, datetime.datetime):
        at = time if time.tzinfo else time.replace(tzinfo=datetime.UTC)
        time = (at - EPOCH) // datetime.timedelta(milliseconds=1)
    if type(time) is not int or not 0 <= time < 1 << 63:
        raise Error(
            f"Want a time since 1970, a datetime or whole milliseconds, not {time!r}.",
            Code.BAD_CONFIGURATION,
        )
    return time


def milliseconds_of(length: Span) -> int:
    """Tell how long a length of time is; without end those that differ, such as months."""
    return _engine.milliseconds(str(_plain(length)))


def boxes(table: object, **options: Unpack[Cells]) -> Table:
    """Give the cells and time boxes of every fix.

    Parameters
    ----------
    table : table
        See `Run`.
    **options
        See `Cells`, and `Run` for what all analyses have.

    Returns
    -------
    Table
        A row for each cell and time box that a fix lies in.
    """
    return _answer("boxes", table, options)


def presence(table: object, **options: Unpack[Records]) -> Table:
    """Tell who was seen often enough in which cell and time box.

    Parameters
    ----------
    table : table
        See `Run`.
    **options
        See `Records`, `Cells` and `Run`.

    Returns
    -------
    Table
        A row for each record.
    """
    return _answer("presence", table, options)


def hangouts(table: object, **options: Unpack[Records]) -> Table:
    """Tell who stayed without a break in which cell and time box.

    Parameters
    ----------
    table : table
        See `Run`.
    **options
        See `Records`, `Cells` and `Run`.

    Returns
    -------
    Table
        A row for each hangout.
    """
    return _answer("hangouts", table, options)


def stays(table: object, **options: Unpack[Stays]) -> Table:
    """Tell who stayed where, from when to when.

    A stay is within a radius of one place for long enough; cells have no part in it, and there is
    no configuration for it. ``from`` is halfway between the fix before its first one and that,
    ``to`` halfway between its last fix and the one after: what a silence hides is shared between
    the places on both sides, up to half of `max_gap` each. At the ends of a track, and beside a
    silence longer than `max_bridge`, they are the times of the fixes.

    Parameters
    ----------
    table : table
        See `Run`.
    **options
        See `Stays` and `Run`.

    Returns
    -------
    Table
        A row for each stay; those of one entity do not overlap in time, but one may begin when
        another ends.
    """
    return _answer("stays", table, options)


def places(table: object, **options: Unpack[Places]) -> Table:
    """Tell where who stayed again and again, how long, by night and by weekday.

    The stays of each entity, gathered into places: where it spent most time is one, with all stays
    within the radius of it; then of the others where it spent most; and so on.

    Parameters
    ----------
    table : table
        See `Run`.
    **options
        See `Places`, `Stays` and `Run`.

    Returns
    -------
    Table
        A row for each place, those of an entity by their hours.
    """
    return _answer("places", table, options)


def meet(table: object, **options: Unpack[Encounters]) -> Table:
    """Tell who was with whom, from when to when.

    Two are together at a fix of either when the other is then near. Where it is then: on the way
    between its two fixes around that time if they are at most `apart` from each other, else at its
    nearest fix within `apart`. Such moments at most `apart` from each other are one encounter.
    With `fixes_only` it is at each of its fixes within `apart`.

    Parameters
    ----------
    table : table
        See `Run`.
    **options
        See `Encounters` and `Run`.

    Returns
    -------
    Table
        A row for each encounter, or pair.
    """
    return _answer("encounters", table, options)


def _answer(analysis: str, table: object, options: Run) -> Table:
    said: dict[str, Any] = {**options}
    progress = said.pop("progress", False)
    return Session(analysis, said.pop("config", None), **said)._answer(table, progress)
