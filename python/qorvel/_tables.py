"""Tables in: which columns hold what, and the way to the engine."""

from __future__ import annotations

import json
import sys
from collections.abc import Mapping, Sequence
from typing import Any

from qorvel import _engine
from qorvel._errors import Code, Error

NEEDED = ("entity", "lat", "lon", "time")
FIELDS = (*NEEDED, "accuracy", "primary_key", "secondary_key", "hdop", "point")
KEYS = ("primary_key", "secondary_key")
POINTS = ("geoarrow.point", "geoarrow.wkb", "ogc.wkb")
TIME_UNITS = {"s": "tss:", "ms": "tsm:", "us": "tsu:", "ns": "tsn:"}


def guess(table: object, columns: Mapping[str, str] | None = None) -> dict[str, str]:
    """Tell which columns of a table are taken for what.

    Parameters
    ----------
    table : table
        Anything that the analyses take. A stream that can be read once only is used up.
    columns : mapping of str to str, optional
        What is known already: the name of the column for any of the fields below; an empty name
        says that there is none.

    Returns
    -------
    dict of str to str
        The column for each field that has one: ``entity``, ``lat`` and ``lon`` (degrees) or
        ``point``, ``time``, ``accuracy`` (metres) or ``hdop`` (times 5 m), ``primary_key``,
        ``secondary_key``.

    Raises
    ------
    Error
        Where a column that is needed is missing, or two columns may be meant.
    """
    return choose(open_source(table, columns), columns, keys=True)


def choose(
    source: _engine.Source, columns: Mapping[str, str] | None, *, keys: bool
) -> dict[str, str]:
    """Find the columns, by what is said of them or by their usual names."""
    said = dict(columns or {})
    for field in said:
        if field not in FIELDS:
            raise Error(
                f'There is no field "{field}"; want one of {", ".join(FIELDS)}.', Code.MISUSE
            )
    described = source.columns()
    names = [name for name, _, _, _ in described]
    chosen = {field: name for field, name in said.items() if name}
    usual = _engine.guess(names)
    if "lat" not in chosen and "lon" not in chosen and "point" not in said:
        points = [name for name, _, extension, _ in described if extension in POINTS]
        if points and not (usual["lat"] and usual["lon"]):
            chosen["point"] = _the_one("point", points)
    for field, found in usual.items():
        is_place = field in ("lat", "lon") and "point" in chosen
        is_poor = field == "hdop" and ("accuracy" in chosen or said.get("accuracy") == "")
        is_key = field in KEYS and not keys
        if found and field not in said and not (is_place or is_poor or is_key):
            chosen[field] = _the_one(field, found)
    _expect_found(chosen, names)
    if "point" in chosen:
        _expect_degrees(chosen["point"], described)
    return chosen


def _the_one(field: str, found: Sequence[str]) -> str:
    if len(found) > 1:
        raise Error(
            f'The columns "{found[0]}" and "{found[1]}" may both be the {field}; '
            f'say which with columns={{"{field}": ...}}.',
            Code.MISSING_COLUMN,
        )
    return found[0]


def _expect_found(chosen: Mapping[str, str], names: Sequence[str]) -> None:
    listed = ", ".join(names[:30]) or "none"
    for field in NEEDED:
        if field not in chosen and not (field in ("lat", "lon") and "point" in chosen):
            raise Error(
                f"The table has no column that is known for the {field}; it has {listed}. "
                f'Say which with columns={{"{field}": ...}}.',
                Code.MISSING_COLUMN,
            )
    for field, name in chosen.items():
        if name not in names:
            raise Error(
                f'The table has no column "{name}" for the {field}; it has {listed}.',
                Code.MISSING_COLUMN,
            )


def _expect_degrees(point: str, described: Sequence[tuple[str, str, str, str]]) -> None:
    """Refuse points that say that they are in another coordinate system than degrees of WGS 84."""
    metadata = next(text for name, _, _, text in described if name == point)
    try:
        system = json.loads(metadata).get("crs") if metadata else None
    except (ValueError, AttributeError):
        system = None
    if not system:
        return
    identity = system.get("id", {}) if isinstance(system, dict) else {}
    named = str(identity.get("code", "")) if identity else json.dumps(system)
    if "4326" not in named and "CRS84" not in named:
        raise Error(
            f'The points of "{point}" are in another coordinate system; bring them to degrees '
            'of WGS 84 (EPSG:4326) first, as with to_crs("EPSG:4326").',
            Code.BAD_COLUMN,
        )


def is_sized(table: object) -> bool:
    """Tell whether all of it is there, to be looked through before the first row is processed."""
    return hasattr(table, "__len__") or hasattr(table, "__arrow_c_array__")


def open_source(table: Any, columns: Mapping[str, str] | None = None) -> _engine.Source:  # noqa: ANN401
    """Open whatever is a table."""
    if isinstance(table, Mapping):
        return _of_mapping(table)
    if hasattr(table, "to_arrow") and hasattr(table, "active_geometry_name"):  # geopandas
        return _engine.Source(table.to_arrow(index=False).__arrow_c_stream__())
    if is_of(table, "pandas", "DataFrame"):
        return _of_pandas(table, columns)
    if hasattr(table, "__arrow_c_stream__"):
        return _engine.Source(table.__arrow_c_stream__())
    if hasattr(table, "__arrow_c_array__"):
        return _engine.Source(*table.__arrow_c_array__())
    if hasattr(table, "to_reader"):  # a scanner over files
        return _engine.Source(table.to_reader().__arrow_c_stream__())
    if hasattr(table, "scanner"):  # a folder of files
        return _engine.Source(table.scanner().to_reader().__arrow_c_stream__())
    raise Error(
        f"A {type(table).__name__} is no table: want a table or stream with the Arrow interface "
        "(pyarrow, polars, DuckDB), a pandas frame, or a mapping of names to arrays.",
        Code.MISUSE,
    )


def is_of(table: object, module: str, name: str) -> bool:
    """Tell whether it is of a class of a module, which is not loaded for that."""
    loaded = sys.modules.get(module)
    return loaded is not None and isinstance(table, getattr(loaded, name, ()))


def _of_pandas(frame: Any, columns: Mapping[str, str] | None) -> _engine.Source:  # noqa: ANN401
    """Of the columns that are wanted only: others may be of any kind."""
    usual = _engine.guess([str(name) for name in frame.columns])
    wanted = {name for names in usual.values() for name in names} | set((columns or {}).values())
    kept = frame[[name for name in frame.columns if str(name) in wanted]]
    try:
        return _engine.Source(kept.__arrow_c_stream__())
    except ImportError:  # pandas leaves it to pyarrow
        return _of_mapping({str(name): _in_utc(kept[name]) for name in kept.columns})


def _in_utc(column: Any) -> Any:  # noqa: ANN401
    """Take the zone away, which numpy has no times with."""
    return column.dt.tz_convert(None) if getattr(column.dtype, "tz", None) else column


def _of_mapping(table: Mapping[Any, Any]) -> _engine.Source:
    builder = _engine.TableBuilder()
    for name, column in table.items():
        _add_column(builder, str(name), column)
    return builder.build()


def unmasked(values: Any, what: str) -> Any:  # noqa: ANN401
    """Give a masked array's values, NaN where they are masked: the mask would be lost."""
    if values.dtype.kind == "f":
        return values.filled(float("nan"))
    if values.mask.any():
        raise Error(
            f"{what} is masked, and values of the type {values.dtype} cannot be missing; leave the "
            "rows out, or give a column of Arrow.",
            Code.BAD_COLUMN,
        )
    return values.data


def _add_column(builder: _engine.TableBuilder, name: str, column: Any) -> None:  # noqa: ANN401
    if hasattr(column, "__arrow_c_array__"):
        builder.add_arrow(name, *column.__arrow_c_array__())
        return
    import numpy as np

    if is_of(column, "numpy.ma", "MaskedArray"):
        column = unmasked(column, f'The column "{name}"')
    values = column.to_numpy() if hasattr(column, "to_numpy") else np.asarray(column)
    if values.ndim != 1:
        raise Error(f'The column "{name}" has {values.ndim} dimensions; want one.', Code.BAD_COLUMN)
    kind = values.dtype.kind
    if kind == "f":
        builder.add_reals(name, np.ascontiguousarray(values, np.float64))
    elif kind == "i":
        builder.add_wholes(name, "l", np.ascontiguousarray(values, np.int64))
    elif kind == "u":
        builder.add_unsigned(name, np.ascontiguousarray(values, np.uint64))
    elif kind == "M":
        unit = np.datetime_data(values.dtype)[0]
        if unit not in TIME_UNITS:
            unit = "s"
            values = values.astype("M8[s]")
        whole = np.ascontiguousarray(values.astype(f"M8[{unit}]")).view(np.int64)
        builder.add_wholes(name, TIME_UNITS[unit], whole)
    elif kind in "OUT":
        builder.add_texts(name, values.tolist())
    else:
        raise Error(
            f'The column "{name}" is of the type {values.dtype}, which is not read.',
            Code.BAD_COLUMN,
        )
