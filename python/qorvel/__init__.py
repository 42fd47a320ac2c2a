"""Where moving things stay, and who was where with whom: answers on tables.

Tables of observations come in, from pyarrow, polars, pandas, DuckDB or numpy; tables of results
go out to any of them::

    import qorvel

    stays = qorvel.stays(table)
    stays.to_polars()
"""

from importlib.metadata import version as _version

from qorvel import geohash
from qorvel._analyses import Session, boxes, hangouts, meet, places, presence, stays
from qorvel._errors import Code, Error
from qorvel._explain import Check, ConfigFault, Explanation, check, explain
from qorvel._options import Cells, Encounters, Places, Records, Run, Stays
from qorvel._synth import synth
from qorvel._table import Table
from qorvel._tables import guess

__version__ = _version("qorvel")
__all__ = [
    "Cells",
    "Check",
    "Code",
    "ConfigFault",
    "Encounters",
    "Error",
    "Explanation",
    "Places",
    "Records",
    "Run",
    "Session",
    "Stays",
    "Table",
    "boxes",
    "check",
    "explain",
    "geohash",
    "guess",
    "hangouts",
    "meet",
    "places",
    "presence",
    "stays",
    "synth",
]
