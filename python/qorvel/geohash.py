"""Cells on arrays: geohashes of 1 to 12 characters, without a loop in Python.

Arrays come as numpy has them, as sequences, or as Arrow arrays (anything with
``__arrow_c_array__``, and what has ``__arrow_c_stream__`` and can be put together by pyarrow).
Results are numpy's where numpy's or pandas' came in: texts as ``<U``, empty where there is none,
numbers as float64, NaN where there is none. Arrow arrays give Arrow arrays, with nulls:
``pyarrow.array(result)``.
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, TypeAlias

from qorvel import _engine
from qorvel._errors import Code, Error
from qorvel._tables import is_of, unmasked

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray

Texts: TypeAlias = "NDArray[np.str_] | _engine.Column"
Reals: TypeAlias = "NDArray[np.float64] | _engine.Column"

__all__ = ["bounds", "decode", "encode", "neighbours", "parent", "to_wkb", "within"]


def encode(lat: object, lon: object, length: int) -> Texts:
    """Give the cell of each point.

    Parameters
    ----------
    lat, lon : array
        Degrees: -90 to below 90 and -180 to below 180. Others have no cell.
    length : int
        Characters, 1 to 12. Six are 1200 m by 600 m at the equator, 7 150 m by 150 m, 8 38 m by
        19 m.

    Returns
    -------
    array of str
        The geohashes, in lower case.
    """
    if _is_arrow(lat) or _is_arrow(lon):
        return _engine.encode_column(_reals(lat), _reals(lon), length)
    return _as_texts(_engine.encode(_reals(lat), _reals(lon), length))


def decode(cells: object) -> tuple[Reals, Reals]:
    """Give the middle of each cell: latitudes and longitudes, degrees."""
    lat, lon = _cells(cells).centres(_is_arrow(cells))
    return lat, lon


def bounds(cells: object) -> tuple[Reals, Reals, Reals, Reals]:
    """Give the sides of each cell, degrees: west, south, east, north.

    Neighbours have the same double for the side between them.
    """
    west, south, east, north = _cells(cells).sides(_is_arrow(cells))
    return west, south, east, north


def parent(cells: object, length: int) -> Texts:
    """Give the cell of ``length`` characters that each cell is in; none of one that is larger."""
    return _texts(_cells(cells).parents(length), _is_arrow(cells))


def neighbours(cells: object) -> Texts:
    """Give the eight cells around each: N, NE, E, SE, S, SW, W, NW.

    Over the antimeridian too; beyond a pole there is none.

    Returns
    -------
    array of str
        Of numpy with eight columns, of Arrow lists of eight.
    """
    return _texts(_cells(cells).neighbours(), _is_arrow(cells), 8)


def within(lat: float, lon: float, radius_m: float, length: int) -> NDArray[np.str_]:
    """Give the cells of ``length`` characters that a circle reaches.

    Parameters
    ----------
    lat, lon : float
        The centre, degrees.
    radius_m : float
        Metres on the sphere that the library measures on, from 0.
    length : int
        Characters, 1 to 12.

    Returns
    -------
    array of str
        Row by row from the south.

    Raises
    ------
    Error
        For more than ten million cells, and for a centre that has no cell.
    """
    texts: Any = _texts(_engine.Cells.within(lat, lon, radius_m, length), is_arrow=False)
    return texts  # type: ignore[no-any-return]


def to_wkb(cells: object, bits: object = None) -> NDArray[np.object_] | _engine.Column:
    """Give the polygon of each cell as WKB, longitude first, counter-clockwise.

    Parameters
    ----------
    cells : array of str
        Geohashes.
    bits : array of int, optional
        How many bits of each geohash count: results have cells of an even number of bits, whose
        text has some more. All bits by default.
    """
    found = _cells(cells)
    if bits is not None:
        import numpy as np

        found = found.cut(np.ascontiguousarray(bits, np.int64))
    if _is_arrow(cells):
        return found.polygons()
    import numpy as np

    polygons = np.empty(len(found), object)
    polygons[:] = found.polygon_list()
    return polygons


def _is_arrow(values: object) -> bool:
    """Tell Arrow's, but for pandas' columns: frames take numpy's arrays in, and not Arrow's."""
    if is_of(values, "pandas", "Series"):
        return False
    return hasattr(values, "__arrow_c_array__") or hasattr(values, "__arrow_c_stream__")


def _one_array(values: Any) -> Any:  # noqa: ANN401
    """Put a chunked array together."""
    if hasattr(values, "__arrow_c_array__"):
        return values
    import pyarrow

    whole = pyarrow.chunked_array(values).combine_chunks()
    return whole.combine_chunks() if isinstance(whole, pyarrow.ChunkedArray) else whole


def _reals(values: Any) -> Any:  # noqa: ANN401
    import numpy as np

    if _is_arrow(values) and not hasattr(values, "to_numpy"):
        values = _one_array(values)
    if is_of(values, "numpy.ma", "MaskedArray"):
        values = unmasked(values, "The array")
    elif is_of(values, "pandas", "Series"):
        values = values.to_numpy(np.float64, na_value=np.nan)
    elif hasattr(values, "to_numpy"):
        # pyarrow copies, but for columns without nulls, only where it is told that it may
        keywords = {"zero_copy_only": False} if type(values).__module__ == "pyarrow.lib" else {}
        values = values.to_numpy(**keywords)
    return np.ascontiguousarray(values, np.float64)


def _cells(values: Any) -> _engine.Cells:  # noqa: ANN401
    if isinstance(values, str):
        raise Error("Want an array of geohashes, not one text.", Code.MISUSE)
    if _is_arrow(values):
        return _engine.Cells.of_arrow(*_one_array(values).__arrow_c_array__())
    import numpy as np

    texts = np.asarray(values)
    if texts.dtype.kind != "U":
        texts = np.array(["" if value is None else value for value in texts.tolist()], np.str_)
    if texts.ndim != 1:
        raise Error("Want an array of one dimension.", Code.MISUSE)
    width = texts.dtype.itemsize // 4
    whole = np.ascontiguousarray(texts)
    return _engine.Cells.of_characters(whole.view(np.uint32).reshape(len(texts), max(width, 1)))


def _texts(cells: _engine.Cells, is_arrow: bool, each: int = 1) -> Texts:
    if is_arrow:
        return cells.texts(each)
    texts = _as_texts(cells.characters())
    return texts if each == 1 else texts.reshape(-1, each)


def _as_texts(characters: NDArray[np.uint32]) -> NDArray[np.str_]:
    texts: NDArray[np.str_] = characters.view(f"<U{characters.shape[1]}").reshape(-1)
    return texts
