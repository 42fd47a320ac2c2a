"""Files in and out, by pyarrow where it is installed."""

from __future__ import annotations

import json
import os
import pathlib
import sys
import tempfile
from typing import TYPE_CHECKING, Any

from qorvel import _engine, geohash
from qorvel._errors import Code, Error
from qorvel._table import Table

if TYPE_CHECKING:
    import pyarrow

PARQUET = (".parquet", ".geoparquet")
ARROW = (".arrow", ".feather", ".ipc")
CSV = (".csv", ".csv.gz")
TEXTS = ("entity", "primary_key", "secondary_key")
NUMBERS = ("lat", "lon", "accuracy", "hdop")


def want_pyarrow() -> None:
    """Say in a sentence that it is not installed."""
    try:
        import pyarrow  # noqa: F401
    except ImportError:
        raise Error(
            "Files are read and written by pyarrow, which is not installed; install it, as with "
            '"pip install pyarrow".',
            Code.MISUSE,
        ) from None


def read_tracks(name: str, columns: dict[str, str]) -> tuple[Any, dict[str, str]]:
    """Read a file of tracks; a folder of Parquet files is a stream.

    Returns
    -------
    table and columns
        What is said of the columns, and what the file itself tells of its points.
    """
    want_pyarrow()
    path = pathlib.Path(name)
    if path.is_dir():
        return _folder(path), columns
    if not path.is_file():
        raise Error(f'There is no file "{name}".', Code.MISUSE)
    if name.endswith(PARQUET):
        import pyarrow.parquet

        with pyarrow.parquet.ParquetFile(path, memory_map=True) as file:
            point = _point_of(file.schema_arrow, name) if not columns.get("point") else None
            said = columns | ({"point": point} if point else {})
            return file.read(columns=_wanted(file.schema_arrow.names, said)), said
    if name.endswith(ARROW):
        import pyarrow as pa

        source = pa.memory_map(name)
        try:
            return pa.ipc.open_file(source).read_all(), columns
        except pa.ArrowInvalid:
            source.seek(0)
            return pa.ipc.open_stream(source).read_all(), columns
    if name.endswith(CSV):
        return _read_csv(path, columns), columns
    raise Error(_unknown(name), Code.MISUSE)


def write_table(table: Table, name: str) -> None:
    """Write a table; a file has its name only when it is complete."""
    want_pyarrow()
    if name == "-":
        import pyarrow.csv

        pyarrow.csv.write_csv(table.to_pyarrow(), sys.stdout.buffer)
        return
    if not name.endswith((*PARQUET, *ARROW, ".csv")):
        raise Error(_unknown(name), Code.MISUSE)
    path = pathlib.Path(name)
    handle, part = tempfile.mkstemp(prefix=path.name + ".", suffix=".part", dir=path.parent)
    try:
        os.fchmod(handle, 0o666 & ~_umask())
        with os.fdopen(handle, "wb") as file:
            _write(table, name, file)
            file.flush()
            os.fsync(file.fileno())
        pathlib.Path(part).replace(path)
    except BaseException:
        pathlib.Path(part).unlink(missing_ok=True)
        raise


def expect_writable(name: str) -> None:
    """Refuse a name of no known kind before the work begins."""
    if name != "-" and not name.endswith((*PARQUET, *ARROW, ".csv")):
        raise Error(_unknown(name), Code.MISUSE)


def _umask() -> int:
    mask = os.umask(0o077)
    os.umask(mask)
    return mask


def _unknown(name: str) -> str:
    return (
        f'The kind of "{name}" is not known by its name; want one of .parquet, .arrow, .feather, '
        ".ipc or .csv."
    )


def _folder(path: pathlib.Path) -> pyarrow.dataset.Dataset:
    import pyarrow.dataset
    import pyarrow.fs

    return pyarrow.dataset.dataset(
        str(path), format="parquet", filesystem=pyarrow.fs.LocalFileSystem()
    )


def _wanted(names: list[str], said: dict[str, str]) -> list[str]:
    """Name the columns that may be needed: others may be large."""
    usual = {name for found in _engine.guess(names).values() for name in found}
    return [name for name in names if name in usual or name in said.values()]


def _read_csv(path: pathlib.Path, columns: dict[str, str]) -> pyarrow.Table:
    import pyarrow as pa
    import pyarrow.csv

    with pyarrow.csv.open_csv(path) as reader:
        names = reader.schema.names
    usual = _engine.guess(names)
    kinds = {}
    for fields, kind in ((TEXTS, pa.string()), (NUMBERS, pa.float64())):
        for field in fields:
            for name in [columns[field]] if columns.get(field) else usual[field]:
                kinds[name] = kind
    options = pyarrow.csv.ConvertOptions(
        column_types=kinds, include_columns=_wanted(names, columns) or names
    )
    return pyarrow.csv.read_csv(path, convert_options=options)


def _point_of(schema: pyarrow.Schema, name: str) -> str | None:
    """Tell the column of points that GeoParquet's metadata name, if it is in degrees of WGS 84."""
    usual = _engine.guess(schema.names)
    about = (schema.metadata or {}).get(b"geo")
    if about is None or (usual["lat"] and usual["lon"]):
        return None
    try:
        geo = json.loads(about)
        column = geo["columns"][geo["primary_column"]]
        system = column.get("crs", {"id": {"code": "CRS84"}})
        code = "" if system is None else str(system.get("id", {}).get("code", ""))
        if code not in ("4326", "CRS84"):
            raise Error(
                f'The points of "{name}" are in another coordinate system than degrees of WGS 84 '
                "(OGC:CRS84); bring them there first.",
                Code.BAD_COLUMN,
            )
        return str(geo["primary_column"])
    except (AttributeError, KeyError, TypeError, json.JSONDecodeError):
        raise Error(
            f'The metadata of "{name}" are not those of GeoParquet.', Code.BAD_COLUMN
        ) from None


def _write(table: Table, name: str, file: Any) -> None:  # noqa: ANN401
    import pyarrow as pa
    import pyarrow.csv
    import pyarrow.parquet

    rows = table.to_pyarrow()
    if name.endswith(".csv"):
        pyarrow.csv.write_csv(rows, file)
    elif name.endswith(ARROW):
        with pa.ipc.new_file(file, rows.schema) as writer:
            writer.write_table(rows)
    else:
        pyarrow.parquet.write_table(_with_shapes(rows), file)


def _with_shapes(rows: pyarrow.Table) -> pyarrow.Table:
    """Add cells or points as GeoParquet 1.1 has them."""
    import pyarrow as pa

    names = rows.column_names
    if "geohash" in names and "bits" in names:
        kind = "Polygon"
        shapes = geohash.to_wkb(rows["geohash"].to_numpy(), rows["bits"].to_numpy())
    elif "lat" in names and "lon" in names:
        kind = "Point"
        shapes = _points(rows["lat"].to_numpy(), rows["lon"].to_numpy())
    else:
        return rows
    column = {"encoding": "WKB", "geometry_types": [kind]}
    geo = {"version": "1.1.0", "primary_column": "geometry", "columns": {"geometry": column}}
    table = rows.append_column("geometry", pa.array(shapes, pa.binary()))
    return table.replace_schema_metadata({"geo": json.dumps(geo)})


def _points(lat: Any, lon: Any) -> pyarrow.Array:  # noqa: ANN401
    import numpy as np
    import pyarrow as pa

    points = np.empty(len(lat), [("order", "u1"), ("type", "<u4"), ("x", "<f8"), ("y", "<f8")])
    points["order"], points["type"], points["x"], points["y"] = 1, 1, lon, lat
    size = points.itemsize
    return pa.Array.from_buffers(
        pa.binary(size), len(lat), [None, pa.py_buffer(points.tobytes())]
    ).cast(pa.binary())
