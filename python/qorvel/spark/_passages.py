"""Where tracks come by: cubes of space, spans of time."""

from __future__ import annotations

import dataclasses
import math
from collections.abc import Iterator
from typing import Any

import numpy as np
import pyarrow as pa

from qorvel.spark._task import Batches, Question, rejects_of

Numbers = np.ndarray[Any, np.dtype[np.float64]]
Wholes = np.ndarray[Any, np.dtype[np.int64]]

HOUR = 3_600_000
END_OF_TIME = 2**63 - 1
# Spans so long that what has to be known beside them, `apart` on both sides, is little.
APART_IN_SPAN = 12
# Cubes so large that an entity comes by few, so small that few entities come by one; metres.
LEAST_CUBE = 8_000.0
WITHIN_IN_CUBE = 16.0
# Of a cube: along so much of a track only cubes at eight corners can be met.
STEP_IN_CUBE = 0.25
# The engine reckons the same places, but for rounding; metres.
MARGIN = 1.0
# Of cubes, each axis of space takes so many bits in their number.
AXIS_BITS = 21

RADIUS = 6_378_137.0
SMALL_RADIUS = 6_356_752.314245
SQUARED_ECCENTRICITY = (RADIUS * RADIUS - SMALL_RADIUS * SMALL_RADIUS) / (RADIUS * RADIUS)
# Metres within which two places count as opposite ends of the earth.
OPPOSITE = 1_000.0

# What is worked upon at once, for memory's sake.
ROWS_AT_ONCE = 50_000
PLACES_AT_ONCE = 200_000
FIXES_IN_ROW = 256
FIXES_AT_ONCE = 500_000


@dataclasses.dataclass(frozen=True)
class Grid:
    """Cubes of space about the earth's centre, which know no poles, and spans of time."""

    within: float
    apart: int

    @property
    def span(self) -> int:
        """How long a span is, ms."""
        return max(HOUR, APART_IN_SPAN * self.apart)

    @property
    def cube(self) -> float:
        """How long an edge is, metres."""
        return max(LEAST_CUBE, WITHIN_IN_CUBE * self.within)

    def times_of(self, span: int) -> tuple[int, int]:
        """Give the first and the last ms of a span."""
        return span * self.span, min((span + 1) * self.span - 1, END_OF_TIME)

    def schema(self, entities: pa.DataType) -> pa.Schema:
        """Give the columns of passages."""
        return pa.schema(
            {
                "cube": pa.int64(),
                "span": pa.int64(),
                "fixes": pa.int64(),
                "entity": pa.string() if pa.types.is_string(entities) else pa.int64(),
                "time": pa.list_(pa.int64()),
                "lat": pa.list_(pa.float64()),
                "lon": pa.list_(pa.float64()),
            }
        )

    def cubes_between(self, one: Numbers, other: Numbers) -> tuple[Wholes, Wholes]:
        """Give the cubes between each two places near each other: of which two, and which.

        There are at most eight, at the corners of a box around both.
        """
        margin = self.within + MARGIN + (STEP_IN_CUBE * self.cube) ** 2 / (4 * RADIUS)
        low = np.floor((np.minimum(one, other) - margin) / self.cube).astype(np.int64)
        high = np.floor((np.maximum(one, other) + margin) / self.cube).astype(np.int64)
        middle = 1 << (AXIS_BITS - 1)
        of = np.arange(len(one))
        cubes = np.zeros(len(one), np.int64)
        for axis in range(3):
            cubes = (cubes << AXIS_BITS) | (low[of, axis] + middle)
            apart = np.flatnonzero(high[of, axis] != low[of, axis])
            second = cubes[apart] + (high - low)[of[apart], axis]
            of, cubes = np.concatenate([of, of[apart]]), np.concatenate([cubes, second])
        return of, cubes


@dataclasses.dataclass(frozen=True)
class Passages:
    """The tracks of entities, whose rows come one after the other in time, by cubes and spans."""

    question: Question
    """Which tells the rows that cannot be used."""
    grid: Grid

    def __call__(self, batches: Batches) -> Batches:
        """Take the rows of a partition."""
        held = Fixes.none()
        rows: list[pa.RecordBatch] = []
        for batch in batches:
            rows.append(self._usable(batch))
            if sum(part.num_rows for part in rows) >= ROWS_AT_ONCE:
                fixes = held.followed_by(rows)
                held = fixes.open_end(self.grid)
                yield from self._passages(fixes, held)
                rows = []
        yield from self._passages(held.followed_by(rows), Fixes.none())

    def _usable(self, batch: pa.RecordBatch) -> pa.RecordBatch:
        bad = rejects_of(batch, self.question)["row"].to_numpy()
        if not len(bad):
            return batch
        return batch.filter(pa.array(~np.isin(np.arange(batch.num_rows), bad)))

    def _passages(self, fixes: Fixes, held: Fixes) -> Batches:
        """Give those of the spans that are not held for the rows to come."""
        places = np.concatenate([np.empty((0, 3), np.int64), *_places(fixes, self.grid)])
        entity, span, cube = np.unique(places, axis=0).T
        wanted = (entity > 0) | (span >= fixes.from_span)
        if len(held.time):
            wanted &= (entity < fixes.entity[-1]) | (span < held.from_span)
        entity, span, cube = entity[wanted], span[wanted], cube[wanted]
        begin, end = fixes.ranges(entity, span, self.grid)
        # A row has few enough fixes that those which come at once to a task are not many.
        counts = -(-(end - begin) // FIXES_IN_ROW)
        of = np.repeat(np.arange(len(entity)), counts)
        within = np.arange(len(of)) - np.repeat(np.cumsum(counts) - counts, counts)
        begin = begin[of] + within * FIXES_IN_ROW
        end = np.minimum(end[of], begin + FIXES_IN_ROW)
        for at in _slices(end - begin, FIXES_AT_ONCE):
            rows = of[at]
            yield self._batch(fixes, cube[rows], span[rows], entity[rows], begin[at], end[at])

    def _batch(
        self,
        fixes: Fixes,
        cube: Wholes,
        span: Wholes,
        entity: Wholes,
        begin: Wholes,
        end: Wholes,
    ) -> pa.RecordBatch:
        offsets = np.concatenate([[0], np.cumsum(end - begin)])
        rows = np.arange(offsets[-1]) + np.repeat(begin - offsets[:-1], end - begin)
        lists = (
            pa.ListArray.from_arrays(pa.array(offsets, pa.int32()), pa.array(values[rows]))
            for values in (fixes.time, fixes.lat, fixes.lon)
        )
        names = fixes.names.take(pa.array(entity))
        columns = [pa.array(cube), pa.array(span), pa.array(end - begin), names, *lists]
        return pa.RecordBatch.from_arrays(columns, schema=self.grid.schema(names.type))


@dataclasses.dataclass(frozen=True)
class Fixes:
    """Fixes of entities: those of one after the other, in the order of time."""

    names: pa.Array
    entity: Wholes
    """Which of the names."""
    time: Wholes
    lat: Numbers
    lon: Numbers
    from_span: int = 0
    """What the first entity did before is no longer asked for."""

    @staticmethod
    def none() -> Fixes:
        """Begin with nothing."""
        whole, real = np.empty(0, np.int64), np.empty(0)
        return Fixes(pa.array([], pa.string()), whole, whole, real, real)

    def followed_by(self, rows: list[pa.RecordBatch]) -> Fixes:
        """Append rows, in which the last entity may go on."""
        if not rows:
            return self
        table = pa.Table.from_batches(rows)
        if not len(self.time):
            names = table["entity"]
        else:
            names = pa.chunked_array(
                [self.names.take(pa.array(self.entity)), *table["entity"].chunks]
            )
        coded = names.combine_chunks().dictionary_encode()
        return Fixes(
            coded.dictionary,
            coded.indices.to_numpy().astype(np.int64),
            np.concatenate([self.time, _milliseconds(table["time"])]),
            np.concatenate([self.lat, table["lat"].to_numpy().astype(np.float64)]),
            np.concatenate([self.lon, table["lon"].to_numpy().astype(np.float64)]),
            self.from_span,
        )

    def open_end(self, grid: Grid) -> Fixes:
        """Give those of the last entity that spans have to do with which are not complete."""
        if not len(self.time):
            return self
        from_span = max(0, int(self.time[-1]) - grid.apart) // grid.span
        own = (self.entity == self.entity[-1]) & (self.time >= from_span * grid.span - grid.apart)
        if self.entity[-1] == 0:
            from_span = max(from_span, self.from_span)
        zero = np.zeros(int(own.sum()), np.int64)
        return Fixes(self.names[-1:], zero, self.time[own], self.lat[own], self.lon[own], from_span)

    def ranges(self, entity: Wholes, span: Wholes, grid: Grid) -> tuple[Wholes, Wholes]:
        """Tell from which rows to which entities show where they were in spans."""
        begin, end = np.empty(len(entity), np.int64), np.empty(len(entity), np.int64)
        first = span * grid.span - grid.apart
        last = np.minimum(span, (END_OF_TIME - grid.apart) // grid.span - 1) + 1
        last = last * grid.span - 1 + grid.apart
        own = np.searchsorted(self.entity, np.arange(len(self.names) + 1))
        asked = np.searchsorted(entity, np.arange(len(self.names) + 1))
        for number in np.unique(entity):
            rows = slice(own[number], own[number + 1])
            at = slice(asked[number], asked[number + 1])
            begin[at] = rows.start + np.searchsorted(self.time[rows], first[at], "left")
            end[at] = rows.start + np.searchsorted(self.time[rows], last[at], "right")
        return begin, end


def _places(fixes: Fixes, grid: Grid) -> Iterator[Wholes]:
    """Give entity, span and cube of all places of the tracks, often more than once."""
    points = _points(fixes.lat, fixes.lon)
    time = fixes.time
    of, cubes = grid.cubes_between(points, points)
    own = time // grid.span
    yield _rows(fixes.entity[of], own[of], cubes)
    before = np.maximum(time - grid.apart, 0) // grid.span
    after = (time + np.minimum(END_OF_TIME - time, grid.apart)) // grid.span
    for beside in (before, after):
        other = (beside != own)[of]
        yield _rows(fixes.entity[of[other]], beside[of[other]], cubes[other])
    is_known = (fixes.entity[1:] == fixes.entity[:-1]) & (time[1:] - time[:-1] <= grid.apart)
    known = np.flatnonzero(is_known)
    lengths = np.sqrt(((points[known + 1] - points[known]) ** 2).sum(axis=1))
    steps = np.ceil(lengths * (math.pi / 2) / (grid.cube * STEP_IN_CUBE)).astype(np.int64)
    for at in _slices(steps, PLACES_AT_ONCE):
        way, begin, end = _steps(points[known[at]], points[known[at] + 1], steps[at])
        of, cubes = grid.cubes_between(begin, end)
        row = known[at][way[of]]
        for span in (own[row], own[row + 1]):
            yield np.unique(_rows(fixes.entity[row], span, cubes), axis=0)
    yield from _opposite(fixes, points, known, grid)


def _rows(entity: Wholes, span: Wholes, cube: Wholes) -> Wholes:
    return np.stack([entity, span, cube], axis=1)


def _points(lat: Numbers, lon: Numbers) -> Numbers:
    """On the ellipsoid WGS-84, metres from its centre."""
    latitude, longitude = np.radians(lat), np.radians(lon)
    sine = np.sin(latitude)
    normal = RADIUS / np.sqrt(1.0 - SQUARED_ECCENTRICITY * sine * sine)
    from_axis = normal * np.cos(latitude)
    return np.stack(
        [
            from_axis * np.cos(longitude),
            from_axis * np.sin(longitude),
            (1.0 - SQUARED_ECCENTRICITY) * normal * sine,
        ],
        axis=1,
    )


def _steps(start: Numbers, end: Numbers, counts: Wholes) -> tuple[Wholes, Numbers, Numbers]:
    """Give pieces of ways on the ground, as long as each other: whose, from where, to where.

    The engine goes evenly along the straight line below and raises that to the ground, which is the
    same way at another pace.
    """
    way = np.repeat(np.arange(len(counts)), counts)
    step = np.arange(len(way)) - np.repeat(np.cumsum(counts) - counts, counts)
    begin, end = (_raised(start[way], end[way], (step + more) / counts[way]) for more in (0, 1))
    return way, begin, end


def _raised(start: Numbers, end: Numbers, part: Numbers) -> Numbers:
    """Give the places so large parts of the angle from start to end away from the start."""
    lengths = [np.sqrt((point * point).sum(axis=1)) for point in (start, end)]
    cosine = (start * end).sum(axis=1) / (lengths[0] * lengths[1])
    chord = end / lengths[1][:, None] - start / lengths[0][:, None]
    half = np.sqrt((chord * chord).sum(axis=1)) / 2
    angle = np.where(
        cosine > 0, 2 * np.arcsin(np.minimum(half, 1)), np.arccos(np.clip(cosine, -1, 1))
    )
    weights = lengths[0] * np.sin(part * angle), lengths[1] * np.sin((1 - part) * angle)
    total = weights[0] + weights[1]
    share = np.where(total > 0, weights[0] / np.where(total > 0, total, 1), part)
    return _at(start, end, share)


def _at(start: Numbers, end: Numbers, share: Numbers) -> Numbers:
    """Give where somebody is on the way, as the engine has it."""
    below = start + share[:, None] * (end - start)
    squares = [(point * point).sum(axis=1) for point in (start, end, below)]
    raised = squares[0] + share * (squares[1] - squares[0])
    raise_by = np.sqrt(raised / np.where(squares[2] > 0, squares[2], 1))
    place: Numbers = below * raise_by[:, None]
    return place


def _milliseconds(column: pa.ChunkedArray) -> Wholes:
    if pa.types.is_timestamp(column.type):
        column = column.cast(pa.timestamp("ms", column.type.tz), safe=False)
    times: Wholes = column.cast(pa.int64()).to_numpy()
    return times


def _slices(sizes: Wholes, most: int) -> Iterator[slice]:
    """Cut into parts of about that much."""
    ends = np.cumsum(sizes)
    begin = 0
    while begin < len(sizes):
        done = ends[begin - 1] if begin else 0
        end = max(begin + 1, int(np.searchsorted(ends, done + most, "right")))
        yield slice(begin, end)
        begin = end


def _opposite(fixes: Fixes, points: Numbers, known: Wholes, grid: Grid) -> Iterator[Wholes]:
    """Give the middle of ways between opposite ends of the earth.

    Which way is taken there hangs on the last bits, so it is reckoned with the engine's own steps.
    """
    sums = points[known] + points[known + 1]
    for row in known[(sums * sums).sum(axis=1) < OPPOSITE * OPPOSITE]:
        start, end = (
            _exact_point(float(fixes.lat[at]), float(fixes.lon[at])) for at in (row, row + 1)
        )
        time, gap = int(fixes.time[row]), int(fixes.time[row + 1] - fixes.time[row])
        for ms in {gap // 2, gap - gap // 2}:
            middle = _at(start, end, np.array([ms * (1.0 / gap)]))
            _, cubes = grid.cubes_between(middle, middle)
            span = np.full(len(cubes), (time + ms) // grid.span)
            yield _rows(np.full(len(cubes), fixes.entity[row]), span, cubes)


def _exact_point(lat: float, lon: float) -> Numbers:
    latitude, longitude = lat * (math.pi / 180.0), lon * (math.pi / 180.0)
    sine = math.sin(latitude)
    normal = RADIUS / math.sqrt(1.0 - SQUARED_ECCENTRICITY * sine * sine)
    from_axis = normal * math.cos(latitude)
    return np.array(
        [
            [
                from_axis * math.cos(longitude),
                from_axis * math.sin(longitude),
                (1.0 - SQUARED_ECCENTRICITY) * normal * sine,
            ]
        ]
    )
