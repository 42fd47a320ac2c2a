"""Tables out."""

from __future__ import annotations

import html
import os
import tempfile
import zlib
from typing import TYPE_CHECKING, Any

from qorvel import _engine, geohash
from qorvel._errors import Code, Error

if TYPE_CHECKING:
    import geopandas
    import pandas
    import polars
    import pyarrow

SHOWN_ROWS = 10
# A notebook keeps all that it shows: of more rows, the first only.
SHOWN_ON_MAP = 200_000


class Table:
    """A table of results.

    Any library that knows the Arrow PyCapsule interface reads it without a copy, as often as
    wanted: ``pyarrow.table(t)``, ``polars.DataFrame(t)``, ``duckdb.sql("FROM t")``.
    """

    def __init__(
        self,
        results: _engine.Results,
        rejects: _engine.Results | None = None,
        remarks: tuple[str, ...] = (),
    ) -> None:
        self._results = results
        self._rejects = rejects
        self._remarks = remarks

    @property
    def column_names(self) -> list[str]:
        """The names of the columns."""
        return self._results.column_names

    @property
    def remarks(self) -> tuple[str, ...]:
        """What there is to say about the run, a sentence each."""
        return self._remarks

    def rejects(self) -> Table:
        """Tell which rows could not be used.

        Returns
        -------
        Table
            ``row``, the number in the input from 0; ``code``, the number of the reason;
            ``reason``, a sentence.
        """
        if self._rejects is None:
            raise Error("Only the table of a whole analysis has rejects.", Code.MISUSE)
        return Table(self._rejects)

    def head(self, count: int = SHOWN_ROWS) -> list[dict[str, str | int | float | None]]:
        """Give the first rows, times as milliseconds since 1970 UTC."""
        names = self.column_names
        return [dict(zip(names, row, strict=True)) for row in self._results.head(count)]

    def to_pyarrow(self) -> pyarrow.Table:
        """Give a ``pyarrow.Table``."""
        import pyarrow

        return pyarrow.table(self)

    def to_polars(self) -> polars.DataFrame:
        """Give a ``polars.DataFrame``."""
        import polars

        return polars.DataFrame(self)

    def to_pandas(self) -> pandas.DataFrame:
        """Give a ``pandas.DataFrame``, by way of pyarrow."""
        frame: pandas.DataFrame = self.to_pyarrow().to_pandas()
        return frame

    def to_geopandas(self) -> geopandas.GeoDataFrame:
        """Give a ``geopandas.GeoDataFrame`` in OGC:CRS84, degrees of WGS 84.

        The geometry is the cell where there is one, else the point at ``lat`` and ``lon``.
        """
        import geopandas
        import shapely

        table = self.to_pyarrow()
        names = table.column_names
        if "geohash" in names and "bits" in names:
            shapes = shapely.from_wkb(
                geohash.to_wkb(table["geohash"].to_numpy(), table["bits"].to_numpy())
            )
        elif "lat" in names and "lon" in names:
            shapes = shapely.points(table["lon"].to_numpy(), table["lat"].to_numpy())
        else:
            raise Error("This table has no places.", Code.MISUSE)
        return geopandas.GeoDataFrame(table.to_pandas(), geometry=shapes, crs="OGC:CRS84")

    def to_html(self, path: str | os.PathLike[str], *, tiles: str | None = None) -> None:
        """Write a page that shows all rows on a map, with a time slider, a list and a table.

        The page is one file that needs a browser and nothing else; it asks the network for nothing.

        Parameters
        ----------
        path : str or path
            The file, which has its name only when it is complete.
        tiles : str, optional
            The address of a street map's tiles, with ``{z}``, ``{x}`` and ``{y}``. The page gets a
            button for it, and asks that host for nothing until it is pressed.
        """
        page = self._page(tiles)
        target = os.path.realpath(path)
        if os.path.exists(target) and not os.path.isfile(target):  # a pipe, which stays what it is
            with open(target, "wb") as file:
                file.write(page)
            return
        mode = _mode_of(target)
        handle, name = tempfile.mkstemp(".html", "qorvel-", os.path.dirname(target))
        try:
            with os.fdopen(handle, "wb") as file:
                file.write(page)
            os.chmod(name, mode)
            os.replace(name, target)
        except BaseException:
            os.unlink(name)
            raise

    def _page(self, tiles: str | None = None) -> bytes:
        return self._results.page(zlib.compress, tiles or "")

    def __len__(self) -> int:
        """Count the rows."""
        return len(self._results)

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        """Export a fresh stream of all rows. A requested schema is not heeded."""
        return self._results.stream()

    def __repr__(self) -> str:
        """Tell name, rows and columns."""
        return (
            f"<qorvel.Table {self._results.name}: {len(self)} rows of "
            f"{', '.join(self.column_names)}>"
        )

    def _repr_html_(self) -> str:
        rows = self._first_rows()
        if not 0 < len(self) <= SHOWN_ON_MAP or "lat" not in self.column_names:
            return rows
        page = html.escape(self._page().decode())
        return (
            f'<iframe title="{html.escape(self._results.name)} on a map" srcdoc="{page}" '
            'sandbox="allow-scripts allow-downloads allow-modals" '
            'style="width:100%;height:600px;border:1px solid #8888;border-radius:6px"></iframe>'
            f"<details><summary>The first rows</summary>{rows}</details>"
        )

    def _first_rows(self) -> str:
        def line(tag: str, values: list[Any]) -> str:
            cells = (f"<{tag}>{html.escape(str(value))}</{tag}>" for value in values)
            return f"<tr>{''.join(cells)}</tr>"

        body = "".join(line("td", list(row)) for row in self._results.head(SHOWN_ROWS))
        note = f"<caption>{html.escape(self._results.name)}: {len(self)} rows</caption>"
        return f"<table>{note}{line('th', list(self.column_names))}{body}</table>"


def _mode_of(path: str) -> int:
    """Tell the mode of a file, or what the umask says for one that is not there yet."""
    try:
        return os.stat(path).st_mode & 0o777
    except FileNotFoundError:
        mask = os.umask(0o077)
        os.umask(mask)
        return 0o666 & ~mask
